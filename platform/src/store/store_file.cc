// Store files on disk.
//
// Readers take no lock: a store file is only ever replaced whole by rename, so a
// reader sees the old or the new content.  Writers serialise their read-modify-write
// with flock on "<location>.lock" beside the store (one open file description per
// operation, so threads of one process exclude each other as processes do).  A new
// content is written to a temporary file in the same directory, synced, renamed over
// the store and the directory synced: a writer killed at any moment leaves the old or
// the new store, and a stray temporary file at worst.
#include "platform/src/store/store_file.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelk::store {
namespace {

class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return fd_; }
    int release()
    {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }

private:
    int fd_;
};

std::string directoryOf(const std::string &location)
{
    size_t slash = location.rfind('/');
    if (slash == std::string::npos)
        return ".";
    if (slash == 0)
        return "/";
    return location.substr(0, slash);
}

// Holds flock on the store's lock file for its lifetime.
class WriterLock {
public:
    uint32_t acquire(const std::string &location)
    {
        std::string path = location + ".lock";
        fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd_ < 0)
            return codeForErrno(errno);
        while (::flock(fd_, LOCK_EX) != 0) {
            if (errno != EINTR)
                return codeForErrno(errno);
        }
        return 0;
    }
    ~WriterLock()
    {
        if (fd_ >= 0) {
            ::flock(fd_, LOCK_UN);
            ::close(fd_);
        }
    }

private:
    int fd_ = -1;
};

}  // namespace

uint32_t readStoreText(const std::string &location, std::string &text)
{
    // O_NONBLOCK: a FIFO at the location must not hold the caller until a writer comes;
    // it is refused below like anything else that is not a regular file.
    Descriptor fd(::open(location.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (fd.get() < 0)
        return codeForErrno(errno);
    struct stat info;
    if (::fstat(fd.get(), &info) != 0)
        return codeForErrno(errno);
    if (!S_ISREG(info.st_mode) || static_cast<uint64_t>(info.st_size) > UTI_PS_MAX_FILE_SIZE)
        return UTI_PS_CORRUPT;
    text.resize(static_cast<size_t>(info.st_size));
    size_t done = 0;
    for (;;) {
        if (done == text.size())
            text.resize(done + 4096);  // the file may have grown since fstat
        ssize_t got = ::read(fd.get(), &text[done], text.size() - done);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return codeForErrno(errno);
        }
        if (got == 0)
            break;
        done += static_cast<size_t>(got);
        if (done > UTI_PS_MAX_FILE_SIZE)
            return UTI_PS_CORRUPT;
    }
    text.resize(done);
    return 0;
}

namespace {

uint32_t writeAll(int fd, const std::string &text)
{
    size_t done = 0;
    while (done < text.size()) {
        ssize_t put = ::write(fd, text.data() + done, text.size() - done);
        if (put < 0) {
            if (errno == EINTR)
                continue;
            return codeForErrno(errno);
        }
        done += static_cast<size_t>(put);
    }
    return 0;
}

uint32_t syncDirectory(const std::string &directory)
{
    Descriptor fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() < 0 || ::fsync(fd.get()) != 0)
        return codeForErrno(errno);
    return 0;
}

uint32_t replaceFile(const std::string &location, const std::string &text)
{
    std::string temporary = location + ".tmp.XXXXXX";
    Descriptor fd(::mkostemp(&temporary[0], O_CLOEXEC));
    if (fd.get() < 0)
        return codeForErrno(errno);
    struct stat old;
    mode_t mode = ::stat(location.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644;
    uint32_t rc = writeAll(fd.get(), text);
    if (rc == UTI_PS_OK && (::fchmod(fd.get(), mode) != 0 || ::fsync(fd.get()) != 0))
        rc = codeForErrno(errno);
    if (rc == UTI_PS_OK && ::close(fd.release()) != 0)
        rc = codeForErrno(errno);
    if (rc == UTI_PS_OK && ::rename(temporary.c_str(), location.c_str()) != 0)
        rc = codeForErrno(errno);
    if (rc != UTI_PS_OK) {
        ::unlink(temporary.c_str());
        return rc;
    }
    return syncDirectory(directoryOf(location));
}

}  // namespace

uint32_t codeForErrno(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return UTI_PS_NO_STORE;
    case EACCES:
    case EPERM:
    case EROFS:
        return UTI_PS_DENIED;
    case ENOMEM:
        return UTI_PS_NO_MEMORY;
    case EISDIR:
        return UTI_PS_CORRUPT;
    default:
        return UTI_PS_IO_ERROR;
    }
}

uint32_t loadStore(const std::string &location, StoreData &out)
{
    if (location.empty())
        return UTI_PS_OPEN_FAILED;
    std::string text;
    uint32_t rc = readStoreText(location, text);
    return rc != UTI_PS_OK ? rc : parseStore(text, out);
}

uint32_t updateStore(const std::string &location, bool create,
                     const std::function<uint32_t(StoreData &)> &change, StoreData *result)
{
    if (location.empty())
        return UTI_PS_OPEN_FAILED;
    WriterLock lock;
    uint32_t rc = lock.acquire(location);
    if (rc != UTI_PS_OK)
        return rc;
    StoreData data;
    rc = loadStore(location, data);
    bool exists = rc == UTI_PS_OK;
    if (rc == UTI_PS_NO_STORE && create)
        rc = UTI_PS_OK;
    if (rc != UTI_PS_OK)
        return rc;
    rc = change(data);
    if (rc == kUnchanged && !exists)
        rc = UTI_PS_OK;  // a store that was asked to exist is written even when empty
    if (rc == UTI_PS_OK)
        rc = replaceFile(location, formatStore(data));
    else if (rc == kUnchanged)
        rc = UTI_PS_OK;
    if (rc == UTI_PS_OK && result != nullptr)
        *result = std::move(data);
    return rc;
}

uint32_t deleteStore(const std::string &location)
{
    if (location.empty())
        return UTI_PS_OPEN_FAILED;
    WriterLock lock;
    uint32_t rc = lock.acquire(location);
    if (rc == UTI_PS_NO_STORE)
        return 0;  // no directory: no store either
    if (rc != UTI_PS_OK)
        return rc;
    if (::unlink(location.c_str()) != 0 && errno != ENOENT)
        return codeForErrno(errno);
    return syncDirectory(directoryOf(location));
}

}  // namespace zelk::store
