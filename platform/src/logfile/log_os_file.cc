// Opening and closing the OS file handle of a log file.
#include "platform/src/common/regular_file.h"
#include "platform/src/logfile/read_state.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

extern "C" {

// access 1: read only; 2: read and write.  The file must exist: `mode` would only apply
// to a file being created and is accepted for the callers' sake.  0 when open, else 1
// (or 3 for a bad argument) with fd -1.
ZELKLOG_API int zelkLogOs_open(LogOsFile *file, const char *path, int access, int /*mode*/)
{
    if (file == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    file->fd = -1;
    file->readerState = 0;
    zelk::core::logfile::storeState(file, zelk::core::logfile::freshState());
    if (path == nullptr || (access != 1 && access != 2))
        return ZELKLOG_RC_BAD_ARGUMENT;
    // Only a regular file is a log file; a FIFO or a device is refused without waiting.
    int fd = zelk::core::openRegularFile(path, access == 1 ? O_RDONLY : O_RDWR);
    if (fd < 0)
        return ZELKLOG_RC_FAILURE;
    file->fd = fd;
    return 0;
}

// Closes an open handle; a handle that is not open (fd -1) is left as it is.  0, or -1
// when the system reports an error on close (the descriptor is released all the same).
ZELKLOG_API int zelkLogOs_close(LogOsFile *file)
{
    if (file == nullptr)
        return 0;
    int result = 0;
    if (file->fd >= 0 && ::close(file->fd) != 0 && errno != EINTR)
        result = -1;
    file->fd = -1;
    file->readerState = 0;
    zelk::core::logfile::storeState(file, zelk::core::logfile::freshState());
    return result;
}

}  // extern "C"
