#include "history/recording_writer.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "history/recording_reader.h"

namespace tavrix::history {

namespace {

std::string SystemReason(int error) { return std::strerror(error != 0 ? error : EIO); }

}  // namespace

std::string RecordingWriter::Open(const std::string& path, const RecordingHeader& header) {
  Close();
  path_ = path;
  size_ = 0;
  std::error_code error;
  const bool exists = std::filesystem::exists(path, error);
  if (exists) {
    if (!std::filesystem::is_regular_file(path, error)) return "not a regular file";
    RecordingReader reader;
    if (std::string problem = reader.Open(path); !problem.empty()) return problem;
    // Whatever follows the whole records is a record torn by a crash: cut it off, so that
    // what is appended now follows a whole one.
    if (std::filesystem::file_size(path, error) != reader.WholeBytes()) {
      std::filesystem::resize_file(path, reader.WholeBytes(), error);
      if (error) return error.message();
    }
    size_ = reader.WholeBytes();
  } else if (const auto folder = std::filesystem::path(path).parent_path(); !folder.empty()) {
    std::filesystem::create_directories(folder, error);
    if (error) return error.message();
  }
  errno = 0;
  file_.reset(std::fopen(path.c_str(), "ab"));
  if (!file_) return SystemReason(errno);
  if (!exists) {
    const std::string start = EncodeFileHeader(header);
    if (std::fwrite(start.data(), 1, start.size(), file_.get()) != start.size() || std::fflush(file_.get()) != 0) {
      const std::string reason = SystemReason(errno);
      Close();
      std::filesystem::remove(path, error);
      return reason;
    }
    size_ = start.size();
  }
  return {};
}

std::string RecordingWriter::Append(int64_t timeMs, std::string_view block) {
  if (block.size() > kMaxBlockBytes) return "the capture is larger than a recording holds";
  const std::string payload = CompressBlock(block);
  if (payload.empty()) return "the capture could not be compressed";
  return AppendPayload(timeMs, payload);
}

std::string RecordingWriter::AppendPayload(int64_t timeMs, std::string_view payload) {
  if (!file_) return "the recording is not open";
  if (payload.empty() || payload.size() > kMaxPayloadBytes) return "the capture is larger than a recording holds";
  std::string record = EncodeRecordHeader({timeMs, static_cast<uint32_t>(payload.size())});
  record += payload;
  errno = 0;
  if (std::fwrite(record.data(), 1, record.size(), file_.get()) == record.size() &&
      std::fflush(file_.get()) == 0) {
    size_ += record.size();
    return {};
  }
  // Part of the record may have reached the file: cut back to the whole ones, so that the
  // next append (after space is freed) follows a whole record.
  const std::string reason = SystemReason(errno);
  Close();
  std::error_code error;
  std::filesystem::resize_file(path_, size_, error);
  errno = 0;
  file_.reset(std::fopen(path_.c_str(), "ab"));
  return reason;
}

}  // namespace tavrix::history
