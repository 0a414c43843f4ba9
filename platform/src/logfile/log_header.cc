// The log-file header: building, checking and reading it, and ReadHeader.
#include "platform/src/logfile/log_format.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
// The checksum code is compiled here, inline, with this file's flags: the sanitizer and
// fuzzing builds instrument it like the reader that calls it.
#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cerrno>

namespace zelk::core::logfile {
namespace {

uint32_t headerChecksum(const unsigned char *bytes)
{
    // The writer count changes in place while the file lives; it stays outside the sum.
    XXH64_hash_t head = XXH3_64bits(bytes, kOffWriters);
    return uint32_t(XXH3_64bits_withSeed(bytes + kOffTextLength, kOffChecksum - kOffTextLength, head));
}

// Every open writer holds a shared presence lock on the header's first byte.  False only
// when the system says for sure that no one holds it.
bool writerPresent(int fd)
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    return fcntl(fd, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

}  // namespace

uint32_t frameChecksum(const unsigned char *text, size_t length)
{
    // Seeded with the length, so a damaged length field fails the check as well.
    return uint32_t(XXH3_64bits_withSeed(text, length, XXH64_hash_t(length)));
}

void encodeFrame(unsigned char *out, const char *text, size_t length)
{
    out[0] = kFrameMark0;
    out[1] = kFrameMark1;
    store16(out + 2, uint16_t(length));
    std::memcpy(out + kFrameHeader, text, length);
    store32(out + 4, frameChecksum(out + kFrameHeader, length));
}

void encodeHeader(unsigned char (&out)[kHeaderSize], uint64_t format, const char *text, size_t textLength,
                  uint32_t writers)
{
    std::memset(out, 0, sizeof out);
    std::memcpy(out + kOffMagic, kMagic, sizeof kMagic);
    store32(out + kOffHeaderSize, uint32_t(kHeaderSize));
    store32(out + kOffFormat, uint32_t(format));
    store32(out + kOffWriters, writers);
    store32(out + kOffTextLength, uint32_t(textLength));
    if (textLength > 0)
        std::memcpy(out + kOffText, text, textLength);
    store32(out + kOffChecksum, headerChecksum(out));
}

bool decodeHeader(const unsigned char *bytes, size_t size, ZelkLogFileHeader *header, uint32_t *writers)
{
    if (size < kHeaderSize || std::memcmp(bytes + kOffMagic, kMagic, sizeof kMagic) != 0)
        return false;
    if (load32(bytes + kOffHeaderSize) != kHeaderSize ||
        load32(bytes + kOffChecksum) != headerChecksum(bytes))
        return false;
    uint32_t format = load32(bytes + kOffFormat);
    uint32_t textLength = load32(bytes + kOffTextLength);
    if (!validFormat(format) || textLength > ZELKLOG_MAX_HEADER_TEXT)
        return false;
    if (header != nullptr) {
        header->format = format;
        header->flags = load32(bytes + kOffWriters) != 0 ? ZELKLOG_HEADER_WRITER_ACTIVE : 0;
        std::memcpy(header->text, bytes + kOffText, textLength);
        header->text[textLength] = '\0';
    }
    if (writers != nullptr)
        *writers = load32(bytes + kOffWriters);
    return true;
}

uint32_t readHeaderFromFd(int fd, ZelkLogFileHeader *header)
{
    unsigned char bytes[kHeaderSize];
    size_t got = 0;
    while (got < kHeaderSize) {
        ssize_t n = pread(fd, bytes + got, kHeaderSize - got, off_t(got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return ZELKLOG_RC_FAILURE;
        if (n == 0)
            break;
        got += size_t(n);
    }
    if (!decodeHeader(bytes, got, header, nullptr))
        return ZELKLOG_RC_NOT_A_LOG_FILE;
    if ((header->flags & ZELKLOG_HEADER_WRITER_ACTIVE) != 0 && !writerPresent(fd))
        header->flags &= ~ZELKLOG_HEADER_WRITER_ACTIVE;  // left behind by a writer that died
    return (header->flags & ZELKLOG_HEADER_WRITER_ACTIVE) != 0 ? ZELKLOG_RC_HEADER_NOTICE : ZELKLOG_RC_OK;
}

}  // namespace zelk::core::logfile

extern "C" {

// Reads the header of the entry's open file without moving its read position.  The
// header is cleared first, so a caller that copies its text copies an empty text when
// nothing could be read.  The entry's core words remember which file this is (device and
// inode number), for zelkLogIsSameLogFile.
ZELKLOG_API uint32_t ReadHeader(LogFileEntry *entry, ZelkLogFileHeader *header)
{
    if (header != nullptr)
        std::memset(header, 0, sizeof *header);
    if (entry == nullptr || header == nullptr || entry->file.fd < 0)
        return ZELKLOG_RC_BAD_ARGUMENT;
    struct stat info;
    if (fstat(entry->file.fd, &info) == 0) {
        entry->coreWord1 = uint64_t(info.st_dev);
        entry->coreWord2 = uint64_t(info.st_ino);
    }
    uint32_t rc = zelk::core::logfile::readHeaderFromFd(entry->file.fd, header);
    if (rc != ZELKLOG_RC_OK && rc != ZELKLOG_RC_HEADER_NOTICE)
        std::memset(header, 0, sizeof *header);
    return rc;
}

// 1 when the entry's open file is the one whose identity the entry keeps (or none is
// kept), 0 when its name has come to name another file since, for example one renamed
// over it.
ZELKLOG_API int zelkLogIsSameLogFile(const LogFileEntry *entry)
{
    if (entry == nullptr || entry->file.fd < 0 || entry->coreWord2 == 0)
        return 1;
    struct stat info;
    if (fstat(entry->file.fd, &info) != 0)
        return 1;
    return uint64_t(info.st_dev) == entry->coreWord1 && uint64_t(info.st_ino) == entry->coreWord2 ? 1 : 0;
}

}  // extern "C"
