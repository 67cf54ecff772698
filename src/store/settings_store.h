#pragma once
#include <QString>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QSettings;

namespace tavrix {

// The per-user settings store: sections of text values below the application's key.
// A section is a path such as "Configuration\ColorPalette0" or "Tavrix Modems\Modem3";
// every value is text, converted by whoever reads it. Writes reach the disk at Sync (or
// when the store goes), always as a whole new file that replaces the old one, so a crash
// during a write leaves the previous settings as they were.
class SettingsStore {
 public:
  // The platform's own per-user store of the application (organisation "Tavrix").
  SettingsStore();
  // A store in the given file (tests point it at a temporary folder).
  explicit SettingsStore(const QString& fileName);
  ~SettingsStore();
  SettingsStore(const SettingsStore&) = delete;
  SettingsStore& operator=(const SettingsStore&) = delete;

  // save setting: an empty value is stored empty, and so reads back as the default.
  void SaveSetting(const std::string& section, const std::string& key, const std::string& value);
  // get setting: the stored text, or `defaultValue` when the section, the key or the
  // text is missing or empty.
  std::string GetSetting(const std::string& section, const std::string& key, const std::string& defaultValue) const;
  // delete value / delete key: a value of a section, a whole subsection with its values.
  void DeleteSetting(const std::string& section, const std::string& key);
  void DeleteKey(const std::string& section, const std::string& subkey);
  // The names of the subsections of a section, as stored.
  std::vector<std::string> Subsections(const std::string& section) const;

  // Removes every value for which `wanted` (section, key) is false, and every value that
  // could not be read; sections left empty go with their values.
  void KeepOnly(const std::function<bool(const std::string& section, const std::string& key)>& wanted);

  // Writes what changed to the disk now; false when the file could not be written, and
  // then WriteError says why. The values stay held and the next Sync tries them all again.
  bool Sync();
  // After a Sync that failed, one line for the operator with the file and the system's
  // reason, e.g. "The settings could not be saved in /home/op/.config/Tavrix/Tavrix
  // Spectrum Analyzer.conf: No space left on device."; empty after a Sync that worked.
  QString WriteError() const { return writeError_; }
  QString FileName() const;
  // Where an unreadable settings file was put aside at opening ("<file>.bad"); empty
  // when the file read cleanly. The values that could be read are kept and written to a
  // fresh file at the next Sync.
  QString SetAsideFile() const { return setAside_; }

 private:
  void Open(std::unique_ptr<QSettings> settings);

  std::unique_ptr<QSettings> settings_;
  QString setAside_;
  QString writeError_;
};

}  // namespace tavrix
