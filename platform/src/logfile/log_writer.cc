// The log-file writer: creating a file, opening one for appending, appending whole
// records under an exclusive lock, and the writer-active mark in the header.
//
// The mark is the count of open writers in the header.  Every writer also holds a
// shared open-file-description lock on the header's first byte for as long as it is
// open; a writer that finds it can take that lock exclusively knows it is the only live
// one, so counts left behind by crashed writers are repaired at the next open or close.
#include "platform/src/common/regular_file.h"
#include "platform/src/logfile/log_format.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <new>
#include <string>

struct ZelkLogWriter {
    int fd = -1;
    uint64_t format = 0;
};

namespace zelk::core::logfile {
namespace {

// Holds flock(LOCK_EX) on a descriptor for the lifetime of the object.
class FileLock {
public:
    explicit FileLock(int fd) : fd_(fd)
    {
        int rc;
        do {
            rc = flock(fd_, LOCK_EX);
        } while (rc != 0 && errno == EINTR);
        locked_ = rc == 0;
    }
    ~FileLock()
    {
        if (locked_)
            flock(fd_, LOCK_UN);
    }
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;
    bool locked() const { return locked_; }

private:
    int fd_;
    bool locked_ = false;
};

// Presence lock on byte 0: shared while a writer is open; exclusive succeeds only for
// a writer that is alone.
bool presenceLock(int fd, short type)
{
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    return fcntl(fd, F_OFD_SETLK, &lock) == 0;
}

bool writeAll(int fd, const unsigned char *bytes, size_t size)
{
    while (size > 0) {
        ssize_t n = ::write(fd, bytes, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes += n;
        size -= size_t(n);
    }
    return true;
}

// Writes the writer count in place.  pwrite ignores the offset on an O_APPEND
// descriptor, so append mode is switched off around it (the file lock is held).
bool storeWriterCount(int fd, uint32_t writers)
{
    int flags = fcntl(fd, F_GETFL);
    if (flags < 0 || fcntl(fd, F_SETFL, flags & ~O_APPEND) != 0)
        return false;
    unsigned char bytes[4];
    store32(bytes, writers);
    bool ok = pwrite(fd, bytes, sizeof bytes, off_t(kOffWriters)) == ssize_t(sizeof bytes);
    return fcntl(fd, F_SETFL, flags) == 0 && ok;
}

bool loadWriterCount(int fd, uint32_t *writers)
{
    unsigned char bytes[kHeaderSize];
    if (pread(fd, bytes, sizeof bytes, 0) != ssize_t(sizeof bytes))
        return false;
    return decodeHeader(bytes, sizeof bytes, nullptr, writers);
}

uint32_t newWriter(int fd, uint64_t format, ZelkLogWriter **writer)
{
    auto *created = new (std::nothrow) ZelkLogWriter;
    if (created == nullptr) {
        ::close(fd);
        return ZELKLOG_RC_NO_MEMORY;
    }
    created->fd = fd;
    created->format = format;
    *writer = created;
    return ZELKLOG_RC_OK;
}

}  // namespace
}  // namespace zelk::core::logfile

using namespace zelk::core::logfile;

extern "C" {

ZELKLOG_API uint32_t zelkLogWriterCreate(const char *path, uint64_t format, const char *headerText,
                                         uint32_t mode, ZelkLogWriter **writer)
{
    if (writer != nullptr)
        *writer = nullptr;
    size_t textLength = headerText == nullptr ? 0 : std::strlen(headerText);
    if (path == nullptr || *path == '\0' || writer == nullptr || !validFormat(format) ||
        textLength > ZELKLOG_MAX_HEADER_TEXT)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // The header is written under a temporary name and the file then linked to its
    // own name, which fails when that exists: the name never shows a half-made file.
    static std::atomic<unsigned> sequence{0};
    std::string temporary;
    try {
        std::string full(path);
        size_t slash = full.rfind('/');
        temporary = full.substr(0, slash == std::string::npos ? 0 : slash + 1) + ".zelklog-new-" +
                    std::to_string(getpid()) + "-" + std::to_string(sequence.fetch_add(1));
    } catch (...) {
        return ZELKLOG_RC_NO_MEMORY;
    }
    int fd =
        ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, mode_t(mode & 07777));
    if (fd < 0)
        return ZELKLOG_RC_FAILURE;
    unsigned char header[kHeaderSize];
    encodeHeader(header, format, headerText, textLength, 1);
    bool ok = presenceLock(fd, F_RDLCK) && writeAll(fd, header, sizeof header);
    int linkError = 0;
    if (ok && link(temporary.c_str(), path) != 0) {
        linkError = errno;
        ok = false;
    }
    unlink(temporary.c_str());
    if (!ok) {
        ::close(fd);
        if (linkError == EEXIST)
            return ZELKLOG_RC_LOGFILE_EXISTS;
        errno = linkError != 0 ? linkError : errno;
        return ZELKLOG_RC_FAILURE;
    }
    return newWriter(fd, format, writer);
}

ZELKLOG_API uint32_t zelkLogWriterOpen(const char *path, ZelkLogWriter **writer)
{
    if (writer != nullptr)
        *writer = nullptr;
    if (path == nullptr || writer == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    int fd = zelk::core::openRegularFile(path, O_RDWR | O_APPEND);
    if (fd < 0)
        return ZELKLOG_RC_FAILURE;
    ZelkLogFileHeader header;
    uint32_t writers = 0;
    uint32_t rc = ZELKLOG_RC_OK;
    {
        FileLock lock(fd);
        unsigned char bytes[kHeaderSize];
        ssize_t got = pread(fd, bytes, sizeof bytes, 0);
        if (!lock.locked() || got < 0)
            rc = ZELKLOG_RC_FAILURE;
        else if (!decodeHeader(bytes, size_t(got), &header, &writers))
            rc = ZELKLOG_RC_NOT_A_LOG_FILE;
        else {
            // Alone (exclusive presence succeeds): any count found is stale.
            writers = presenceLock(fd, F_WRLCK) ? 1 : writers + 1;
            if (!presenceLock(fd, F_RDLCK) || !storeWriterCount(fd, writers))
                rc = ZELKLOG_RC_FAILURE;
        }
    }
    if (rc != ZELKLOG_RC_OK) {
        ::close(fd);
        return rc;
    }
    return newWriter(fd, header.format, writer);
}

ZELKLOG_API uint64_t zelkLogWriterFormat(const ZelkLogWriter *writer)
{
    return writer == nullptr ? 0 : writer->format;
}

ZELKLOG_API uint32_t zelkLogWriterAppend(ZelkLogWriter *writer, const char *text, size_t length)
{
    if (writer == nullptr || text == nullptr || length == 0 || std::memchr(text, '\0', length) != nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    if (length > kMaxText)
        return ZELKLOG_RC_RECORD_TOO_LONG;
    unsigned char frame[kMaxFrame];
    encodeFrame(frame, text, length);
    FileLock lock(writer->fd);
    if (!lock.locked())
        return ZELKLOG_RC_FAILURE;
    // One write of the whole frame; should the system write only part of it (disk
    // full), the rest follows under the same lock.
    return writeAll(writer->fd, frame, kFrameHeader + length) ? ZELKLOG_RC_OK : ZELKLOG_RC_FAILURE;
}

ZELKLOG_API uint32_t zelkLogWriterAppendMsg(ZelkLogWriter *writer, const ZelkLogMsg *record)
{
    if (writer == nullptr || record == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    char text[kMaxText + 1];
    size_t length = 0;
    uint32_t rc = zelkLogSerializeMsg(record, writer->format, text, sizeof text, &length);
    if (rc != ZELKLOG_RC_OK)
        return rc;
    return zelkLogWriterAppend(writer, text, length);
}

ZELKLOG_API uint32_t zelkLogWriterClose(ZelkLogWriter *writer)
{
    if (writer == nullptr)
        return ZELKLOG_RC_OK;
    uint32_t rc = ZELKLOG_RC_OK;
    {
        FileLock lock(writer->fd);
        uint32_t writers = 0;
        if (!lock.locked() || !loadWriterCount(writer->fd, &writers))
            rc = ZELKLOG_RC_FAILURE;
        else {
            // The last live writer clears the mark whatever count it finds.
            writers = presenceLock(writer->fd, F_WRLCK) ? 0 : (writers > 1 ? writers - 1 : 1);
            if (!storeWriterCount(writer->fd, writers))
                rc = ZELKLOG_RC_FAILURE;
        }
    }
    if (::close(writer->fd) != 0 && errno != EINTR)
        rc = ZELKLOG_RC_FAILURE;
    delete writer;
    return rc;
}

}  // extern "C"
