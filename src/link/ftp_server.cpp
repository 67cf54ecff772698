#include "link/ftp_server.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <thread>

#include "link/ftp_session.h"
#include "link/ftp_text.h"

namespace tavrix {

namespace {

using ftp::Outcome;
using ftp::Request;

constexpr size_t kFindNameLength = 259;  // the longest name a find record holds

std::string WithTrailingZero(const std::string& name) {
  if (!name.empty() && name.back() == '\0') return name;
  return name + '\0';
}

int32_t ClampToInt32(size_t n) { return static_cast<int32_t>(std::min<size_t>(n, INT32_MAX)); }

enum class FileMode { Read, Write };

}  // namespace

struct FTP_Server::Impl {
  explicit Impl(const FtpLimits& limits) : session(limits) {}

  ftp::Session session;
  uint32_t lastHandle = 0;

  // Handle values are non-zero once set and keep their value when closed: only a new open
  // (or connect, or find) replaces them.
  uint32_t connection = 0;
  uint32_t file = 0;
  uint32_t find = 0;

  bool fileOpen = false;
  FileMode fileMode = FileMode::Read;
  std::string pending;           // what the file open for reading holds
  curl_off_t reportedSize = -1;  // its size as the server gave it
  std::string writeName;         // the file open for writing

  std::vector<std::string> foundNames;
  size_t foundIndex = 0;
  std::string findRecord;

  uint32_t NewHandle() {
    if (++lastHandle == 0) ++lastHandle;
    return lastHandle;
  }

  void CloseFile() {
    fileOpen = false;
    pending.clear();
    pending.shrink_to_fit();
    reportedSize = -1;
    writeName.clear();
  }

  void CloseFind() {
    foundNames.clear();
    foundIndex = 0;
  }

  bool Connected() { return connection != 0 || session.Fail("not connected"); }

  // A file request needs a connected client and one plain file name.
  bool CanTransfer(const std::string& name) {
    if (!Connected()) return false;
    if (name.empty() || name.back() == '/' || ftp::HasLineBreak(name))
      return session.Fail("not a file name: \"" + name + "\"");
    return true;
  }

