#include "link/ftp_session.h"

#include "link/peer_address.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace tavrix::ftp {

namespace {

constexpr int kPollMs = 50;  // how often a running request looks at the abort flag and the stall

// libcurl's process-wide set-up, done once, before the first session, whatever the thread.
bool GlobalInit() {
  static const bool ok = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  return ok;
}

}  // namespace

Session::Session(const FtpLimits& limits) : limits_(limits) {
  if (!GlobalInit()) return;
  easy_ = curl_easy_init();
  if (easy_ != nullptr) multi_ = curl_multi_init();
  if (multi_ == nullptr && easy_ != nullptr) {
    curl_easy_cleanup(easy_);
    easy_ = nullptr;
  }
}

Session::~Session() {
  CloseConnection(false);
  if (easy_ != nullptr) curl_easy_cleanup(easy_);
}

void Session::SetServer(const ServerAddress& address, const std::string& user, const std::string& password) {
  address_ = address;
  user_ = user;
  password_ = password;
}

void Session::CloseConnection(bool reopen) {
  if (multi_ != nullptr) curl_multi_cleanup(multi_);
  multi_ = (reopen && easy_ != nullptr) ? curl_multi_init() : nullptr;
}

size_t Session::OnReceive(char* data, size_t size, size_t count, void* user) {
  Session* session = static_cast<Session*>(user);
  Request& r = *session->request_;
  const size_t n = size * count;
  session->lastMovement_ = Clock::now();
  if (r.toFile != nullptr) return std::fwrite(data, 1, n, r.toFile);
  if (r.into == nullptr) return n;
  const size_t room = r.cap > r.into->size() ? r.cap - r.into->size() : 0;
  const size_t taken = std::min(room, n);
  r.into->append(data, taken);
  return taken;  // taking fewer than offered ends the transfer
}

size_t Session::OnSend(char* buffer, size_t size, size_t count, void* user) {
  Session* session = static_cast<Session*>(user);
  Request& r = *session->request_;
  const size_t room = size * count;
  size_t n = 0;
  if (r.fromFile != nullptr) {
    n = std::fread(buffer, 1, room, r.fromFile);
    if (n == 0 && std::ferror(r.fromFile)) return CURL_READFUNC_ABORT;
  } else if (r.from != nullptr) {
    n = std::min(room, r.from->size() - r.sent);
    std::memcpy(buffer, r.from->data() + r.sent, n);
    r.sent += n;
  }
  if (n > 0) session->lastMovement_ = Clock::now();
  return n;
}

size_t Session::OnReplyLine(char* data, size_t size, size_t count, void* user) {
  Session* session = static_cast<Session*>(user);
  const bool complete = session->replies_.AddLine(std::string(data, size * count));
  if (complete && session->request_ != nullptr && session->request_->askSize) {
    if (const auto reported = ReportedSize(session->replies_.LastReply())) session->sizeReplied_ = *reported;
  }
  return size * count;
}

curl_socket_t Session::OnOpenSocket(void* user, curlsocktype, curl_sockaddr* address) {
  // Outside a login the control connection is the one already logged in: when it is gone,
  // the request fails instead of libcurl quietly logging in again.
  Session* session = static_cast<Session*>(user);
  if ((session->request_ == nullptr || !session->request_->mayConnect) && !IsDataListener(*address)) {
    session->reloginRefused_ = true;
    return CURL_SOCKET_BAD;
  }
  return OpenSocket(*address);
}

int Session::OnSocketOption(void* user, curl_socket_t socket, curlsocktype purpose) {
  if (purpose != CURLSOCKTYPE_ACCEPT) return CURL_SOCKOPT_OK;
  // In active mode anyone who reaches the listening port first could hand over the data:
  // only the unit the control connection is with may.
  Session* session = static_cast<Session*>(user);
  const char* unit = nullptr;
  curl_easy_getinfo(session->easy_, CURLINFO_PRIMARY_IP, &unit);
  const std::string peer = PeerAddress(socket);
  if (unit != nullptr && SameHost(peer, unit)) return CURL_SOCKOPT_OK;
  session->refusedPeer_ = peer.empty() ? "an unknown address" : peer;
  return CURL_SOCKOPT_ERROR;
}

