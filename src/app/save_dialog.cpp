#include "app/save_dialog.h"

#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QMimeDatabase>

namespace tavrix {

namespace {

// The file list's type column from the name alone: the stock provider reads the start
// of every file without a known extension, and a read of /proc/kmsg never returns.
class ExtensionIconProvider : public QFileIconProvider {
 public:
  QString type(const QFileInfo& info) const override {
    if (!info.isFile()) return QFileIconProvider::type(info);
    const QMimeType mime = mimeDatabase_.mimeTypeForFile(info, QMimeDatabase::MatchExtension);
    return mime.comment().isEmpty() ? mime.name() : mime.comment();
  }

 private:
  QMimeDatabase mimeDatabase_;
};

}  // namespace

std::optional<QString> ShowSaveDialog(QWidget* parent, const SaveDialogSetup& setup) {
  ExtensionIconProvider icons;
  QFileDialog dialog(parent, setup.Title, setup.Folder);
  dialog.setIconProvider(&icons);
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setFileMode(QFileDialog::AnyFile);
  dialog.setDefaultSuffix(setup.DefaultSuffix);
  dialog.setNameFilters(setup.Filters);
  if (!setup.DialogConfirmsOverwrite) dialog.setOption(QFileDialog::DontConfirmOverwrite);
  dialog.selectFile(setup.FileName);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
  return dialog.selectedFiles().first();
}

}  // namespace tavrix
