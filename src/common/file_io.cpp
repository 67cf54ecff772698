#include "common/file_io.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QString>

namespace tavrix {

namespace {

QString Path(const std::string& path) { return QString::fromStdString(path); }

std::string Reason(const QFileDevice& file) { return file.errorString().toStdString(); }

}  // namespace

std::string ReadFileCapped(const std::string& path, size_t maxBytes, std::string& data) {
  data.clear();
  if (QFileInfo(Path(path)).isDir()) return "it is a folder";
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
// written through to the file it names.
std::string WriteFileAtomically(const std::string& path, std::string_view data) {
  if (path.empty()) return "no file name was given";
  if (QFileInfo(Path(path)).isDir()) return "it is a folder";
  QSaveFile file(Path(path));
  if (!file.open(QIODevice::WriteOnly)) return Reason(file);
  if (file.write(data.data(), static_cast<qint64>(data.size())) != static_cast<qint64>(data.size())) {
    const std::string reason = Reason(file);
    file.cancelWriting();
    return reason;
  }
  if (!file.commit()) return Reason(file);
  return {};
}

}  // namespace tavrix
