#include "history/recording_format.h"

#include <zstd.h>

#include <array>
#include <memory>

namespace tavrix::history {

namespace {

// The level that keeps compressing a block far below the poll interval's cost; higher
// levels win a percent or two on noise-like samples and cost many times more.
constexpr int kCompressionLevel = 3;

void PutLittle(std::string& out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

uint64_t GetLittle(std::string_view in, size_t at, int bytes) {
  uint64_t value = 0;
  for (int i = bytes - 1; i >= 0; --i) value = (value << 8) | static_cast<unsigned char>(in[at + i]);
  return value;
}

constexpr std::array<uint32_t, 256> MakeCrcTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t n = 0; n < 256; ++n) {
    uint32_t c = n;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[n] = c;
  }
  return table;
}
constexpr std::array<uint32_t, 256> kCrcTable = MakeCrcTable();

struct CompressContext {
  std::unique_ptr<ZSTD_CCtx, size_t (*)(ZSTD_CCtx*)> context{ZSTD_createCCtx(), ZSTD_freeCCtx};
  CompressContext() {
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_compressionLevel, kCompressionLevel);
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_checksumFlag, 1);
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_contentSizeFlag, 1);
  }
};

}  // namespace

uint32_t Crc32(std::string_view bytes, uint32_t crc) {
  crc = ~crc;
  for (const char c : bytes) crc = kCrcTable[(crc ^ static_cast<unsigned char>(c)) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

std::string EncodeFileHeader(const RecordingHeader& header) {
  const std::string_view name = std::string_view(header.UnitName).substr(0, kMaxNameBytes);
  const std::string_view address = std::string_view(header.UnitAddress).substr(0, kMaxNameBytes);
  std::string out(kFileMagic);
  PutLittle(out, kFormatVersion, 2);
  PutLittle(out, name.size(), 2);
  PutLittle(out, address.size(), 2);
  out += name;
  out += address;
  PutLittle(out, Crc32(out), 4);
  return out;
}

long DecodeFileHeader(std::string_view bytes, RecordingHeader& header) {
  constexpr size_t kFixed = 14;
  if (bytes.size() < kFileMagic.size()) return kFileMagic.starts_with(bytes) ? 0 : -1;
  if (!bytes.starts_with(kFileMagic)) return -1;
  if (bytes.size() < kFixed) return 0;
  if (GetLittle(bytes, 8, 2) != kFormatVersion) return -1;
  const size_t nameBytes = GetLittle(bytes, 10, 2);
  const size_t addressBytes = GetLittle(bytes, 12, 2);
  if (nameBytes > kMaxNameBytes || addressBytes > kMaxNameBytes) return -1;
  const size_t length = kFixed + nameBytes + addressBytes + 4;
  if (bytes.size() < length) return 0;
  if (GetLittle(bytes, length - 4, 4) != Crc32(bytes.substr(0, length - 4))) return -1;
  header.UnitName = std::string(bytes.substr(kFixed, nameBytes));
  header.UnitAddress = std::string(bytes.substr(kFixed + nameBytes, addressBytes));
  return static_cast<long>(length);
}

std::string EncodeRecordHeader(const RecordHeader& header) {
  std::string out(kRecordMark);
  PutLittle(out, static_cast<uint64_t>(header.TimeMs), 8);
  PutLittle(out, header.PayloadBytes, 4);
  PutLittle(out, Crc32(out), 4);
  return out;
}

bool DecodeRecordHeader(std::string_view bytes, RecordHeader& header) {
  if (bytes.size() < kRecordHeaderBytes || !bytes.starts_with(kRecordMark)) return false;
  if (GetLittle(bytes, 16, 4) != Crc32(bytes.substr(0, 16))) return false;
  const uint64_t payload = GetLittle(bytes, 12, 4);
  if (payload == 0 || payload > kMaxPayloadBytes) return false;
  header.TimeMs = static_cast<int64_t>(GetLittle(bytes, 4, 8));
  header.PayloadBytes = static_cast<uint32_t>(payload);
  return true;
}

std::string CompressBlock(std::string_view block) {
  thread_local CompressContext compressor;
  std::string payload(ZSTD_compressBound(block.size()), '\0');
  const size_t written =
      ZSTD_compress2(compressor.context.get(), payload.data(), payload.size(), block.data(), block.size());
  if (ZSTD_isError(written)) return {};
  payload.resize(written);
  return payload;
}

bool DecompressBlock(std::string_view payload, std::string& block) {
  thread_local std::unique_ptr<ZSTD_DCtx, size_t (*)(ZSTD_DCtx*)> decompressor{ZSTD_createDCtx(),
                                                                                  ZSTD_freeDCtx};
  const unsigned long long size = ZSTD_getFrameContentSize(payload.data(), payload.size());
  if (size == ZSTD_CONTENTSIZE_UNKNOWN || size == ZSTD_CONTENTSIZE_ERROR || size > kMaxBlockBytes) return false;
  if (ZSTD_findFrameCompressedSize(payload.data(), payload.size()) != payload.size()) return false;
  block.resize(size);
  const size_t read =
      ZSTD_decompressDCtx(decompressor.get(), block.data(), block.size(), payload.data(), payload.size());
  if (ZSTD_isError(read) || read != size) {
    block.clear();
    return false;
  }
  return true;
}

}  // namespace tavrix::history
