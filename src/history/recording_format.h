#pragma once
// The recording file: every capture a unit delivered, with its arrival time, in the order
// it arrived. One file holds one unit's captures of one day (UTC).
//
// All numbers are little-endian.
//
//   file header
//     0   8  "TAVRXREC"
//     8   2  format version, 1
//     10  2  N, the length of the unit's name (at most kMaxNameBytes)
//     12  2  M, the length of the unit's address (at most kMaxNameBytes)
//     14  N  the unit's name, UTF-8
//     14+N M the unit's address[:port], as the viewer was given it
//     ..  4  CRC-32 of every byte of the header before it
//   records, one a capture, back to back
//     0   4  "TVR1"
//     4   8  arrival time, milliseconds since 1970-01-01 00:00 UTC
//     12  4  P, the length of the payload (at most kMaxPayloadBytes)
//     16  4  CRC-32 of bytes 0..15
//     20  P  the block exactly as read, as one zstd frame that states its content size and
//            carries its own checksum
//
// A file is only ever appended to, so a reader may read it while a writer adds records.
// A crash mid-record leaves a torn last record: a reader ignores it, and a writer that
// opens the file again cuts it off before it appends. A damaged record inside the file
// (a bad header checksum or an impossible length) is skipped by looking for the next
// record's mark whose header checks out.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavrix::history {

inline constexpr std::string_view kFileMagic = "TAVRXREC";
inline constexpr std::string_view kRecordMark = "TVR1";
inline constexpr uint16_t kFormatVersion = 1;
inline constexpr size_t kRecordHeaderBytes = 20;
inline constexpr size_t kMaxNameBytes = 4096;
// The link never reads more than 1 MiB; a zstd frame of that is a few bytes longer.
inline constexpr size_t kMaxBlockBytes = 1 << 20;
inline constexpr size_t kMaxPayloadBytes = kMaxBlockBytes + 4096;
// The file names of recordings end so.
inline constexpr std::string_view kRecordingSuffix = ".tavrec";

struct RecordingHeader {
  std::string UnitName;
  std::string UnitAddress;
};

struct RecordHeader {
  int64_t TimeMs = 0;
  uint32_t PayloadBytes = 0;
};

uint32_t Crc32(std::string_view bytes, uint32_t crc = 0);

std::string EncodeFileHeader(const RecordingHeader& header);
// The header at the start of `bytes`: its length, or 0 when `bytes` holds no whole valid
// header yet, or -1 when it is not a recording's header at all.
long DecodeFileHeader(std::string_view bytes, RecordingHeader& header);

std::string EncodeRecordHeader(const RecordHeader& header);
// True when `bytes` (at least kRecordHeaderBytes) start with a record header that checks out.
bool DecodeRecordHeader(std::string_view bytes, RecordHeader& header);

// The block as a record's payload, and back. Decoding checks the frame's checksum and its
// stated size; it fails (false) on any damage.
std::string CompressBlock(std::string_view block);
bool DecompressBlock(std::string_view payload, std::string& block);

}  // namespace tavrix::history
