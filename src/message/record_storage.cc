// Kept blocks of released records, per thread and size class.
#include "src/message/record_storage.h"

#include "src/message/argument_list.h"
#include "src/core/zelkLogCore.h"

#include <cstddef>
#include <cstring>

namespace zelk::message {

namespace {

constexpr size_t kStringStep = 16;               // string blocks are a multiple of this
constexpr size_t kStringClasses = 4;             // kept up to 64 bytes
constexpr size_t kClassArgument = 0;             // then the slot arrays, then strings
constexpr size_t kClassSlots = 1;                //
constexpr size_t kClasses = 2 + kStringClasses;  //
constexpr int kKept = 32;                        // blocks kept per class

}  // namespace

class RecordStorage {
public:
    RecordStorage() = default;
    RecordStorage(const RecordStorage &) = delete;
    RecordStorage &operator=(const RecordStorage &) = delete;
    ~RecordStorage()
    {
        for (size_t c = 0; c < kClasses; ++c)
            while (count_[c] > 0)
                zelkLogFree(blocks_[c][--count_[c]]);
    }

    void *take(size_t cls, size_t bytes)
    {
        if (count_[cls] > 0)
            return blocks_[cls][--count_[cls]];
        return zelkLogMalloc(bytes);
    }
    void keep(size_t cls, void *block)
    {
        if (count_[cls] < kKept)
            blocks_[cls][count_[cls]++] = block;
        else
            zelkLogFree(block);
    }

private:
    void *blocks_[kClasses][kKept] = {};
    int count_[kClasses] = {};
};

namespace {

inline size_t roundedString(size_t bytes)
{
    return (bytes + kStringStep - 1) / kStringStep * kStringStep;
}

// The class of a string block of `rounded` bytes; kClasses when it is not kept.
inline size_t stringClass(size_t rounded)
{
    const size_t index = rounded / kStringStep;
    return index >= 1 && index <= kStringClasses ? 2 + index - 1 : kClasses;
}

// A string the decoder allocated rounded up from its length, which the bytes up to its
// first NUL never exceed: the class found from them is no larger than the block.
void keepString(RecordStorage &kept, char *text)
{
    if (text == nullptr)
        return;
    const size_t cls = stringClass(roundedString(std::strlen(text) + 1));
    if (cls < kClasses)
        kept.keep(cls, text);
    else
        zelkLogFree(text);
}

void recycleList(RecordStorage &kept, ZelkLogMsgArgList *list)
{
    if (list->args == nullptr)
        return;
    for (ZelkLogMsgArg **slot = list->args; *slot != nullptr; ++slot) {
        ZelkLogMsgArg *arg = *slot;
        if (arg->ownsValue != 0 && (arg->type == ZELKLOG_ARG_STRING || arg->type == ZELKLOG_ARG_XSTRING)) {
            keepString(kept, arg->value.string);
        } else if (arg->ownsValue != 0) {
            releaseArgument(arg);
            continue;
        }
        kept.keep(kClassArgument, arg);
    }
    if ((list->listInfo >> 32) == kFirstSlots)
        kept.keep(kClassSlots, list->args);
    else
        zelkLogFree(list->args);
    list->args = nullptr;
    list->listInfo = 0;
}

}  // namespace

namespace {

// The thread's storage once made: a plain pointer needs no guard to be read, the storage
// itself (released when the thread ends) does.
thread_local RecordStorage *threadKept = nullptr;

__attribute__((noinline)) RecordStorage &makeThreadStorage()
{
    thread_local RecordStorage kept;
    threadKept = &kept;
    return kept;
}

}  // namespace

// Out of line: a caller asks once and keeps the reference, instead of looking up the
// thread's storage at every use.
__attribute__((noinline)) RecordStorage &threadStorage()
{
    if (RecordStorage *kept = threadKept)
        return *kept;
    return makeThreadStorage();
}

ZelkLogMsgArg *takeArgument(RecordStorage &storage)
{
    return static_cast<ZelkLogMsgArg *>(storage.take(kClassArgument, sizeof(ZelkLogMsgArg)));
}

ZelkLogMsgArg **takeSlots(RecordStorage &storage)
{
    return static_cast<ZelkLogMsgArg **>(storage.take(kClassSlots, kFirstSlots * sizeof(ZelkLogMsgArg *)));
}

char *takeString(RecordStorage &storage, size_t bytes)
{
    const size_t rounded = roundedString(bytes);
    if (rounded < bytes)
        return nullptr;
    const size_t cls = stringClass(rounded);
    if (cls == kClasses)
        return static_cast<char *>(zelkLogMalloc(rounded));
    return static_cast<char *>(storage.take(cls, rounded));
}

void recycleMsg(ZelkLogMsg *record)
{
    if (record == nullptr)
        return;
    // The same members as zelkLogFreeMsg releases.
    RecordStorage &kept = threadStorage();
    keepString(kept, record->contextToken);
    keepString(kept, record->auxText);
    switch (record->kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
    case ZELKLOG_MSG_APP:
        keepString(kept, record->kindData.second.who);
        break;
    case ZELKLOG_MSG_CTX:
        keepString(kept, record->kindData.first.contextText);
        break;
    case ZELKLOG_MSG_AUDIT:
        keepString(kept, record->kindData.second.subject);
        break;
    default:
        break;
    }
    recycleList(kept, &record->args);
    std::memset(record, 0, offsetof(ZelkLogMsg, fileHeaderText));
    record->kindData = ZelkLogMsgKindData{};
    record->args = ZelkLogMsgArgList{};
}

}  // namespace zelk::message
