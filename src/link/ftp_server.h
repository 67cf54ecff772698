#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/notices.h"

namespace tavrix {

// Bounds on every network wait of one client (a unit that does not answer is reported
// within seconds, never hangs) and on what one read may hold.
struct FtpLimits {
  long connectTimeoutMs = 3000;   // TCP connect and login
  long transferTimeoutMs = 5000;  // one whole operation on a connected client
  long stallTimeoutMs = 3000;     // no bytes moving for this long ends a transfer
  size_t maxReadBytes = 1 << 20;  // ReadFromFile never holds more, whatever the server sends
  long releasePauseMs = 200;      // the pause after releasing a client
  // When set, a connect or transfer in progress ends as soon as it reads true (the
  // operator's Ctrl+S). Owned by whoever owns the client, and outlives it.
  const std::atomic<bool>* abort = nullptr;
};

// A client for the demodulator's FTP service: one object per connection, anonymous
// login, active mode (the unit connects back for data), binary transfers. Every call
// blocks until done or until its time-out, so the object lives on the link thread.
// Failures are results (a false flag, a zero handle or count); the only messages it
// shows itself go through `notices`.
// A client of the unit's FTP server; the class keeps the name the system has always used.
// The directory, find, delete, download and upload operations, CloseFile and
// ShowLastResponseInfo complete the unit's service; the viewer itself does not call them.
class FTP_Server {
 public:
  explicit FTP_Server(Notices* notices, FtpLimits limits = {});
  ~FTP_Server();  // release: closes file, find, connection and session, then pauses
  FTP_Server(const FTP_Server&) = delete;
  FTP_Server& operator=(const FTP_Server&) = delete;

  // Write-only properties. The three marked take a trailing zero character on
  // assignment unless the text already ends with one (it is not sent to the server).
  void SetDeleteFileName(const std::string& name);       // zero appended
  void SetDirectoryName(const std::string& name);
  void SetDownloadFileName(const std::string& name);     // zero appended
  void SetFailIfExists(bool failIfExists);
  void SetFindFileName(const std::string& pattern);
  void SetNewDownLoadFileName(const std::string& localPath);
  void SetNewUpLoadFileName(const std::string& name);    // zero appended
  void SetPassWord(const std::string& password);
  void SetReadFileName(const std::string& name);
  void SetUpLoadFileName(const std::string& localPath);
  void SetUserName(const std::string& user);
  void SetWriteFileName(const std::string& name);
  void SetWriteBuffer(const std::string& bytes);
  // Host name or dotted address, optionally followed by ":PORT" (1..65535; 21 otherwise).
  void SetServerName(const std::string& server);

  bool DeleteFile();
  bool DownLoadFile();
  // Lists the names matching FindFileName; returns a non-zero find handle when there
  // is a first name, 0 otherwise.
  uint32_t FindFirstFile();
  // Moves to the next name; false at the end, after the notice "No More Files!".
  bool FindNextFile();
  std::string FoundFileName() const;
  std::string GetCurrentDirectory();
  // Size of the file opened for reading as the server reported it; -1 when unknown.
  int32_t GetFileSize();
  bool IsConnected() const;
  // Opening for read retrieves the file (bounded in time and size); what arrived is
  // handed over by ReadFromFile. False when the server did not let it be read.
  bool OpenForRead();
  // Opening for write needs a connected client; the server answers the transfer when
  // the bytes are written, so a refused write shows as WriteToFile returning 0.
  bool OpenForWrite();
  // Closes the open file; true only when no file was open.
  bool CloseFile();
  const std::string& ReadBuffer() const { return readBuffer_; }
  // Appends the open file's bytes to ReadBuffer, reading in chunks of `size` + 1, and
  // closes the file. Returns the number of bytes appended.
  int32_t ReadFromFile(int32_t& size);
  bool SetCurrentDirectory();
  bool UploadFile();
  // Sends WriteBuffer to the file opened for writing and closes it; bytes written.
  int32_t WriteToFile();
  // Logs in to ServerName (anonymous when user and password are empty); the control
  // connection stays open for the following operations.
  void ConnectToServer();
  // Shows the server's last response in a box titled "FPT" (" Error n" added for an
  // error reply), or "Last response information could not be read!".
  void ShowLastResponseInfo();
  bool ConnectedToInternet() const;

  // What went wrong with the last operation, in a few words for a log or a
  // command-line message ("connection refused", "timed out"); empty after a success.
  const std::string& LastErrorText() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
  Notices* notices_;
  FtpLimits limits_;

  std::string deleteFileName_, directoryName_, downloadFileName_, findFileName_, newDownLoadFileName_,
      newUpLoadFileName_, passWord_, readFileName_, upLoadFileName_, userName_, writeFileName_, writeBuffer_,
      serverName_;
  bool failIfExists_ = false;
  std::string readBuffer_;
};

}  // namespace tavrix
