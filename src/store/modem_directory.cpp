#include "store/modem_directory.h"

#include <QString>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "store/settings_store.h"
#include "store/settings_text.h"
#include "store/viewer_settings.h"

namespace tavrix {

namespace {

constexpr const char* kModemsSection = "Tavrix Modems";
constexpr const char* kModemPrefix = "Modem";
constexpr const char* kRecentDateFormat = "yyyyMMddHHmmss";
constexpr size_t kIndexDigits = 6;
// A stored count beyond this is not believed: reading that many empty groups would only
// hold up the start.
constexpr int32_t kMaxStoredModems = 10000;

std::string ModemSection(int number) {
  return std::string(kModemsSection) + '\\' + kModemPrefix + std::to_string(number);
}

// The sort key of SetRecent: the last communication to the second, then the entry number
// in six digits, so that equal times put the higher number first.
std::string RecentKey(const Modem& modem) {
  const QDateTime when = modem.LastComm.isValid() ? modem.LastComm : OldestTime();
  char index[16];
  std::snprintf(index, sizeof index, "%06d", static_cast<int>(modem.Index));
  return when.toLocalTime().toString(QString::fromLatin1(kRecentDateFormat)).toStdString() + index;
}

// The entry number a key carries: the value of its last six characters.
int32_t KeyIndex(const std::string& key) {
  const std::string_view digits = std::string_view(key).substr(key.size() - std::min(key.size(), kIndexDigits));
  int32_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

// The number of a subsection "Modem<n>"; nothing for any other subsection.
std::optional<int64_t> ModemNumber(const std::string& subsection) {
  const std::string_view prefix = kModemPrefix;
  if (subsection.size() <= prefix.size() || subsection.compare(0, prefix.size(), prefix) != 0) return std::nullopt;
  const std::string_view digits = std::string_view(subsection).substr(prefix.size());
  if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) return std::nullopt;
  int64_t value = 0;
  const std::errc error = std::from_chars(digits.data(), digits.data() + digits.size(), value).ec;
  // A number too long to read is certainly above any count.
  return error == std::errc() ? value : std::numeric_limits<int64_t>::max();
}

// Where the stored count cannot be read: the groups Modem1, Modem2, ... up to the first
// one missing, so that one bad number does not lose the units stored behind it.
int32_t GroupsInARow(const SettingsStore& store) {
  const std::vector<std::string> subsections = store.Subsections(kModemsSection);
  int32_t n = 0;
  while (n < kMaxStoredModems &&
         std::find(subsections.begin(), subsections.end(), kModemPrefix + std::to_string(n + 1)) != subsections.end())
    ++n;
  return n;
}

}  // namespace

bool SameName(const std::string& a, const std::string& b) {
  return QString::fromStdString(a).compare(QString::fromStdString(b), Qt::CaseInsensitive) == 0;
}

bool IsDirectoryKey(const std::string& section, const std::string& key) {
  const std::string modems = kModemsSection;
  if (section == modems) return key == "ModemCount" || key == "LastModem";
  if (section.compare(0, modems.size() + 1, modems + '\\') != 0) return false;
  const std::string subsection = section.substr(modems.size() + 1);
  const std::optional<int64_t> number = ModemNumber(subsection);
  // Only the form the directory writes: "Modem7", not "Modem07" or "Modem0".
  if (!number || *number < 1 || subsection != kModemPrefix + std::to_string(*number)) return false;
  return key == "ModemName" || key == "IP_Address" || key == "LastCommunication";
}

// The oldest date the directory knows, its day zero, at midnight.
QDateTime OldestTime() { return QDateTime(QDate(1899, 12, 30), QTime(0, 0)); }

std::optional<size_t> Modems::Find(const std::string& name) const {
  for (size_t i = 0; i < entries_.size(); ++i)
    if (SameName(entries_[i].Name, name)) return i;
  return std::nullopt;
}

bool Modems::Exists(const std::string& name) const { return Find(name).has_value(); }

int32_t Modems::Index(const std::string& name) const {
  const Modem* modem = Item(name);
  return modem != nullptr ? modem->Index : 0;
}

bool Modems::RenameKey(const std::string& oldName, const std::string& newName) {
  const std::optional<size_t> at = Find(oldName);
  if (!at || newName.empty()) return false;
  const std::optional<size_t> taken = Find(newName);
  if (taken && *taken != *at) return false;
  entries_[*at].Name = newName;
  return true;
}

// The n most recent entries (n at most ten) from the oldest of them at place 1 to the
// newest at place n; the order is reversed on purpose and the menu reads it backwards.
void Modems::SetRecent() {
  std::vector<std::pair<std::string, size_t>> keys;
  keys.reserve(entries_.size());
  for (size_t i = 0; i < entries_.size(); ++i) keys.emplace_back(RecentKey(entries_[i]), i);
  std::sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) { return a.first > b.first; });

  recent_.fill(0);
  for (Modem& modem : entries_) modem.Recent = 0;
  const size_t n = std::min(keys.size(), static_cast<size_t>(kRecentPlaces));
  for (size_t place = 1; place <= n; ++place) {
    const auto& [key, entry] = keys[n - place];
    recent_[place - 1] = KeyIndex(key);
    entries_[entry].Recent = static_cast<int>(place);
  }
}

