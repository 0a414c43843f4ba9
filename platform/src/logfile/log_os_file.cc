// Opening, closing and setting aside the OS file handle of a log file.
#include "platform/src/common/regular_file.h"
#include "platform/src/logfile/log_format.h"
#include "platform/src/logfile/read_state.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace zelk::core::logfile {
namespace {

// True when the handle's bookkeeping describes its read-ahead: `state.begin..end` are
// the unread bytes, ending at file offset `state.endOffset`.
bool stateInStep(const LogOsFile *file, const ReadState &state)
{
    return state.magic == kReadStateMagic && state.endOffset >= 0 && state.end <= kDataCapacity &&
           state.begin <= state.end && file->readerState >= 0 &&
           uint32_t(file->readerState) == state.end - state.begin && (state.flags & kReportCorrupt) == 0;
}

// Gives the pages of a closed handle's read-ahead back to the system: the pages that lie
// wholly inside the area, past its bookkeeping.  Their bytes mean nothing once the
// handle is closed, and a file that has been read is mostly freed right after, in a
// heap that keeps the pages of a freed entry resident: over a thousand files read one
// after the other this is a page or more per file.  The pages read as zeros if touched
// again; a failure leaves them as they are.
void releaseReadAhead(LogOsFile *file)
{
    static const uintptr_t pageSize = uintptr_t(sysconf(_SC_PAGESIZE));
    uintptr_t first = reinterpret_cast<uintptr_t>(file->area) + kStateSize;
    uintptr_t end = reinterpret_cast<uintptr_t>(file->area) + sizeof file->area;
    first = (first + pageSize - 1) & ~(pageSize - 1);
    end &= ~(pageSize - 1);
    if (first < end)
        madvise(reinterpret_cast<void *>(first), end - first, MADV_DONTNEED);
}

}  // namespace
}  // namespace zelk::core::logfile

using namespace zelk::core::logfile;

extern "C" {

// access 1: read only; 2: read and write.  The file must exist: `mode` would only apply
// to a file being created and is accepted for the callers' sake.  0 when open, else 1
// (or 3 for a bad argument) with fd -1.
ZELKLOG_API int zelkLogOs_open(LogOsFile *file, const char *path, int access, int /*mode*/)
{
    if (file == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // A file opened again after being set aside keeps count of it (see the reader).
    ReadState previous = loadState(file);
    ReadState state = freshState();
    if (previous.magic == kReadStateMagic && (previous.flags & kSetAside) != 0)
        state.asides = previous.asides;
    file->fd = -1;
    file->readerState = 0;
    storeState(file, state);
    if (path == nullptr || (access != 1 && access != 2))
        return ZELKLOG_RC_BAD_ARGUMENT;
    // Only a regular file is a log file; a FIFO or a device is refused without waiting.
    int fd = zelk::core::openRegularFile(path, access == 1 ? O_RDONLY : O_RDWR);
    if (fd < 0)
        return ZELKLOG_RC_FAILURE;
    file->fd = fd;
    return 0;
}

// Closes an open handle; a handle that is not open (fd -1) is left as it is, except that
// bytes kept by zelkLogOs_setAside are dropped.  0, or -1 when the system reports an error
// on close (the descriptor is released all the same).
ZELKLOG_API int zelkLogOs_close(LogOsFile *file)
{
    if (file == nullptr)
        return 0;
    int rc = 0;
    // Only a handle that was open or kept bytes aside has used its area.
    ReadState state = loadState(file);
    if (file->fd >= 0 || (state.magic == kReadStateMagic && (state.flags & kSetAside) != 0))
        releaseReadAhead(file);
    if (file->fd >= 0 && ::close(file->fd) != 0 && errno != EINTR)
        rc = -1;
    file->fd = -1;
    file->readerState = 0;
    zelk::core::logfile::storeState(file, zelk::core::logfile::freshState());
    return rc;
}

// Closes the descriptor of an open handle but keeps its unread bytes, so that reading
// can go on from them (zelkLogOs_readAside) without opening the file again.  *position
// receives the handle's logical position.  0 when set aside; 1 when the position cannot
// be told (the handle then stays open, untouched); 3 for a bad argument.
ZELKLOG_API int zelkLogOs_setAside(LogOsFile *file, int64_t *position)
{
    if (file == nullptr || position == nullptr || file->fd < 0)
        return ZELKLOG_RC_BAD_ARGUMENT;
    ReadState state = loadState(file);
    // An empty read-ahead may predate a move of the descriptor: ask the system then.
    bool keep = stateInStep(file, state) && file->readerState > 0;
    int64_t logical;
    if (keep) {
        logical = state.endOffset - int64_t(state.end - state.begin);
    } else {
        off_t at = lseek(file->fd, 0, SEEK_CUR);
        if (at < 0)
            return ZELKLOG_RC_FAILURE;
        logical = int64_t(at) - std::max<int32_t>(file->readerState, 0);
        state = freshState();
    }
    ::close(file->fd);
    file->fd = -1;
    file->readerState = 0;
    state.flags |= kSetAside;
    state.asides = std::min<uint32_t>(state.asides, UINT32_MAX - 1) + 1;
    storeState(file, state);
    *position = logical;
    return 0;
}

// The next record of a set-aside handle, from the bytes it kept: 1 with the record's text
// in `message` and *position moved behind it; 0 when the kept bytes do not begin with a
// whole, intact record at *position (nothing is consumed: the file must be opened again
// and read from *position, where damage and unfinished records are dealt with as usual).
ZELKLOG_API int zelkLogOs_readAside(LogOsFile *file, textMessage *message, int64_t *position)
{
    if (file == nullptr || message == nullptr || position == nullptr || file->fd != -1)
        return 0;
    ReadState state = loadState(file);
    if ((state.flags & kSetAside) == 0 || file->readerState != 0 || state.magic != kReadStateMagic ||
        state.endOffset < 0 || state.end > kDataCapacity || state.begin > state.end ||
        (state.flags & kReportCorrupt) != 0)
        return 0;
    size_t avail = state.end - state.begin;
    if (state.endOffset - int64_t(avail) != *position) {
        storeState(file, freshState());  // moved by its owner: the kept bytes are not its
        return 0;
    }
    const unsigned char *frame =
        reinterpret_cast<const unsigned char *>(file->area) + kStateSize + state.begin;
    if (avail < kFrameHeader || frame[0] != kFrameMark0 || frame[1] != kFrameMark1)
        return 0;
    size_t length = load16(frame + 2);
    if (length == 0 || length > kMaxText || avail < kFrameHeader + length ||
        load32(frame + 4) != frameChecksum(frame + kFrameHeader, length))
        return 0;
    std::memcpy(message->buffer, frame + kFrameHeader, length);
    message->buffer[length] = '\0';
    message->text = message->buffer;
    state.begin += uint32_t(kFrameHeader + length);
    storeState(file, state);
    *position += int64_t(kFrameHeader + length);
    return 1;
}

}  // extern "C"
