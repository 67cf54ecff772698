#include "common/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace tavrix {

namespace {

std::string ErrorText(int err) { return std::strerror(err); }

// A name beside the target that no other writer in this process or another uses.
std::string TemporaryName(const std::string& path, int attempt) {
  static std::atomic<unsigned> counter{0};
  char suffix[64];
  std::snprintf(suffix, sizeof suffix, ".%ld.%u.%d.tmp", static_cast<long>(getpid()), counter++, attempt);
  return path + suffix;
}

std::string WriteAll(int fd, std::string_view data) {
  const char* p = data.data();
  size_t left = data.size();
  while (left > 0) {
    ssize_t n = ::write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      return ErrorText(errno);
    }
    p += n;
    left -= static_cast<size_t>(n);
  }
  return {};
}

}  // namespace

std::string ReadFileCapped(const std::string& path, size_t maxBytes, std::string& data) {
  data.clear();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return ErrorText(errno);
  std::string error;
  struct stat st;
  if (::fstat(fd, &st) != 0) {
    error = ErrorText(errno);
  } else if (S_ISDIR(st.st_mode)) {
    error = "it is a folder";
  } else {
    // Read one byte past the cap to tell a file of exactly maxBytes from a larger one.
    data.resize(maxBytes + 1);
    size_t got = 0;
    while (got < data.size()) {
      const ssize_t n = ::read(fd, data.data() + got, data.size() - got);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        error = ErrorText(errno);
        break;
      }
      if (n == 0) break;
      got += static_cast<size_t>(n);
    }
    if (error.empty() && got > maxBytes) error = "it is larger than " + std::to_string(maxBytes) + " bytes";
    data.resize(error.empty() ? got : 0);
  }
  ::close(fd);
  return error;
}

bool PathExists(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0;
}

std::string WriteFileAtomically(const std::string& path, std::string_view data) {
  if (path.empty()) return "no file name was given";
  struct stat target;
  if (::stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode)) return "it is a folder";

  std::string temporary;
  int fd = -1;
  for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
    temporary = TemporaryName(path, attempt);
    fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno != EEXIST) return ErrorText(errno);
  }
  if (fd < 0) return "no temporary file could be created beside it";

  std::string error = WriteAll(fd, data);
  if (::close(fd) != 0 && error.empty()) error = ErrorText(errno);
  if (error.empty() && ::rename(temporary.c_str(), path.c_str()) != 0) error = ErrorText(errno);
  if (!error.empty()) ::unlink(temporary.c_str());
  return error;
}

}  // namespace tavrix
