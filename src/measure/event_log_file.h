#pragma once
// The event log as a CSV file: the header when the file is new, then the alarm changes'
// lines appended as they happen. A write that fails keeps the lines for the next one and
// is told once, not at every capture.
#include <deque>
#include <string>
#include <vector>

namespace tavrix {

class EventLogFile {
 public:
  explicit EventLogFile(std::string path) : path_(std::move(path)) {}
  const std::string& Path() const { return path_; }

  // Appends the lines (each ending in a line end), after any kept from writes that failed.
  // Returns a sentence for the operator when the file could not be written and that has not
  // been told since the last write that worked; otherwise an empty text.
  std::string Append(const std::vector<std::string>& lines);
  // Lines waiting for a write that works.
  size_t Waiting() const { return waiting_.size(); }

 private:
  std::string path_;
  std::deque<std::string> waiting_;
  bool told_ = false;
};

// The fields of one CSV line as the event log and the peak table write them: split at the
// commas, a quoted field unquoted ("" inside it is one quote), the line end dropped.
std::vector<std::string> CsvFields(const std::string& line);

}  // namespace tavrix
