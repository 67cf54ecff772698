#pragma once
#include <optional>
#include <string>

namespace tavrix {

// The characters a box accepts, by character-set index 0..14 (any other index: none);
// the set always begins with Escape (27) and Backspace (8).
std::string CharacterSet(int index);

// The focused box as the filter sees it.
struct KeyFilterInput {
  std::string Text;
  int SelStart = 0;
  int SelLength = 0;
  int MaxLength = 0;  // 0: no limit
};

struct KeyFilterResult {
  int Key = 0;                      // the character to let through (perhaps changed); 0 drops it
  std::optional<std::string> Text;  // set when the key rewrote the box's text instead (the unit rule)
};

// Decides what a key typed into the box does, given the characters the box accepts:
// Escape and Backspace always pass; hexadecimal sets (holding "h") upper-case "a".."f"
// and take "h" once, at the end; "." at most once and "-" once, first; "k"/"m" set the
// KHz/MHz unit instead of being typed; anything else must be in the set and fit.
KeyFilterResult FilterKey(int key, const std::string& allowed, const KeyFilterInput& box);

}  // namespace tavrix
