// Operations on the logging core's file handle that the fetching code needs: validity,
// absolute positioning and the handle's logical position.
//
// The handle reads ahead into its own buffer; `readerState` counts the bytes taken from
// the descriptor beyond the handle's logical position.  The logical position is therefore
// the descriptor's position minus that count, and a seek drops the read-ahead.
#include "src/core/zelkLogCore.h"

#include <sys/types.h>
#include <unistd.h>

extern "C" {

ZELKLOG_API int zelkLogOs_isvalidfilehandle(const LogOsFile *file)
{
    return (file != nullptr && file->fd != -1) ? 1 : 0;
}

ZELKLOG_API int zelkLogOs_seek(LogOsFile *file, int64_t offset)
{
    if (file == nullptr)
        return -3;
    if (lseek(file->fd, static_cast<off_t>(offset), SEEK_SET) == static_cast<off_t>(-1))
        return -1;
    file->readerState = 0;
    return 0;
}

ZELKLOG_API int64_t zelkLogOs_getFileOffset(LogOsFile *file)
{
    if (file == nullptr)
        return -3;
    off_t position = lseek(file->fd, 0, SEEK_CUR);
    if (position == static_cast<off_t>(-1))
        return -1;
    int64_t readAhead = file->readerState > 0 ? file->readerState : 0;
    return static_cast<int64_t>(position) - readAhead;
}

}  // extern "C"