void Session::SetOptions(Request& r, const std::string& url, curl_slist* commands) {
  curl_easy_reset(easy_);
  curl_easy_setopt(easy_, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy_, CURLOPT_NOPROGRESS, 1L);
  // A unit on the local network is always reached directly: a proxy named in the
  // environment (all_proxy, ftp_proxy and the like) never applies. The empty proxy turns
  // proxies off whatever the environment says; "*" exempts every host besides.
  curl_easy_setopt(easy_, CURLOPT_PROXY, "");
  curl_easy_setopt(easy_, CURLOPT_NOPROXY, "*");
  curl_easy_setopt(easy_, CURLOPT_CONNECTTIMEOUT_MS, std::max(1L, limits_.connectTimeoutMs));
  curl_easy_setopt(easy_, CURLOPT_TIMEOUT_MS, std::max(1L, limits_.transferTimeoutMs));
  curl_easy_setopt(easy_, CURLOPT_ACCEPTTIMEOUT_MS, std::max(1L, limits_.connectTimeoutMs));
  // Also bounds the wait for the answer to QUIT when the connection is closed.
  curl_easy_setopt(easy_, CURLOPT_SERVER_RESPONSE_TIMEOUT, std::max(1L, (limits_.connectTimeoutMs + 999) / 1000));
  curl_easy_setopt(easy_, CURLOPT_FTPPORT, "-");  // active mode, on the control connection's address
  curl_easy_setopt(easy_, CURLOPT_FTP_USE_EPRT, 0L);
  curl_easy_setopt(easy_, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_NOCWD));
  curl_easy_setopt(easy_, CURLOPT_TRANSFERTEXT, 0L);
  // libcurl's own SIZE before a RETR takes a 550 for a missing file; the size is asked
  // for separately instead (askSize), so that a unit that does not give it can be read.
  curl_easy_setopt(easy_, CURLOPT_IGNORE_CONTENT_LENGTH, 1L);
  if (!user_.empty() || !password_.empty()) {
    curl_easy_setopt(easy_, CURLOPT_USERNAME, user_.empty() ? "anonymous" : user_.c_str());
    curl_easy_setopt(easy_, CURLOPT_PASSWORD, password_.c_str());
  }
  curl_easy_setopt(easy_, CURLOPT_HEADERFUNCTION, &Session::OnReplyLine);
  curl_easy_setopt(easy_, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, &Session::OnReceive);
  curl_easy_setopt(easy_, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(easy_, CURLOPT_OPENSOCKETFUNCTION, &Session::OnOpenSocket);
  curl_easy_setopt(easy_, CURLOPT_OPENSOCKETDATA, this);
  curl_easy_setopt(easy_, CURLOPT_SOCKOPTFUNCTION, &Session::OnSocketOption);
  curl_easy_setopt(easy_, CURLOPT_SOCKOPTDATA, this);
  if (r.noBody) curl_easy_setopt(easy_, CURLOPT_NOBODY, 1L);
  if (r.listNames) curl_easy_setopt(easy_, CURLOPT_DIRLISTONLY, 1L);
  if (r.upload) {
    curl_easy_setopt(easy_, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(easy_, CURLOPT_READFUNCTION, &Session::OnSend);
    curl_easy_setopt(easy_, CURLOPT_READDATA, this);
    curl_easy_setopt(easy_, CURLOPT_INFILESIZE_LARGE, r.uploadSize);
  }
  if (commands != nullptr) curl_easy_setopt(easy_, CURLOPT_QUOTE, commands);
  if (std::getenv("TAVRIX_FTP_TRACE") != nullptr) curl_easy_setopt(easy_, CURLOPT_VERBOSE, 1L);
}

Outcome Session::Run(Request& r) {
  Outcome outcome;
  if (easy_ == nullptr || multi_ == nullptr) {
    Fail("no Internet session");
    return outcome;
  }
  const int repliesBefore = replies_.Count();
  reloginRefused_ = false;
  refusedPeer_.clear();
  sizeReplied_ = -1;
  if (AbortRequested()) {
    outcome.cut = Cut::Abort;
    lastError_ = Describe(outcome, repliesBefore);
    return outcome;
  }

  curl_slist* commands = nullptr;
  if (r.askSize) commands = curl_slist_append(commands, ("*SIZE " + r.path).c_str());
  for (const std::string& command : r.commands) commands = curl_slist_append(commands, command.c_str());
  SetOptions(r, RequestUrl(address_, r.path), commands);

  request_ = &r;
  if (curl_multi_add_handle(multi_, easy_) == CURLM_OK) {
    const auto stallLimit = std::chrono::milliseconds(limits_.stallTimeoutMs);
    lastMovement_ = Clock::now();
    bool done = false;
    while (!done) {
      if (AbortRequested()) {
        outcome.cut = Cut::Abort;
        break;
      }
      if (r.watchStall && Clock::now() - lastMovement_ >= stallLimit) {
        outcome.cut = Cut::Stall;
        break;
      }
      int running = 0;
      if (curl_multi_perform(multi_, &running) != CURLM_OK) break;
      int left = 0;
      while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) {
          outcome.code = message->data.result;
          done = true;
        }
      }
      if (!done && running == 0) break;
      if (!done) curl_multi_poll(multi_, nullptr, 0, kPollMs, nullptr);
    }
    // Removing a request that has not finished ends it and drops its connection.
    curl_multi_remove_handle(multi_, easy_);
  }
  request_ = nullptr;
  curl_slist_free_all(commands);
  lastError_ = Describe(outcome, repliesBefore);
  return outcome;
}

