#pragma once
#include <QDateTime>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavrix {

class SettingsStore;

// One demodulator of the directory.
struct Modem {
  int Recent = 0;        // place in the recent list
  int32_t Index = 0;     // the entry's number, 1..Count; also its settings key's suffix
  QDateTime LastComm;    // the last successful communication ("LastCommunication")
  bool IsThere = false;  // present (while the directory is rebuilt)
  std::string IP_Address;
  std::string Name;  // the operator's name for the unit, the collection key
};

inline constexpr int kRecentPlaces = 10;

// The time a unit never heard from counts as: older than any real communication.
QDateTime OldestTime();

// Two unit names are one key when they differ only in case.
bool SameName(const std::string& a, const std::string& b);

// The directory: entries in insertion order, keyed by Name (names compare without regard
// to case, as collection keys do), and the recent array of the ten most recently
// monitored entry numbers.
class Modems {
 public:
  bool Exists(const std::string& name) const;
  // The entry's Index; 0 when there is no such entry.
  int32_t Index(const std::string& name) const;
  // Re-keys an entry under a new name (its position and Index stay). False when the old
  // name is unknown or the new one belongs to another entry.
  bool RenameKey(const std::string& oldName, const std::string& newName);
  // Rebuilds the recent array: the newest communication last (see the source).
  void SetRecent();
  // The entry number at place 1..10 of the recent list; 0 for an empty or unknown place.
  int32_t GetRecent(int place) const;
  // Creates an entry from its six properties and adds it under its name; false (nothing
  // added) when the name is empty or already taken.
  bool Add(int recent, int32_t index, const QDateTime& lastComm, bool isThere, const std::string& ipAddress,
           const std::string& name);
  bool AddItem(const Modem& modem);
  // By key, or by 1-based position; nullptr when absent.
  Modem* Item(const std::string& name);
  const Modem* Item(const std::string& name) const;
  Modem* Item(int position);
  const Modem* Item(int position) const;
  // The entry whose Index is `index`; nullptr when none.
  const Modem* WithIndex(int32_t index) const;
  int Count() const { return static_cast<int>(entries_.size()); }
  void Remove(const std::string& name);
  void Remove(int position);
  // Iteration in insertion order.
  std::vector<Modem>::const_iterator begin() const { return entries_.begin(); }
  std::vector<Modem>::const_iterator end() const { return entries_.end(); }
  std::vector<Modem>::iterator begin() { return entries_.begin(); }
  std::vector<Modem>::iterator end() { return entries_.end(); }

 private:
  std::optional<size_t> Find(const std::string& name) const;

  std::vector<Modem> entries_;
  std::array<int32_t, kRecentPlaces> recent_{};
};

// The directory as stored: "Tavrix Modems" with ModemCount and LastModem, and
// "Tavrix Modems\Modem<n>" with ModemName, IP_Address and LastCommunication for n =
// 1..ModemCount.
struct StoredDirectory {
  Modems Entries;
  std::string LastModem;  // the name of the unit used last; empty for none
  // One line for the status bar when the stored ModemCount was missing, unreadable or
  // negative and the entries were read from the groups Modem1, Modem2, ... up to the
  // first gap instead; empty when the count was read. The next SaveModems stores the
  // repaired count.
  std::string CountRepairNotice;
};

// Reads entries 1..ModemCount in order (an entry with an empty or repeated name is
// skipped and the rest numbered 1..Count), then runs SetRecent. A count that cannot be
// read is repaired from the groups stored (see CountRepairNotice).
StoredDirectory LoadModems(const SettingsStore& store);
// Deletes the stored values of every modem subsection, then writes ModemCount,
// LastModem and each entry under its position; subsections numbered above the count go,
// and so does any value outside the settings table. Writes the file at once: false when
// it could not be written, with the reason in the store's WriteError.
bool SaveModems(SettingsStore& store, const Modems& modems, const std::string& lastModem);

// Whether a stored value is one of the directory's: ModemCount and LastModem of "Tavrix
// Modems", and ModemName, IP_Address and LastCommunication of "Tavrix Modems\Modem<n>".
bool IsDirectoryKey(const std::string& section, const std::string& key);

}  // namespace tavrix
