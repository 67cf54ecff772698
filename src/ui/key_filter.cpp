#include "ui/key_filter.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tavrix {

namespace {

constexpr int kEscape = 27;
constexpr int kBackspace = 8;

constexpr std::array<std::string_view, 15> kCharacterSets = {
    ".0123456789",
    "-.0123456789",
    "0123456789",
    "-0123456789",
    ".0123456789kKmM",
    ".0123456789mM",
    ".0123456789kK",
    "0123456789aAbBcCdDeEfFhH",
    "01hH",
    "0123hH",
    "01234567hH",
    "01",
    "0123",
    "01234567",
    "9876543210.",
};

bool Holds(std::string_view text, char c) { return text.find(c) != std::string_view::npos; }

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// The text that stays when the typed character replaces the selection, and where it goes.
struct Insertion {
  std::string Kept;  // the text outside the selection
  size_t At = 0;     // where the character lands in Kept
};

Insertion InsertionOf(const KeyFilterInput& box) {
  const size_t size = box.Text.size();
  const size_t start = std::min(static_cast<size_t>(std::max(box.SelStart, 0)), size);
  const size_t length = std::min(static_cast<size_t>(std::max(box.SelLength, 0)), size - start);
  return {box.Text.substr(0, start) + box.Text.substr(start + length), start};
}

bool HoldsEitherCase(std::string_view text, char upper) {
  return Holds(text, upper) || Holds(text, static_cast<char>(upper - 'A' + 'a'));
}

// Where the unit with this letter starts: "MHz" or a bare "M" (either case) at the end
// after optional blanks, the blanks kept with the number; npos when the text has none.
size_t UnitStart(const std::string& text, char letter) {
  std::string_view rest(text);
  if (rest.size() >= 2 && Upper(rest[rest.size() - 2]) == 'H' && Upper(rest.back()) == 'Z') rest.remove_suffix(2);
  if (rest.empty() || Upper(rest.back()) != letter) return std::string::npos;
  return rest.size() - 1;
}

// Sets the box's unit to "KHz" or "MHz": the other unit at the end is replaced, otherwise
// the unit is appended after a blank; a text that has the letter already stays as it is.
KeyFilterResult SetUnit(const std::string& text, char letter, char other) {
  if (HoldsEitherCase(text, letter)) return {};
  const std::string unit = std::string(1, letter) + "Hz";
  const size_t start = UnitStart(text, other);
  if (start != std::string::npos) return {0, text.substr(0, start) + unit};
  return {0, text + " " + unit};
}

}  // namespace

std::string CharacterSet(int index) {
  if (index < 0 || index >= static_cast<int>(kCharacterSets.size())) return {};
  std::string set{static_cast<char>(kEscape), static_cast<char>(kBackspace)};
  set += kCharacterSets[static_cast<size_t>(index)];
  return set;
}

KeyFilterResult FilterKey(int key, const std::string& allowed, const KeyFilterInput& box) {
  if (key == kEscape || key == kBackspace) return {key, {}};
  // The sets are plain ASCII; any other code is dropped.
  if (key <= 0 || key > 127) return {};
  char c = static_cast<char>(key);
  const Insertion insertion = InsertionOf(box);

  if (HoldsEitherCase(allowed, 'H')) {
    if (c >= 'a' && c <= 'f') c = Upper(c);
    // "h" closes a hexadecimal number: only where nothing follows, and only one.
    if ((c == 'h' || c == 'H') && (insertion.At != insertion.Kept.size() || HoldsEitherCase(insertion.Kept, 'H')))
      return {};
  }
  if (c == '.' && (!Holds(allowed, '.') || Holds(insertion.Kept, '.'))) return {};
  if (c == '-' && (!Holds(allowed, '-') || insertion.At != 0 || Holds(insertion.Kept, '-'))) return {};
  // The unit letters rewrite the text; the rewrite is not typing, so the length limit
  // does not hold it back.
  if ((c == 'k' || c == 'K') && HoldsEitherCase(allowed, 'K')) return SetUnit(box.Text, 'K', 'M');
  if ((c == 'm' || c == 'M') && HoldsEitherCase(allowed, 'M')) return SetUnit(box.Text, 'M', 'K');

  // Every character that is inserted, "." "-" and "h" included, must be in the set and
  // fit: a box that is full takes a key only in place of a selection.
  if (!Holds(allowed, c)) return {};
  const bool full = box.MaxLength > 0 && box.Text.size() >= static_cast<size_t>(box.MaxLength);
  const bool selected = insertion.Kept.size() < box.Text.size();
  if (full && !selected) return {};
  return {static_cast<int>(c), {}};
}

}  // namespace tavrix
