// Argument lists: the message id, then tagged arguments up to ")".
#include "src/message/argument_list.h"

#include "src/message/number_rules.h"
#include "src/message/record_storage.h"
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace zelk::message {

namespace {
constexpr size_t kMaxMessageIdChars = 10;
}  // namespace

template <Pass P> uint32_t readArgumentList(TextCursor &cursor, ZelkLogMsgArgList *list, int depth)
{
    if (depth > kMaxListDepth || cursor.pos >= cursor.end || *cursor.pos != '(')
        return ZELKLOG_RC_FAILURE;
    ++cursor.pos;
    if (cursor.pos >= cursor.end)
        return ZELKLOG_RC_FAILURE;
    // The usual message id, plain digits and its "|", needs no search.
    const char *bar = shortDigitRun(cursor.pos, kMaxMessageIdChars, &list->msgId);
    if (bar == nullptr || *bar != '|') {
        size_t window =
            cursor.remaining() < kMaxMessageIdChars + 1 ? cursor.remaining() : kMaxMessageIdChars + 1;
        bar = static_cast<const char *>(std::memchr(cursor.pos, '|', window));
        if (bar == nullptr || bar == cursor.pos || !readUnsigned(cursor.pos, bar, &list->msgId))
            return ZELKLOG_RC_FAILURE;
    }
    cursor.pos += (bar - cursor.pos) + 1;
    list->listInfo = 0;
    list->args = nullptr;

    while (true) {
        if (cursor.pos >= cursor.end)  // the terminator is no tag
            return ZELKLOG_RC_FAILURE;
        char tag = *cursor.pos++;
        if (tag == ')')
            return ZELKLOG_RC_OK;
        if constexpr (P == Pass::Check) {
            ZelkLogMsgArg scratch{};
            if (uint32_t rc = readArgumentValue<P>(cursor, tag, &scratch, depth); rc != ZELKLOG_RC_OK)
                return rc;
        } else {
            ZelkLogMsgArg *arg = takeArgument(*cursor.storage);
            if (arg == nullptr)
                return ZELKLOG_RC_NO_MEMORY;
            std::memset(arg, 0, sizeof *arg);
            uint32_t rc = readArgumentValue<P>(cursor, tag, arg, depth);
            if (rc != ZELKLOG_RC_OK) {
                zelkLogFree(arg);  // a failed decode leaves nothing owned in it
                return rc;
            }
            if (list->args == nullptr) {
                // The first slot array, as zelkLisAddArg would allocate it, from kept storage.
                if (ZelkLogMsgArg **slots = takeSlots(*cursor.storage)) {
                    slots[0] = nullptr;
                    list->args = slots;
                    list->listInfo = static_cast<uint64_t>(kFirstSlots) << 32;
                }
            }
            // While the array has room, the argument is added here as zelkLisAddArg adds
            // it (count in the low word); the logging core grows the array.
            const uint64_t count = list->listInfo & 0xFFFFFFFFu;
            if (list->args != nullptr && count + 2 <= (list->listInfo >> 32)) {
                list->args[count] = arg;
                list->args[count + 1] = nullptr;
                ++list->listInfo;
                continue;
            }
            rc = zelkLisAddArg(list, arg);
            if (rc != ZELKLOG_RC_OK) {
                releaseArgument(arg);
                return rc;
            }
        }
    }
}

template uint32_t readArgumentList<Pass::Store>(TextCursor &, ZelkLogMsgArgList *, int);
template uint32_t readArgumentList<Pass::Check>(TextCursor &, ZelkLogMsgArgList *, int);

void releaseArgument(ZelkLogMsgArg *arg)
{
    if (arg->ownsValue != 0) {
        switch (arg->type) {
        case ZELKLOG_ARG_WSTRING:
            zelkLogFree(arg->value.wideString);
            break;
        case ZELKLOG_ARG_XSTRING:
        case ZELKLOG_ARG_STRING:
            zelkLogFree(arg->value.string);
            break;
        case ZELKLOG_ARG_LIST:
            if (arg->value.list != nullptr) {
                releaseArgumentList(arg->value.list);
                zelkLogFree(arg->value.list);
            }
            break;
        default:
            break;
        }
    }
    zelkLogFree(arg);
}

void releaseArgumentList(ZelkLogMsgArgList *list)
{
    if (list->args != nullptr) {
        for (ZelkLogMsgArg **slot = list->args; *slot != nullptr; ++slot)
            releaseArgument(*slot);
        zelkLogFree(list->args);
    }
    list->args = nullptr;
    list->listInfo = 0;
}

}  // namespace zelk::message
