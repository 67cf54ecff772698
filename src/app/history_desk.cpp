#include "app/history_desk.h"

#include <QDir>
#include <QLocale>

#include "app/display_state.h"
#include "app/recording_dialog.h"
#include "history/recording_folder.h"

namespace tavrix {

namespace {

constexpr uint64_t kMiB = uint64_t{1} << 20;

}  // namespace

HistoryDesk::HistoryDesk(QWidget* window, DisplayState& display, QString defaultFolder, Notice notice)
    : QObject(window), window_(window), display_(display), defaultFolder_(std::move(defaultFolder)),
      notice_(std::move(notice)) {}

HistoryDesk::~HistoryDesk() = default;

QString HistoryDesk::RecordingFolder() const {
  const std::string& chosen = display_.History.RecordingFolder;
  return chosen.empty() ? defaultFolder_ : QString::fromStdString(chosen);
}

void HistoryDesk::ApplySettings() {
  const HistorySettings& h = display_.History;
  recorder_.Apply({h.Recording, QDir::toNativeSeparators(RecordingFolder()).toStdString(),
                   static_cast<uint64_t>(std::max(h.RecordingLimitMiB, 1)) * kMiB});
}

void HistoryDesk::Record(const ModemInfo& unit, int64_t timeMs, const std::string& block) {
  TellFailure();
  if (!unit.Name.empty()) recorder_.Append({unit.Name, unit.Address, timeMs, block});
}

void HistoryDesk::Flush() {
  recorder_.Flush();
  TellFailure();
}

void HistoryDesk::TellFailure() {
  if (const std::string failure = recorder_.TakeFailure(); !failure.empty() && notice_)
    notice_("Recording stopped: " + failure);
}

void HistoryDesk::EditRecording() {
  uint64_t held = 0;
  const std::vector<history::RecordingFile> files = history::ListRecordings(RecordingFolder().toStdString());
  for (const history::RecordingFile& f : files) held += f.Bytes;
  const QString usage = QString("%1 in %2 day files").arg(QLocale::c().formattedDataSize(static_cast<qint64>(held)))
                            .arg(files.size());
  RecordingDialog dialog(display_.History, defaultFolder_, usage, window_);
  if (dialog.exec() != QDialog::Accepted) return;
  display_.History = dialog.Edited();
  ApplySettings();
}

}  // namespace tavrix