  bool Command(const std::string& command) { return Connected() && session.Command(command); }
};

FTP_Server::FTP_Server(Notices* notices, FtpLimits limits)
    : impl_(std::make_unique<Impl>(limits)), notices_(notices), limits_(limits) {
  if (!impl_->session.IsOpen() && notices_ != nullptr)
    notices_->Ask("Could not open Internet Connection", "FTP", MessageButtons::Ok, MessageIcon::Critical);
}

FTP_Server::~FTP_Server() {
  impl_->CloseFile();
  impl_->CloseFind();
  impl_->session.CloseConnection(false);
  impl_.reset();  // the session
  if (limits_.releasePauseMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(limits_.releasePauseMs));
}

void FTP_Server::SetDeleteFileName(const std::string& name) { deleteFileName_ = WithTrailingZero(name); }
void FTP_Server::SetDirectoryName(const std::string& name) { directoryName_ = name; }
void FTP_Server::SetDownloadFileName(const std::string& name) { downloadFileName_ = WithTrailingZero(name); }
void FTP_Server::SetFailIfExists(bool failIfExists) { failIfExists_ = failIfExists; }
void FTP_Server::SetFindFileName(const std::string& pattern) { findFileName_ = pattern; }
void FTP_Server::SetNewDownLoadFileName(const std::string& localPath) { newDownLoadFileName_ = localPath; }
void FTP_Server::SetNewUpLoadFileName(const std::string& name) { newUpLoadFileName_ = WithTrailingZero(name); }
void FTP_Server::SetPassWord(const std::string& password) { passWord_ = password; }
void FTP_Server::SetReadFileName(const std::string& name) { readFileName_ = name; }
void FTP_Server::SetUpLoadFileName(const std::string& localPath) { upLoadFileName_ = localPath; }
void FTP_Server::SetUserName(const std::string& user) { userName_ = user; }
void FTP_Server::SetWriteFileName(const std::string& name) { writeFileName_ = name; }
void FTP_Server::SetWriteBuffer(const std::string& bytes) { writeBuffer_ = bytes; }
void FTP_Server::SetServerName(const std::string& server) { serverName_ = server; }

bool FTP_Server::DeleteFile() { return impl_->Command("DELE " + ftp::ServerSideName(deleteFileName_)); }

bool FTP_Server::DownLoadFile() {
  const std::string name = ftp::ServerSideName(downloadFileName_);
  if (!impl_->CanTransfer(name)) return false;
  std::error_code error;
  if (failIfExists_ && std::filesystem::exists(newDownLoadFileName_, error))
    return impl_->session.Fail("the file exists: " + newDownLoadFileName_);
  std::FILE* local = newDownLoadFileName_.empty() ? nullptr : std::fopen(newDownLoadFileName_.c_str(), "wb");
  if (local == nullptr) return impl_->session.Fail("cannot write " + newDownLoadFileName_);
  Request r;
  r.path = name;
  r.toFile = local;
  r.watchStall = true;
  const bool received = impl_->session.Run(r).ok();
  const bool written = std::fclose(local) == 0;
  if (received && !written) impl_->session.Fail("cannot write " + newDownLoadFileName_);
  if (!(received && written)) std::remove(newDownLoadFileName_.c_str());  // no partial file stays
  return received && written;
}

uint32_t FTP_Server::FindFirstFile() {
  const std::string pattern = ftp::ServerSideName(findFileName_);
  std::vector<std::string> names;
  bool found = impl_->Connected() && impl_->session.List(pattern, names);
  if (!found) {
    const std::string why = impl_->session.LastError();
    // A listing that failed or matched nothing is handled like one the connection was still
    // busy with: the connection is closed and the listing asked for once more, on the closed
    // connection, where it fails. The client then needs a new login.
    impl_->session.CloseConnection(true);
    found = impl_->Connected() && impl_->session.List(pattern, names);
    if (!found) impl_->session.Fail(why);
  }
  impl_->CloseFind();
  impl_->find = found ? impl_->NewHandle() : 0;
  impl_->foundNames = found ? names : std::vector<std::string>{};
  impl_->findRecord = found ? names.front().substr(0, kFindNameLength) : std::string();
  return impl_->find;
}

bool FTP_Server::FindNextFile() {
  if (impl_->find == 0) return impl_->session.Fail("no find open");
  if (impl_->foundIndex + 1 < impl_->foundNames.size()) {
    impl_->findRecord = impl_->foundNames[++impl_->foundIndex].substr(0, kFindNameLength);
    impl_->session.ClearError();
    return true;
  }
  impl_->session.Fail("no more files");
  if (notices_ != nullptr) notices_->Ask("No More Files!", "FTP", MessageButtons::Ok, MessageIcon::Information);
  return false;
}

std::string FTP_Server::FoundFileName() const { return ftp::ServerSideName(impl_->findRecord); }

std::string FTP_Server::GetCurrentDirectory() {
  if (!impl_->Command("PWD")) return {};
  const std::optional<std::string> directory = ftp::QuotedDirectory(impl_->session.Replies().LastReply());
  if (!directory) impl_->session.Fail("no directory in the reply");
  return directory.value_or(std::string());
}

int32_t FTP_Server::GetFileSize() {
  if (!impl_->fileOpen || impl_->fileMode != FileMode::Read || impl_->reportedSize < 0) return -1;
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(impl_->reportedSize) & 0xFFFFFFFFu));
}

bool FTP_Server::IsConnected() const { return impl_->connection != 0; }

bool FTP_Server::OpenForRead() {
  impl_->CloseFile();
  impl_->file = 0;
  const std::string name = ftp::ServerSideName(readFileName_);
  if (!impl_->CanTransfer(name)) return false;
  Request r;
  r.path = name;
  r.into = &impl_->pending;
  r.cap = std::min<size_t>(limits_.maxReadBytes, INT32_MAX);
  r.watchStall = true;
  r.askSize = true;
  const Outcome outcome = impl_->session.Run(r);
  // A transfer cut short still opened the file once bytes had come: they are what it holds.
  if (!outcome.ok() && impl_->pending.empty()) return false;
  impl_->file = impl_->NewHandle();
  impl_->fileOpen = true;
  impl_->fileMode = FileMode::Read;
  impl_->reportedSize = impl_->session.SizeReplied();
  return true;
}

