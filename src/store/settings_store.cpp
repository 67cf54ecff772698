#include "store/settings_store.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QSaveFile>
#include <QSettings>
#include <QStringList>
#include <QTemporaryFile>
#include <QVariant>

#include <algorithm>
#include <utility>

namespace tavrix {

namespace {

using StoredValues = QList<std::pair<QString, QVariant>>;

// A section path "Configuration\ColorPalette0" is the settings group "Configuration/ColorPalette0".
QString GroupPath(const std::string& section) { return QString::fromStdString(section).replace('\\', '/'); }

QString ValuePath(const std::string& section, const std::string& key) {
  return GroupPath(section) + '/' + QString::fromStdString(key);
}

// Every value at and below the current group, by its path relative to the group.
StoredValues ValuesBelow(const QSettings& settings) {
  StoredValues values;
  for (const QString& key : settings.allKeys()) values.append({key, settings.value(key)});
  return values;
}

// Whether a line carries its value over the line break, as the INI reader takes it: a
// double quote opens text that only the next unescaped quote closes, whatever lines lie
// between, so an unclosed quote swallows the rest of the file, section lines and all.
// Outside quotes a ";" starts a comment, where quotes do not count.
bool RunsOn(const QByteArray& line) {
  bool quoted = false;
  for (qsizetype i = 0; i < line.size(); ++i) {
    if (line[i] == '\\')
      ++i;  // an escaped character, a quote among them
    else if (line[i] == '"')
      quoted = !quoted;
    else if (line[i] == ';' && !quoted)
      break;
  }
  return quoted;
}

// A file whose text the INI reader would run together across lines. It reports no
// error for such a file, only values that hold the lines after them.
bool HasRunOnLine(const QByteArray& bytes) {
  for (const QByteArray& line : bytes.split('\n'))
    if (RunsOn(line)) return true;
  return false;
}

// A line QSettings itself could have written: printable UTF-8 text that ends on its line.
bool IsCleanLine(const QByteArray& line) {
  for (char c : line)
    if ((static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F) return false;
  if (QString::fromUtf8(line).toUtf8() != line) return false;
  return !RunsOn(line);
}

// The name a section line gives ("[Configuration]", or "[Configuration" that lost its
// "]"); empty when it names nothing ("[", "[ ]").
QByteArray SectionName(const QByteArray& line) {
  const qsizetype close = line.indexOf(']');
  return line.mid(1, close < 0 ? -1 : close - 1).trimmed();
}

// The lines of a damaged file that still read as settings. A section line that lost its
// "]" still names its section; the values under a section line that is itself junk or
// names nothing are dropped, since their section is unknown.
QByteArray SalvagedText(const QByteArray& bytes) {
  QByteArray kept;
  bool unknownSection = false;
  const bool marked = bytes.startsWith("\xEF\xBB\xBF");  // a UTF-8 mark before the first line
  for (const QByteArray& raw : (marked ? bytes.mid(3) : bytes).split('\n')) {
    const QByteArray line = raw.trimmed();
    const bool clean = IsCleanLine(line);
    if (line.startsWith('[')) {
      const QByteArray name = clean ? SectionName(line) : QByteArray();
      unknownSection = name.isEmpty();
      if (!unknownSection) kept += '[' + name + "]\n";
    } else if (clean && !unknownSection && line.contains('=')) {
      kept += line + '\n';
    }
  }
  return kept;
}

// The values of a damaged file, read by QSettings from its salvaged lines.
StoredValues ReadableValues(const QString& fileName) {
  QFile file(fileName);
  QTemporaryFile salvaged;
  if (!file.open(QIODevice::ReadOnly) || !salvaged.open() || salvaged.write(SalvagedText(file.readAll())) < 0)
    return {};
  salvaged.close();
  const QSettings reader(salvaged.fileName(), QSettings::IniFormat);
  StoredValues values = ValuesBelow(reader);
  // A value the reader could not make out ("@Invalid()", a broken "@Variant") is no value.
  values.removeIf([](const auto& value) { return !value.second.isValid(); });
  return values;
}

// Why the settings file could not be written: QSettings only says that it failed, so
// the write is tried again into a file beside it, which is then thrown away, and the
// system's reason ("No space left on device", "Permission denied") is taken from that.
QString WriteFailure(const QSettings& settings) {
  qsizetype size = 0;  // about as much as the file would hold
  for (const auto& [key, value] : ValuesBelow(settings)) size += key.size() + value.toString().size() + 2;
  QSaveFile probe(settings.fileName());
  QString reason;
  if (!probe.open(QIODevice::WriteOnly))
    reason = probe.errorString();
  else if (probe.write(QByteArray(std::max<qsizetype>(size, 1), ' ')) < 0 || !probe.flush())
    reason = probe.errorString();
  probe.cancelWriting();
  return reason.isEmpty() ? QStringLiteral("the file could not be written") : reason;
}

}  // namespace

SettingsStore::SettingsStore() {
  Open(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Tavrix"),
                                   QStringLiteral("Tavrix Spectrum Analyzer")));
}

SettingsStore::SettingsStore(const QString& fileName) {
  Open(std::make_unique<QSettings>(fileName, QSettings::IniFormat));
}

// Values still pending are written as the settings go.
SettingsStore::~SettingsStore() = default;

// Crash safety comes from QSettings itself: a settings file is written whole into a new
// file beside the old one (QSaveFile) and renamed over it, and it never falls back to
// writing in place, because atomic syncs are left required. A crash mid-write leaves
// the previous file.
//
// A damaged file shows only once its sections are read: a section line without its "]"
// is reported at once, a line that is not "key=value" (binary junk, NUL bytes, a stray
// "]") when its section is parsed. QSettings still writes such a file, but its status
// stays a format error for good, so no later Sync could report success. An unclosed
// quote is no error to it at all: the value runs on to the end of the file and takes
// every section after it, so the raw text is checked for it here. Either way the file
// is put aside as "<file>.bad", its clean lines are read again, and a fresh store takes
// those values; they reach the disk at the next Sync. When the file cannot be moved (a
// read-only folder), the fresh store cannot write there either and Sync says so.
void SettingsStore::Open(std::unique_ptr<QSettings> settings) {
  settings->allKeys();
  const QString fileName = settings->fileName();
  QFile file(fileName);
  const bool runsOn = file.open(QIODevice::ReadOnly) && HasRunOnLine(file.readAll());
  file.close();
  if (settings->status() != QSettings::FormatError && !runsOn) {
    settings_ = std::move(settings);
    return;
  }
  const QSettings::Format format = settings->format();
  settings.reset();  // nothing was changed, so nothing is written back
  const StoredValues kept = ReadableValues(fileName);
  const QString badFile = fileName + QStringLiteral(".bad");
  QFile::remove(badFile);
  if (QFile::rename(fileName, badFile)) setAside_ = badFile;
  settings_ = std::make_unique<QSettings>(fileName, format);
  for (const auto& [key, value] : kept) settings_->setValue(key, value);
}

void SettingsStore::SaveSetting(const std::string& section, const std::string& key, const std::string& value) {
  settings_->setValue(ValuePath(section, key), QString::fromStdString(value));
}

std::string SettingsStore::GetSetting(const std::string& section, const std::string& key,
                                      const std::string& defaultValue) const {
  const QVariant value = settings_->value(ValuePath(section, key));
  // An unquoted text with a comma in a hand-edited file reads as a list; it is one text here.
  const QString text =
      value.typeId() == QMetaType::QStringList ? value.toStringList().join(',') : value.toString();
  return text.isEmpty() ? defaultValue : text.toStdString();
}

// QSettings removes a value together with a subsection of the same name; the
// subsection is put back, so that only the value goes.
void SettingsStore::DeleteSetting(const std::string& section, const std::string& key) {
  const QString path = ValuePath(section, key);
  settings_->beginGroup(path);
  const StoredValues below = ValuesBelow(*settings_);
  settings_->endGroup();
  settings_->remove(path);
  for (const auto& [name, value] : below) settings_->setValue(path + '/' + name, value);
}

// And the other way round: a value named like the subsection stays.
void SettingsStore::DeleteKey(const std::string& section, const std::string& subkey) {
  const QString path = ValuePath(section, subkey);
  const QVariant value = settings_->value(path);
  settings_->remove(path);
  if (value.isValid()) settings_->setValue(path, value);
}

std::vector<std::string> SettingsStore::Subsections(const std::string& section) const {
  settings_->beginGroup(GroupPath(section));
  const QStringList groups = settings_->childGroups();
  settings_->endGroup();
  std::vector<std::string> names;
  names.reserve(static_cast<size_t>(groups.size()));
  for (const QString& group : groups) names.push_back(group.toStdString());
  return names;
}

void SettingsStore::KeepOnly(const std::function<bool(const std::string&, const std::string&)>& wanted) {
  for (const QString& path : settings_->allKeys()) {
    const qsizetype slash = path.lastIndexOf('/');
    const std::string section = slash < 0 ? std::string() : path.left(slash).replace('/', '\\').toStdString();
    if (!settings_->value(path).isValid() || !wanted(section, path.mid(slash + 1).toStdString()))
      settings_->remove(path);
  }
}

bool SettingsStore::Sync() {
  settings_->sync();
  if (settings_->status() == QSettings::NoError) {
    writeError_.clear();
    return true;
  }
  writeError_ = QStringLiteral("The settings could not be saved in %1: %2.")
                    .arg(QDir::toNativeSeparators(settings_->fileName()), WriteFailure(*settings_));
  // A QSettings keeps its first error for good, even over later writes that work; a
  // fresh one with the same values judges the next Sync on its own and writes them all.
  const StoredValues values = ValuesBelow(*settings_);
  const QString fileName = settings_->fileName();
  const QSettings::Format format = settings_->format();
  settings_.reset();
  settings_ = std::make_unique<QSettings>(fileName, format);
  settings_->clear();
  for (const auto& [key, value] : values) settings_->setValue(key, value);
  return false;
}

QString SettingsStore::FileName() const { return settings_->fileName(); }

}  // namespace tavrix
