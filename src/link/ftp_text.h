#pragma once
// Text handling of the FTP client that needs no network: the names sent to the server,
// the request URLs, the replies and the listing.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "link/server_address.h"

namespace tavrix::ftp {

// A name as the server sees it: it ends at its first zero character.
std::string ServerSideName(const std::string& name);

// True when the text could not go on the control connection as one argument.
bool HasLineBreak(const std::string& text);

// "ftp://host:port/" followed by the path, every byte that is not a letter, a digit or one
// of "-._~/:" percent-encoded.
std::string RequestUrl(const ServerAddress& address, const std::string& path);

// The size in a "213" reply to SIZE, or nothing.
std::optional<long long> ReportedSize(const std::string& reply);

// The directory named by a "257" reply to PWD (doubled quotes inside stand for one), or
// nothing when the reply carries no quoted name.
std::optional<std::string> QuotedDirectory(const std::string& reply);

// A text that came from a unit, fit to be printed or shown: each byte below 0x20, 0x7F,
// each C1 control (U+0080..U+009F) and each byte that is not part of valid UTF-8 becomes a
// visible "\xNN" escape, so that no terminal sequence or stray byte reaches the operator.
// With `keepLineBreaks` a CR LF or LF stays as it is. More than `maxChars` characters
// (escapes counted as written) are cut and end with "...".
inline constexpr size_t kMaxShownChars = 200;
std::string PrintableText(std::string_view text, size_t maxChars = kMaxShownChars, bool keepLineBreaks = false);

// Wildcard match of a whole name: '*' any run of characters, '?' any one character.
bool MatchesPattern(const std::string& name, const std::string& pattern);

// The names of an NLST listing (one a line, CR LF or LF) that match `pattern`, in the
// server's order. A listed path is reduced to its last part.
std::vector<std::string> MatchingNames(const std::string& listing, const std::string& pattern);

// Collects the replies seen on a control connection, fed one received line at a time.
class ReplyLog {
 public:
  // True when the line completes a reply.
  bool AddLine(const std::string& line);
  bool AnyReply() const { return anyReply_; }
  const std::string& LastReply() const { return lastReply_; }  // all its lines, as received
  int LastCode() const { return lastCode_; }
  int Count() const { return count_; }  // replies completed so far

 private:
  std::string pending_;
  int pendingCode_ = 0;
  bool anyReply_ = false;
  std::string lastReply_;
  int lastCode_ = 0;
  int count_ = 0;
};

}  // namespace tavrix::ftp
