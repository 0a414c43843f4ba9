#include "platform/src/common/regular_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace zelk::core {
namespace {

// 0 when `fd` is a regular file, now in blocking mode; else the error.
int keepRegular(int fd)
{
    struct stat info;
    if (::fstat(fd, &info) != 0)
        return errno;
    if (!S_ISREG(info.st_mode))
        return EINVAL;
    int status = ::fcntl(fd, F_GETFL);
    if (status < 0 || ::fcntl(fd, F_SETFL, status & ~O_NONBLOCK) != 0)
        return errno;
    return 0;
}

}  // namespace

int openRegularFile(const char *path, int flags, int directoryFd)
{
    int fd;
    do {
        fd = ::openat(directoryFd, path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return -1;
    if (int error = keepRegular(fd); error != 0) {
        ::close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

}  // namespace zelk::core
