// Storage of decoded records kept for reuse.  The formatted fetch releases every record
// it formats at once, and the next record it decodes needs the same few small blocks
// again (arguments, their slot array, short strings): the blocks of a released record
// are kept per thread and handed to the decoder instead of being freed and allocated
// anew.  Every block is still one of the logging core's allocator, so a record decoded
// from kept blocks is released with zelkLogFreeMsg like any other.
#ifndef ZELKLOG_MESSAGE_RECORD_STORAGE_H
#define ZELKLOG_MESSAGE_RECORD_STORAGE_H

#include "zelkLogRead.h"

#include <cstddef>

namespace zelk::message {

// Slots of an argument list's first array: seven arguments and the terminator, as the
// logging core's zelkLisAddArg allocates them.
constexpr size_t kFirstSlots = 8;

class RecordStorage;

// The kept blocks of the calling thread.
RecordStorage &threadStorage();

// An argument's storage (uninitialised), or null without memory.
ZelkLogMsgArg *takeArgument(RecordStorage &storage);
// A first slot array of kFirstSlots slots (uninitialised), or null without memory.
ZelkLogMsgArg **takeSlots(RecordStorage &storage);
// Storage for a string of `bytes` bytes, its terminator included; the block may be
// larger.  Null without memory.
char *takeString(RecordStorage &storage, size_t bytes);

// Releases what `record` owns as zelkLogFreeMsg does, keeping the blocks that the decoder
// takes again, and leaves it empty: all-zero but for the header and logset texts, which
// the merged fetch clears before it reads into the slot again.
// Only for records filled by zelkLogMsgUnserialize.
void recycleMsg(ZelkLogMsg *record);

}  // namespace zelk::message

#endif
