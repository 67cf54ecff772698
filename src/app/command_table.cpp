#include "app/command_table.h"

namespace tavrix {

const char* ToolbarImage(int place) {
  if (place < 1 || place > static_cast<int>(kToolbarImages.size())) return "";
  return kToolbarImages[static_cast<size_t>(place - 1)];
}

int DropDownIndex(std::string_view key, std::string_view first, std::string_view last) {
  if (key.empty() || key < first || key > last) return -1;
  const char c = key.back();
  return c >= '0' && c <= '9' ? c - '0' : -1;
}

}  // namespace tavrix
