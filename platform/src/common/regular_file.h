// Opening a file by a configured or derived name (catalogue, log file) for reading it.
// Whatever the name turns out to be, the open never waits (a FIFO without a writer, a
// device), and only a regular file is kept: anything else is closed again.
#ifndef ZELKLOG_PLATFORM_REGULAR_FILE_H
#define ZELKLOG_PLATFORM_REGULAR_FILE_H

#include <fcntl.h>

namespace zelk::core {

// `flags` as for open(2) without O_CREAT; `directoryFd` as for openat(2) (AT_FDCWD: a
// plain path).  The descriptor, in blocking mode and closed on exec, or -1 with errno
// set (EINVAL: not a regular file).
int openRegularFile(const char *path, int flags, int directoryFd = AT_FDCWD);

}  // namespace zelk::core

#endif
