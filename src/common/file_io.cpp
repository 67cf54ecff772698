#include "common/file_io.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QString>

namespace tavrix {

namespace {

QString Path(const std::string& path) { return QString::fromStdString(path); }

std::string Reason(const QFileDevice& file) { return file.errorString().toStdString(); }

// Unbuffered, so that a write the system refuses (a full disk) fails in write() itself
// rather than later in a flush.
constexpr QIODevice::OpenMode kWriteMode = QIODevice::WriteOnly | QIODevice::Unbuffered;

// A write the system cuts short sets no error; writing the rest again fails outright and
// carries the system's reason ("No space left on device"), which is what the operator sees.
bool WriteAll(QFileDevice& file, std::string_view data) {
  while (!data.empty()) {
    const qint64 written = file.write(data.data(), static_cast<qint64>(data.size()));
    if (written <= 0) return false;
    data.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

std::string WriteReason(const QFileDevice& file) {
  return file.error() == QFileDevice::NoError ? "the write was cut short" : Reason(file);
}

}  // namespace

std::string ReadFileCapped(const std::string& path, size_t maxBytes, std::string& data) {
  data.clear();
  const QFileInfo info(Path(path));
  if (info.isDir()) return "it is a folder";
  // A FIFO or a device could keep the open or the read waiting for ever; a symbolic link
  // is followed to what it names.
  if (info.exists() && !info.isFile()) return "it is not a regular file";
  QFile file(Path(path));
  if (!file.open(QIODevice::ReadOnly)) return Reason(file);
  // Read one byte past the cap to tell a file of exactly maxBytes from a larger one.
  const QByteArray bytes = file.read(static_cast<qint64>(maxBytes) + 1);
  if (file.error() != QFileDevice::NoError) return Reason(file);
  if (static_cast<size_t>(bytes.size()) > maxBytes) return "it is larger than " + std::to_string(maxBytes) + " bytes";
  data.assign(bytes.constData(), static_cast<size_t>(bytes.size()));
  return {};
}

bool PathExists(const std::string& path) { return QFileInfo::exists(Path(path)); }

// QSaveFile writes a new file beside the target and renames it over the target only
// when complete; the replaced file's permissions are kept, and a symbolic link is
// written through to the file it names. A device or a FIFO (/dev/null, /dev/stdout)
// cannot be replaced that way and is written to as it is.
std::string WriteFileAtomically(const std::string& path, std::string_view data) {
  if (path.empty()) return "no file name was given";
  const QFileInfo info(Path(path));
  if (info.isDir()) return "it is a folder";
  if (info.exists() && !info.isFile()) {
    QFile file(Path(path));
    if (!file.open(kWriteMode)) return Reason(file);
    if (!WriteAll(file, data)) return WriteReason(file);
    return {};
  }
  QSaveFile file(Path(path));
  if (!file.open(kWriteMode)) return Reason(file);
  if (!WriteAll(file, data)) {
    const std::string reason = WriteReason(file);
    file.cancelWriting();
    return reason;
  }
  if (!file.commit()) return Reason(file);
  return {};
}

}  // namespace tavrix