int32_t Modems::GetRecent(int place) const {
  if (place < 1 || place > kRecentPlaces) return 0;
  return recent_[static_cast<size_t>(place - 1)];
}

bool Modems::Add(int recent, int32_t index, const QDateTime& lastComm, bool isThere, const std::string& ipAddress,
                 const std::string& name) {
  return AddItem(Modem{recent, index, lastComm, isThere, ipAddress, name});
}

bool Modems::AddItem(const Modem& modem) {
  if (modem.Name.empty() || Exists(modem.Name)) return false;
  entries_.push_back(modem);
  return true;
}

Modem* Modems::Item(const std::string& name) {
  const std::optional<size_t> at = Find(name);
  return at ? &entries_[*at] : nullptr;
}

const Modem* Modems::Item(const std::string& name) const {
  const std::optional<size_t> at = Find(name);
  return at ? &entries_[*at] : nullptr;
}

Modem* Modems::Item(int position) {
  return position >= 1 && position <= Count() ? &entries_[static_cast<size_t>(position - 1)] : nullptr;
}

const Modem* Modems::Item(int position) const {
  return position >= 1 && position <= Count() ? &entries_[static_cast<size_t>(position - 1)] : nullptr;
}

const Modem* Modems::WithIndex(int32_t index) const {
  const auto it = std::find_if(entries_.begin(), entries_.end(), [&](const Modem& m) { return m.Index == index; });
  return it != entries_.end() ? &*it : nullptr;
}

void Modems::Remove(const std::string& name) {
  if (const std::optional<size_t> at = Find(name)) entries_.erase(entries_.begin() + static_cast<ptrdiff_t>(*at));
}

void Modems::Remove(int position) {
  if (position >= 1 && position <= Count()) entries_.erase(entries_.begin() + (position - 1));
}

StoredDirectory LoadModems(const SettingsStore& store) {
  StoredDirectory stored;
  // A count missing, unreadable or negative is not believed; the groups stored are. A
  // missing one is only a repair when there are groups to keep (a first start has none).
  const std::string countText = store.GetSetting(kModemsSection, "ModemCount", "");
  std::optional<int32_t> storedCount = ReadLong(countText);
  if (storedCount && *storedCount < 0) storedCount.reset();
  const int32_t count = storedCount ? std::min(*storedCount, kMaxStoredModems) : GroupsInARow(store);
  const bool repaired = !storedCount && (!countText.empty() || count > 0);
  stored.LastModem = store.GetSetting(kModemsSection, "LastModem", "");
  Modems& modems = stored.Entries;
  for (int n = 1; n <= count; ++n) {
    const std::string section = ModemSection(n);
    const std::string name = store.GetSetting(section, "ModemName", "");
    // A nameless or repeated entry cannot be a collection key; the rest close up behind it.
    if (name.empty() || modems.Exists(name)) continue;
    const QDateTime lastComm = ReadDate(store.GetSetting(section, "LastCommunication", "")).value_or(OldestTime());
    modems.Add(0, modems.Count() + 1, lastComm, false, store.GetSetting(section, "IP_Address", ""), name);
  }
  modems.SetRecent();
  if (repaired)
    stored.CountRepairNotice = "The modem directory's count could not be read and was repaired: " +
                               std::to_string(modems.Count()) + (modems.Count() == 1 ? " unit" : " units") + " kept.";
  return stored;
}

bool SaveModems(SettingsStore& store, const Modems& modems, const std::string& lastModem) {
  const std::vector<std::string> subsections = store.Subsections(kModemsSection);
  const std::string modemsSection = kModemsSection;
  for (const std::string& subsection : subsections) {
    if (!ModemNumber(subsection)) continue;
    const std::string section = modemsSection + '\\' + subsection;
    for (const char* key : {"ModemName", "IP_Address", "LastCommunication"}) store.DeleteSetting(section, key);
  }
  store.SaveSetting(kModemsSection, "ModemCount", IntegerText(modems.Count()));
  store.SaveSetting(kModemsSection, "LastModem", lastModem);
  int n = 0;
  for (const Modem& modem : modems) {
    const std::string section = ModemSection(++n);
    store.SaveSetting(section, "ModemName", modem.Name);
    store.SaveSetting(section, "IP_Address", modem.IP_Address);
    store.SaveSetting(section, "LastCommunication", DateText(modem.LastComm));
  }
  // Groups left over from a longer directory would come back as entries after a count change.
  for (const std::string& subsection : subsections) {
    const std::optional<int64_t> number = ModemNumber(subsection);
    if (number && (*number < 1 || *number > modems.Count())) store.DeleteKey(kModemsSection, subsection);
  }
  store.KeepOnly(IsSettingsTableKey);
  return store.Sync();
}

}  // namespace tavrix
