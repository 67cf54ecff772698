#pragma once
// The libcurl side of the FTP client: one easy handle (the session) and the control
// connection it keeps between requests, and one blocking request at a time on it.
#include <curl/curl.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "link/ftp_server.h"
#include "link/ftp_text.h"
#include "link/server_address.h"

namespace tavrix::ftp {

// What one request does.
struct Request {
  std::string path;                   // the file or directory, as the server takes it; empty for none
  bool noBody = false;                // log in and run `commands` only
  std::vector<std::string> commands;  // sent before the transfer
  bool listNames = false;             // NLST of the directory in `path`
  bool mayConnect = false;            // only a login may open a control connection
  bool watchStall = false;            // ends when no byte moves for the stall time-out
  bool askSize = false;               // SIZE of the file first; a refusal does not matter
  // Where received bytes go: a string up to `cap` bytes, or a file.
  std::string* into = nullptr;
  size_t cap = 0;
  std::FILE* toFile = nullptr;
  // What is sent (an upload): a string or a file.
  bool upload = false;
  const std::string* from = nullptr;
  size_t sent = 0;
  std::FILE* fromFile = nullptr;
  curl_off_t uploadSize = 0;
};

enum class Cut { None, Abort, Stall };

struct Outcome {
  CURLcode code = CURLE_FAILED_INIT;
  Cut cut = Cut::None;  // ended by the abort flag or a stall rather than by libcurl
  bool ok() const { return code == CURLE_OK && cut == Cut::None; }
};

// The connection lives in the connection cache of a multi handle of the session's own, so
// that it outlasts each request and closing it is a matter of dropping that multi handle.
// A request runs in a loop that polls the multi handle in short steps, which is where the
// abort flag and the stall time-out are watched; the other time-outs are libcurl's.
class Session {
 public:
  explicit Session(const FtpLimits& limits);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  bool IsOpen() const { return easy_ != nullptr; }
  // Where the following requests go and whom they log in as.
  void SetServer(const ServerAddress& address, const std::string& user, const std::string& password);
  // Closes the control connection (QUIT when it is still good). With `reopen` the session
  // stays able to log in again.
  void CloseConnection(bool reopen);

  Outcome Run(Request& r);
  // One command on the control connection; true when the server accepted it.
  bool Command(const std::string& command);
  // The names in the directory part of `pattern` that match its last part.
  bool List(const std::string& pattern, std::vector<std::string>& names);

  const ReplyLog& Replies() const { return replies_; }
  // The size the server gave in the last request with askSize; -1 when none.
  curl_off_t SizeReplied() const { return sizeReplied_; }

  // What went wrong in the last operation, in a few words; empty after a success.
  const std::string& LastError() const { return lastError_; }
  bool Fail(const std::string& why) {
    lastError_ = why;
    return false;
  }
  void ClearError() { lastError_.clear(); }

 private:
  using Clock = std::chrono::steady_clock;

  bool AbortRequested() const { return limits_.abort != nullptr && limits_.abort->load(); }
  void SetOptions(Request& r, const std::string& url, curl_slist* commands);
  std::string Describe(const Outcome& outcome, int repliesBefore) const;

  static size_t OnReceive(char* data, size_t size, size_t count, void* user);
  static size_t OnSend(char* buffer, size_t size, size_t count, void* user);
  static size_t OnReplyLine(char* data, size_t size, size_t count, void* user);
  static curl_socket_t OnOpenSocket(void* user, curlsocktype purpose, curl_sockaddr* address);
  static int OnSocketOption(void* user, curl_socket_t socket, curlsocktype purpose);

  const FtpLimits limits_;
  CURL* easy_ = nullptr;
  CURLM* multi_ = nullptr;
  ServerAddress address_;
  std::string user_, password_;
  ReplyLog replies_;
  std::string lastError_;

  Request* request_ = nullptr;  // the request running
  Clock::time_point lastMovement_;
  bool reloginRefused_ = false;  // the request needed a new control connection
  std::string refusedPeer_;      // a data connection came from this address, not the unit's
  curl_off_t sizeReplied_ = -1;
};

}  // namespace tavrix::ftp
