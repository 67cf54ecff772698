#pragma once
#include <QDateTime>

#include <optional>
#include <string>

#include "common/notices.h"
#include "store/modem_directory.h"

namespace tavrix {

// The name box of the properties dialog holds this for an entry not yet in the
// directory; it is never shown as a name.
inline constexpr const char* kNewModemMarker = "<$$New Modem$$>";

// Which box of the properties dialog a refusal points at (the focus goes there).
enum class ModemBox { None, Name, Address };

struct StoreOutcome {
  bool Stored = false;        // false: the dialog stays open
  std::string StoredName;     // the entry that now holds the boxes' values
  std::string RemovedName;    // an edited entry replaced by the one it was renamed onto
  ModemBox Focus = ModemBox::None;
};

// frmModem's OK. `editedName` is the entry the dialog was opened for, or
// kNewModemMarker for a new one. The boxes are trimmed; an empty name or address, or an
// address that fails the check, is told through `notices` and keeps the dialog open. A
// name that belongs to another entry asks "OK to Overwrite": Cancel keeps the dialog
// open and changes nothing; OK overwrites that entry (name, address, present, last
// communication now) and, when an existing entry was being edited, removes it as Remove
// does. A new entry gets the next number and `now`; an edited one keeps its place, its
// number and its last communication.
StoreOutcome StoreModem(Modems& modems, const std::string& editedName, const std::string& nameBox,
                        const std::string& addressBox, const QDateTime& now, Notices& notices);

// frmModemSelect's Remove: asks "OK to Remove"; on Yes the entries numbered above the
// removed one move down by one and it leaves the directory. True when removed.
bool RemoveModem(Modems& modems, const std::string& name, Notices& notices);

// Removing without asking: the renumbering and the removal of Remove's Yes.
void RemoveAndRenumber(Modems& modems, const std::string& name);

}  // namespace tavrix
