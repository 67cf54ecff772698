#pragma once

#include <QString>
#include <QStringList>
#include <optional>

class QWidget;

namespace tavrix {

// How a save dialog is set up: for an export or for a picture of the view.
struct SaveDialogSetup {
  QString Title;
  QString Folder;
  QString FileName;       // "*.TXT"
  QString DefaultSuffix;  // "TXT"
  QStringList Filters;
  // An export asks its own overwrite question with its own text; a picture lets the
  // dialog ask.
  bool DialogConfirmsOverwrite = false;
};

// Shows the save dialog; the chosen file, or nothing when cancelled. The dialog names
// file types by their extensions only and never reads a file to find its type, so a
// folder holding files that block on reading (/proc, a stalled share) cannot freeze it.
std::optional<QString> ShowSaveDialog(QWidget* parent, const SaveDialogSetup& setup);

}  // namespace tavrix
