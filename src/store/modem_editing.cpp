#include "store/modem_editing.h"

#include "store/address_check.h"

namespace tavrix {

namespace {

std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

StoreOutcome Refused(Notices& notices, const char* text, const char* title, ModemBox focus) {
  notices.Ask(text, title, MessageButtons::Ok, MessageIcon::Exclamation);
  StoreOutcome outcome;
  outcome.Focus = focus;
  return outcome;
}

}  // namespace

StoreOutcome StoreModem(Modems& modems, const std::string& editedName, const std::string& nameBox,
                        const std::string& addressBox, const QDateTime& now, Notices& notices) {
  const std::string name = Trimmed(nameBox);
  const std::string address = Trimmed(addressBox);
  // The marker typed as a name is refused like an empty one: stored, it would be taken
  // for a new entry each time the dialog opened it.
  if (name.empty() || name == kNewModemMarker)
    return Refused(notices, "You cannot add a modem without a name!", "Unnamed Modem", ModemBox::Name);
  if (address.empty())
    return Refused(notices, "You cannot add a modem without an IP address!", "Missing IP Address", ModemBox::Address);
  if (const std::optional<AddressRefusal> refusal = CheckModemAddress(address))
    return Refused(notices, refusal->Text, refusal->Title, ModemBox::Address);

  // An edited entry that has gone meanwhile is stored as a new one.
  Modem* edited = editedName == kNewModemMarker ? nullptr : modems.Item(editedName);
  Modem* owner = modems.Item(name);
  StoreOutcome outcome;
  outcome.StoredName = name;

  if (edited != nullptr && (owner == nullptr || owner == edited)) {
    // Edited in place: a new name (or only its case) re-keys the entry, which keeps its
    // place, its number and its last communication.
    const std::string oldName = edited->Name;
    if (name != oldName) modems.RenameKey(oldName, name);
    modems.Item(name)->IP_Address = address;
    outcome.Stored = true;
    return outcome;
  }

  if (owner != nullptr) {
    if (notices.Ask("A modem already exists with this name!  Is it okay to overwrite the previous modem?",
                    "OK to Overwrite", MessageButtons::OkCancel, MessageIcon::Exclamation) != MessageAnswer::Ok) {
      outcome.StoredName.clear();
      outcome.Focus = ModemBox::Name;
      return outcome;
    }
    owner->Name = name;
    owner->IP_Address = address;
    owner->IsThere = true;
    owner->LastComm = now;
    if (edited != nullptr) {
      outcome.RemovedName = edited->Name;
      RemoveAndRenumber(modems, outcome.RemovedName);
    }
    outcome.Stored = true;
    return outcome;
  }

  modems.Add(0, modems.Count() + 1, now, true, address, name);
  outcome.Stored = true;
  return outcome;
}

bool RemoveModem(Modems& modems, const std::string& name, Notices& notices) {
  const Modem* modem = modems.Item(name);
  if (modem == nullptr) return false;
  if (notices.Ask("Are you sure you wish to remove " + modem->Name + "?", "OK to Remove", MessageButtons::YesNo,
                  MessageIcon::Exclamation) != MessageAnswer::Yes)
    return false;
  RemoveAndRenumber(modems, name);
  return true;
}

// The numbers stay 1..Count without a gap.
void RemoveAndRenumber(Modems& modems, const std::string& name) {
  const Modem* removed = modems.Item(name);
  if (removed == nullptr) return;
  const int32_t index = removed->Index;
  for (Modem& modem : modems)
    if (modem.Index > index) --modem.Index;
  modems.Remove(name);
}

}  // namespace tavrix
