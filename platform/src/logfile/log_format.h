// Byte layout of a log file: the header and the record frames (docs/log-format.md).
// Shared by the writer, the reader and the file-list builder of the logging core.
#ifndef PLATFORM_SRC_LOGFILE_LOG_FORMAT_H_
#define PLATFORM_SRC_LOGFILE_LOG_FORMAT_H_

#include "src/core/zelkLogCore.h"
#include "zelkLogWriter.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zelk::core::logfile {

// Header: fixed size, little-endian numbers.
inline constexpr char kMagic[8] = {'Z', 'E', 'L', 'K', 'L', 'O', 'G', '\x1a'};
inline constexpr size_t kHeaderSize = 544;
inline constexpr size_t kOffMagic = 0;
inline constexpr size_t kOffHeaderSize = 8;
inline constexpr size_t kOffFormat = 12;
inline constexpr size_t kOffWriters = 16;  // open writers; not covered by the checksum
inline constexpr size_t kOffTextLength = 20;
inline constexpr size_t kOffText = 24;
inline constexpr size_t kTextField = 512;
inline constexpr size_t kOffChecksum = kOffText + kTextField;  // 536
// bytes 540..543 reserved, zero

// Record frame: marker, length, checksum, then the text.  0xF5 never occurs in UTF-8,
// so a marker byte cannot hide inside a record's text.
inline constexpr unsigned char kFrameMark0 = 0xF5;
inline constexpr unsigned char kFrameMark1 = 'R';
inline constexpr size_t kFrameHeader = 8;
inline constexpr size_t kMaxText = ZELKLOG_MAX_RECORD_TEXT;
inline constexpr size_t kMaxFrame = kFrameHeader + kMaxText;

inline uint32_t load32(const unsigned char *p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
inline uint16_t load16(const unsigned char *p)
{
    return uint16_t(p[0] | p[1] << 8);
}
inline void store32(unsigned char *p, uint32_t v)
{
    p[0] = uint8_t(v);
    p[1] = uint8_t(v >> 8);
    p[2] = uint8_t(v >> 16);
    p[3] = uint8_t(v >> 24);
}
inline void store16(unsigned char *p, uint16_t v)
{
    p[0] = uint8_t(v);
    p[1] = uint8_t(v >> 8);
}

inline bool validFormat(uint64_t format)
{
    return format >= ZELKLOG_FORMAT_10004 && format <= ZELKLOG_FORMAT_10008;
}

// Checksum of a frame's text of `length` bytes (the length is part of the sum).
uint32_t frameChecksum(const unsigned char *text, size_t length);

// Fills the header of a new file.
void encodeHeader(unsigned char (&out)[kHeaderSize], uint64_t format, const char *text, size_t textLength,
                  uint32_t writers);

// Checks a header read from a file and extracts it; false when it is not a valid header.
bool decodeHeader(const unsigned char *bytes, size_t size, ZelkLogFileHeader *header, uint32_t *writers);

// Reads and checks the header of the open descriptor (positioned reads, the descriptor's
// offset does not move).  0, 48 (a writer holds the file), 1 (read error) or
// ZELKLOG_RC_NOT_A_LOG_FILE.
uint32_t readHeaderFromFd(int fd, ZelkLogFileHeader *header);

// Builds a frame for `length` bytes of text into `out` (kFrameHeader + length bytes).
void encodeFrame(unsigned char *out, const char *text, size_t length);

}  // namespace zelk::core::logfile

#endif  // PLATFORM_SRC_LOGFILE_LOG_FORMAT_H_