std::string Session::Describe(const Outcome& outcome, int repliesBefore) const {
  if (outcome.ok()) return {};
  if (outcome.cut == Cut::Abort) return "aborted";
  if (outcome.cut == Cut::Stall) return "transfer stalled";
  if (!refusedPeer_.empty()) return "data connection from " + refusedPeer_ + " refused";
  if (replies_.Count() > repliesBefore && replies_.LastCode() >= 400) {
    std::string reply = replies_.LastReply();
    while (!reply.empty() && (reply.back() == '\n' || reply.back() == '\r')) reply.pop_back();
    return "refused: " + PrintableText(reply);
  }
  switch (outcome.code) {
    case CURLE_COULDNT_CONNECT: {
      if (reloginRefused_) return "connection closed";
      long osError = 0;
      curl_easy_getinfo(easy_, CURLINFO_OS_ERRNO, &osError);
      if (osError == 0) return "could not connect";
      std::string text = std::error_code(static_cast<int>(osError), std::generic_category()).message();
      if (!text.empty()) text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
      return text;
    }
    case CURLE_OPERATION_TIMEDOUT:
      return "timed out";
    case CURLE_COULDNT_RESOLVE_HOST:
      return "unknown host";
    case CURLE_FTP_ACCEPT_FAILED:
    case CURLE_FTP_ACCEPT_TIMEOUT:
      return "no data connection from the unit";
    case CURLE_WRITE_ERROR:
      return "read limit reached";
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
      return "connection dropped";
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_FTP_WEIRD_PASS_REPLY:
    case CURLE_FTP_WEIRD_PASV_REPLY:
    case CURLE_FTP_WEIRD_227_FORMAT:
    case CURLE_FTP_COULDNT_SET_TYPE:
    case CURLE_FTP_COULDNT_RETR_FILE:
    case CURLE_QUOTE_ERROR:
      return "the unit's reply was not understood";
    case CURLE_LOGIN_DENIED:
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_REMOTE_FILE_NOT_FOUND:
      return "refused by the unit";
    case CURLE_FTP_PORT_FAILED:
      return "no data connection could be offered";
    case CURLE_OUT_OF_MEMORY:
      return "out of memory";
    default:
      // libcurl's own texts speak of its internals; the code is kept for a bug report.
      return "the exchange with the unit failed (code " + std::to_string(static_cast<int>(outcome.code)) + ")";
  }
}

// The '*' keeps libcurl from closing the connection over a refusal, which is a result like
// any other here.
bool Session::Command(const std::string& command) {
  if (HasLineBreak(command)) return Fail("not one command: \"" + command + "\"");
  Request r;
  r.noBody = true;
  r.commands = {"*" + command};
  const int repliesBefore = replies_.Count();
  if (!Run(r).ok()) return false;
  if (replies_.Count() > repliesBefore && replies_.LastCode() < 400) return true;
  Outcome refused;
  refused.code = CURLE_QUOTE_ERROR;
  lastError_ = Describe(refused, repliesBefore);
  return false;
}

bool Session::List(const std::string& pattern, std::vector<std::string>& names) {
  names.clear();
  if (HasLineBreak(pattern)) return Fail("not one pattern: \"" + pattern + "\"");
  const size_t slash = pattern.find_last_of('/');
  const std::string directory = slash == std::string::npos ? "" : pattern.substr(0, slash + 1);
  const std::string given = slash == std::string::npos ? pattern : pattern.substr(slash + 1);
  const std::string namePattern = given.empty() ? std::string(1, '*') : given;
  std::string listing;
  Request r;
  r.path = directory;
  r.listNames = true;
  r.watchStall = true;
  r.into = &listing;
  r.cap = limits_.maxReadBytes;
  if (!Run(r).ok()) return false;
  names = MatchingNames(listing, namePattern);
  return !names.empty() || Fail("no file matches \"" + pattern + "\"");
}

}  // namespace tavrix::ftp
