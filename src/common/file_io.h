#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace tavrix {

// Writes `data` to `path` through a temporary file beside it that is renamed over the
// target once complete, so a failed write never leaves a half-written file in place of
// an existing one. A replaced file keeps its permissions; a symbolic link keeps pointing
// at the file it names, which is replaced. A device or a FIFO is written to directly.
// Returns an empty text on success, else the reason it failed, in the system's words
// ("No space left on device").
std::string WriteFileAtomically(const std::string& path, std::string_view data);

// Reads a whole file of at most `maxBytes` bytes into `data`. Returns an empty text on
// success, else the reason it could not (missing, unreadable, a folder, too large, not a
// regular file: a FIFO or a device is refused before it is opened).
std::string ReadFileCapped(const std::string& path, size_t maxBytes, std::string& data);

// True when something exists under `path`.
bool PathExists(const std::string& path);

}  // namespace tavrix