bool FTP_Server::OpenForWrite() {
  impl_->CloseFile();
  impl_->file = 0;
  if (!impl_->Connected()) return false;
  impl_->session.ClearError();
  impl_->file = impl_->NewHandle();
  impl_->fileOpen = true;
  impl_->fileMode = FileMode::Write;
  impl_->writeName = ftp::ServerSideName(writeFileName_);
  return true;
}

bool FTP_Server::CloseFile() {
  const bool noHandle = impl_->file == 0;
  impl_->CloseFile();
  return noHandle;
}

int32_t FTP_Server::ReadFromFile(int32_t& size) {
  int32_t total = 0;
  const int64_t chunk = static_cast<int64_t>(size) + 1;
  // A read of chunk bytes at a time until nothing is left hands over everything the file
  // holds; a zero-length chunk reads nothing.
  if (!impl_->fileOpen || impl_->fileMode != FileMode::Read) {
    impl_->session.Fail("no file open for reading");
  } else if (chunk > 0) {
    total = ClampToInt32(impl_->pending.size());
    readBuffer_.append(impl_->pending, 0, static_cast<size_t>(total));
  }
  impl_->CloseFile();
  return total;
}

bool FTP_Server::SetCurrentDirectory() { return impl_->Command("CWD " + ftp::ServerSideName(directoryName_)); }

bool FTP_Server::UploadFile() {
  const std::string name = ftp::ServerSideName(newUpLoadFileName_);
  if (!impl_->CanTransfer(name)) return false;
  std::error_code error;
  const auto size = std::filesystem::file_size(upLoadFileName_, error);
  std::FILE* local = error ? nullptr : std::fopen(upLoadFileName_.c_str(), "rb");
  if (local == nullptr) return impl_->session.Fail("cannot read " + upLoadFileName_);
  Request r;
  r.path = name;
  r.upload = true;
  r.fromFile = local;
  r.uploadSize = static_cast<curl_off_t>(size);
  r.watchStall = true;
  const bool sent = impl_->session.Run(r).ok();
  std::fclose(local);
  return sent;
}

int32_t FTP_Server::WriteToFile() {
  Outcome outcome;
  if (!impl_->fileOpen || impl_->fileMode != FileMode::Write) {
    impl_->session.Fail("no file open for writing");
  } else if (impl_->CanTransfer(impl_->writeName)) {
    Request r;
    r.path = impl_->writeName;
    r.upload = true;
    r.from = &writeBuffer_;
    r.uploadSize = static_cast<curl_off_t>(writeBuffer_.size());
    r.watchStall = true;
    outcome = impl_->session.Run(r);
  }
  impl_->CloseFile();
  return outcome.ok() ? ClampToInt32(writeBuffer_.size()) : 0;
}

void FTP_Server::ConnectToServer() {
  impl_->session.CloseConnection(true);
  impl_->connection = 0;
  if (!impl_->session.IsOpen()) {
    impl_->session.Fail("no Internet session");
    return;
  }
  const std::optional<ServerAddress> address = ParseServerAddress(serverName_);
  if (!address) {
    // The address comes from a settings file that may have been edited by hand.
    impl_->session.Fail("not an address[:port]: \"" + ftp::PrintableText(serverName_) + "\"");
    return;
  }
  impl_->session.SetServer(*address, userName_, passWord_);
  Request r;
  r.noBody = true;
  r.mayConnect = true;
  if (impl_->session.Run(r).ok()) impl_->connection = impl_->NewHandle();
}

void FTP_Server::ShowLastResponseInfo() {
  if (notices_ == nullptr) return;
  const ftp::ReplyLog& replies = impl_->session.Replies();
  if (!replies.AnyReply()) {
    notices_->Ask("Last response information could not be read!", "FTP", MessageButtons::Ok, MessageIcon::Information);
    return;
  }
  std::string title = "FPT";
  if (replies.LastCode() >= 400) title += " Error " + std::to_string(replies.LastCode());
  notices_->Ask(ftp::PrintableText(replies.LastReply(), ftp::kMaxShownChars, true), title, MessageButtons::Ok,
                MessageIcon::Information);
}

bool FTP_Server::ConnectedToInternet() const { return impl_->session.IsOpen(); }

const std::string& FTP_Server::LastErrorText() const { return impl_->session.LastError(); }

}  // namespace tavrix
