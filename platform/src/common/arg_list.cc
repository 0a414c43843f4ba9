// Growth of a message's argument list: a null-terminated array of argument pointers whose
// count (low 32 bits) and capacity in slots (high 32 bits) live in `listInfo`.
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace {
constexpr uint64_t kFirstCapacity = 8;  // slots: seven arguments and the terminator
constexpr uint64_t kMaxSlots = 0xFFFFFFFFu;
}  // namespace

extern "C" {

ZELKLOG_API uint32_t zelkLisAddArg(ZelkLogMsgArgList *list, ZelkLogMsgArg *arg)
{
    if (list == nullptr || arg == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    uint64_t count = list->listInfo & 0xFFFFFFFFu;
    uint64_t capacity = list->listInfo >> 32;
    if (list->args == nullptr)
        count = capacity = 0;
    if (count + 2 > capacity) {  // the new argument and the terminator
        if (count + 2 > kMaxSlots)
            return ZELKLOG_RC_NO_MEMORY;
        uint64_t grown = capacity < kFirstCapacity ? kFirstCapacity : capacity * 2;
        if (grown > kMaxSlots)
            grown = kMaxSlots;
        auto **slots = static_cast<ZelkLogMsgArg **>(zelkLogMalloc(grown * sizeof(ZelkLogMsgArg *)));
        if (slots == nullptr)
            return ZELKLOG_RC_NO_MEMORY;
        if (count != 0)
            std::memcpy(slots, list->args, count * sizeof(ZelkLogMsgArg *));
        zelkLogFree(list->args);
        list->args = slots;
        capacity = grown;
    }
    list->args[count] = arg;
    list->args[count + 1] = nullptr;
    list->listInfo = (capacity << 32) | (count + 1);
    return ZELKLOG_RC_OK;
}

}  // extern "C"
