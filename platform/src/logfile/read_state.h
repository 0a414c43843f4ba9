// The reader's bookkeeping inside LogOsFile::area: a read-ahead buffer and where it is.
// The handle's readerState always equals the number of buffered, unread bytes; when the
// two disagree (zelkLogOs_seek sets readerState to 0), the buffer is dropped.
#ifndef PLATFORM_SRC_LOGFILE_READ_STATE_H_
#define PLATFORM_SRC_LOGFILE_READ_STATE_H_

#include "src/core/zelkLogCore.h"

#include <cstdint>
#include <cstring>

namespace zelk::core::logfile {

struct ReadState {
    uint32_t magic;     // kReadStateMagic when the fields below are valid
    uint32_t flags;     // kReportCorrupt
    uint32_t begin;     // first unread byte in the data area
    uint32_t end;       // end of the bytes read into the data area
    int64_t endOffset;  // file offset of data[end]; -1 unknown
    uint32_t chunk;     // bytes asked of the next read: small after a move, then growing
    uint32_t asides;    // times the file was set aside since it was first opened
};

inline constexpr uint32_t kReadStateMagic = 0x5a52534bu;
// Set from a negative readerState: damaged stretches of the file are handed out as
// records (for the corrupt-record report) instead of being skipped.
inline constexpr uint32_t kReportCorrupt = 1u;
// Set while the handle is set aside (zelkLogOs_setAside): the descriptor is closed, the
// unread bytes stay valid and go on from the logical position the caller was given.
inline constexpr uint32_t kSetAside = 2u;
// First read of a file from its first record: a query over many files reads one record
// from each before it goes on, so it does not fill a whole buffer for it.  A file
// resumed at a saved position reads whole buffers at once (its unread bytes are kept
// while it is set aside).
inline constexpr uint32_t kFirstChunk = 4096;
// A file read beyond this offset is long: it reads whole buffers from then on (a few of
// the many small files of a rotated log never get there and keep their memory small).
inline constexpr int64_t kLongFile = int64_t{1} << 20;
inline constexpr size_t kStateSize = sizeof(ReadState);
inline constexpr size_t kDataCapacity = sizeof(LogOsFile::area) - kStateSize;

// The area of a handle is plain bytes at an odd alignment: copy the state in and out.
inline ReadState loadState(const LogOsFile *file)
{
    ReadState state;
    std::memcpy(&state, file->area, sizeof state);
    return state;
}
inline void storeState(LogOsFile *file, const ReadState &state)
{
    std::memcpy(file->area, &state, sizeof state);
}
inline ReadState freshState()
{
    return ReadState{kReadStateMagic, 0, 0, 0, -1, kFirstChunk, 0};
}

}  // namespace zelk::core::logfile

#endif  // PLATFORM_SRC_LOGFILE_READ_STATE_H_
