#include "app/command_table.h"

namespace tavrix {

const char* ToolbarImage(int place) {
  if (place < 1 || place > static_cast<int>(kToolbarImages.size())) return "";
  return kToolbarImages[static_cast<size_t>(place - 1)];
}

}  // namespace tavrix
