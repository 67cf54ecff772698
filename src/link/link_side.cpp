#include "link/link_side.h"

#include "dsp/capture_block.h"

namespace tavrix {
namespace {
constexpr const char* kCaptureRequestFile = "capt_spec:";
constexpr const char* kSpectrumFile = "spectrum:";
}  // namespace

bool LinkSide::EnsureClient() {
  if (!client_) client_ = std::make_unique<FTP_Server>(notices_, limits_);
  return client_->ConnectedToInternet();
}

bool LinkSide::Connect(const std::string& address) {
  EnsureClient();
  client_->SetServerName(address);
  client_->SetUserName("");
  client_->SetPassWord("");
  client_->ConnectToServer();
  const bool connected = client_->IsConnected();
  lastError_ = connected ? std::string() : client_->LastErrorText();
  return connected;
}

void LinkSide::Release() { client_.reset(); }

bool LinkSide::Request() {
  EnsureClient();
  client_->SetWriteFileName(kCaptureRequestFile);
  bool written = false;
  if (client_->OpenForWrite()) {
    client_->SetWriteBuffer(std::string(1, '\x01'));
    // The unit answers the request when the byte arrives; a refused write is no request.
    written = client_->WriteToFile() == 1;
  }
  lastError_ = written ? std::string() : client_->LastErrorText();
  Release();
  return written;
}

FetchOutcome LinkSide::Fetch() {
  FetchOutcome outcome;
  EnsureClient();
  client_->SetReadFileName(kSpectrumFile);
  outcome.opened = client_->OpenForRead();
  lastError_ = outcome.opened ? std::string() : client_->LastErrorText();
  if (outcome.opened) {
    const int32_t size = client_->GetFileSize();
    outcome.reportedSize = size;
    outcome.requestedSize = size == -1 ? kNominalBlockLength : size;
    int32_t requested = outcome.requestedSize;
    const int32_t before = static_cast<int32_t>(client_->ReadBuffer().size());
    const int32_t n = client_->ReadFromFile(requested);
    outcome.block = client_->ReadBuffer().substr(static_cast<size_t>(before), static_cast<size_t>(n));
    outcome.cutShort = client_->LastErrorText();
  }
  return outcome;
}

std::string Shortfall(const FetchOutcome& outcome) {
  const std::string got = std::to_string(outcome.block.size());
  if (!outcome.cutShort.empty()) return got + " bytes, " + outcome.cutShort;
  if (outcome.reportedSize >= 0 && outcome.block.size() < static_cast<size_t>(outcome.reportedSize))
    return got + " of " + std::to_string(outcome.reportedSize) + " bytes";
  return {};
}

bool LinkSide::IsConnected() {
  EnsureClient();
  return client_->IsConnected();
}

}  // namespace tavrix
