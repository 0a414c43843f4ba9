#include "platform/src/common/regular_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace zelk::core {
namespace {

// 0 when `fd`, opened with `flags` and O_NONBLOCK, is a regular file, now in blocking
// mode; else the error.  F_SETFL takes only the status flags from `flags` (O_APPEND
// among them), exactly those the descriptor was opened with, so it needs no F_GETFL.
int keepRegular(int fd, int flags)
{
    struct stat info;
    if (::fstat(fd, &info) != 0)
        return errno;
    if (!S_ISREG(info.st_mode))
        return EINVAL;
    if (::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0)
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
    if (int error = keepRegular(fd, flags); error != 0) {
        ::close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

}  // namespace zelk::core
