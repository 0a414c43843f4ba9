// Release of a message record: everything it owns, then the record cleared to all-zero.
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace {

void releaseList(ZelkLogMsgArgList *list);

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
                releaseList(arg->value.list);
                zelkLogFree(arg->value.list);
            }
            break;
        default:
            break;  // no other type owns storage
        }
    }
    zelkLogFree(arg);
}

// Releases the arguments and the slot array; the holder itself stays with the caller.
// Nesting depth is bounded by the decoder, so the recursion stays shallow.
void releaseList(ZelkLogMsgArgList *list)
{
    if (list->args != nullptr) {
        for (ZelkLogMsgArg **slot = list->args; *slot != nullptr; ++slot)
            releaseArgument(*slot);
        zelkLogFree(list->args);
    }
    list->args = nullptr;
    list->listInfo = 0;
}

}  // namespace

extern "C" {

ZELKLOG_API void zelkLogFreeMsg(ZelkLogMsg *record)
{
    if (record == nullptr)
        return;
    zelkLogFree(record->contextToken);
    zelkLogFree(record->auxText);
    // The kind-specific part is a union: only the members of the record's own kind are
    // pointers (level and severity share the first slot with contextText).
    switch (record->kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
    case ZELKLOG_MSG_APP:
        zelkLogFree(record->kindData.second.who);
        break;
    case ZELKLOG_MSG_CTX:
        zelkLogFree(record->kindData.first.contextText);
        break;
    case ZELKLOG_MSG_AUDIT:
        zelkLogFree(record->kindData.second.subject);
        break;
    default:
        break;  // a kind the decoder refused: no kind-specific field was stored
    }
    releaseList(&record->args);
    std::memset(record, 0, sizeof *record);
}

}  // extern "C"
