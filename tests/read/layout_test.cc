// Freezes the x86-64 layout of the records that cross the public interface: a change of
// size, field order, type or padding breaks the build here instead of breaking callers.
// The records that callers only hand on are held to their size.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

// clang-format off
#define RECORD(T, size, align) static_assert(sizeof(T) == (size) && alignof(T) == (align), #T);
#define AT(T, field, offset) static_assert(offsetof(T, field) == (offset), #T "." #field);
#define TYPE(T, field, type) static_assert(std::is_same_v<decltype(T::field), type>, #T "." #field);

// Types a size and offset alone would not catch (signedness).
TYPE(ZelkLogMsg, timeMs, int64_t) TYPE(ZelkLogMsg, kind, uint32_t) TYPE(ZelkLogMsgKindData, returnValue, int32_t)
TYPE(ZelkLogMsgArgValue, sizedInt.value, int64_t) TYPE(ZelkLogMsgArgValue, sizedUInt.value, uint64_t)
TYPE(ZelkLogMsgArgValue, sizedInt.size, uint16_t) TYPE(ZelkLogMsgArg, type, uint32_t) TYPE(QueryNode, kind, int32_t)
TYPE(LogOsFile, fd, int32_t) TYPE(textMessage, text, char *)
static_assert(sizeof(wchar_t) == 4);

RECORD(ZelkLogMsgArgValue, 16, 8) AT(ZelkLogMsgArgValue, wideChar, 0) AT(ZelkLogMsgArgValue, sizedInt.size, 0)
AT(ZelkLogMsgArgValue, sizedInt.value, 8) AT(ZelkLogMsgArgValue, sizedUInt.size, 0)
AT(ZelkLogMsgArgValue, sizedUInt.value, 8) AT(ZelkLogMsgArgValue, real, 0) AT(ZelkLogMsgArgValue, uint64, 0)
AT(ZelkLogMsgArgValue, wideString, 0) AT(ZelkLogMsgArgValue, int64, 0) AT(ZelkLogMsgArgValue, list, 0)
AT(ZelkLogMsgArgValue, string, 0)

RECORD(ZelkLogMsgArg, 24, 8) AT(ZelkLogMsgArg, type, 0) AT(ZelkLogMsgArg, ownsValue, 4) AT(ZelkLogMsgArg, value, 8)

RECORD(ZelkLogMsgArgList, 24, 8) AT(ZelkLogMsgArgList, msgId, 0) AT(ZelkLogMsgArgList, listInfo, 8)
AT(ZelkLogMsgArgList, args, 16)

RECORD(ZelkLogMsgKindData, 24, 8) AT(ZelkLogMsgKindData, first.level, 0) AT(ZelkLogMsgKindData, first.severity, 0)
AT(ZelkLogMsgKindData, first.contextText, 0) AT(ZelkLogMsgKindData, second.who, 8)
AT(ZelkLogMsgKindData, second.subject, 8) AT(ZelkLogMsgKindData, returnValue, 16)

RECORD(ZelkLogMsg, 1688, 8) AT(ZelkLogMsg, marker, 0) AT(ZelkLogMsg, format, 8) AT(ZelkLogMsg, kind, 16)
AT(ZelkLogMsg, productId, 24) AT(ZelkLogMsg, originatorId, 32) AT(ZelkLogMsg, fileId, 40)
AT(ZelkLogMsg, auxNumber, 48) AT(ZelkLogMsg, timeMs, 56) AT(ZelkLogMsg, pid, 64) AT(ZelkLogMsg, tid, 72)
AT(ZelkLogMsg, contextToken, 80) AT(ZelkLogMsg, auxText, 88) AT(ZelkLogMsg, fileHeaderText, 96)
AT(ZelkLogMsg, logsetName, 608) AT(ZelkLogMsg, kindData, 1640) AT(ZelkLogMsg, args, 1664)

RECORD(QueryNode, 40, 8) AT(QueryNode, kind, 0) AT(QueryNode, visitMark, 4) AT(QueryNode, value, 8)
AT(QueryNode, locale, 16) AT(QueryNode, left, 24) AT(QueryNode, right, 32)

RECORD(LogQuery, 1656, 8) AT(LogQuery, headerNotice, 0) AT(LogQuery, currentFile, 8) AT(LogQuery, reserved, 16)
AT(LogQuery, root, 24) AT(LogQuery, contextTitles, 32) AT(LogQuery, localizers, 1632)
AT(LogQuery, formatResource, 1648)

RECORD(QueryParseContext, 32, 8) RECORD(LogOsFile, 32776, 4) RECORD(textMessage, 4104, 8)
RECORD(ZelkLogLocalizerList, 16, 8) RECORD(ZelkLogProductCfg, 2072, 8) RECORD(ContextTitleEntry, 40, 8)
RECORD(LogFileEntry, 36304, 8)
    // clang-format on

    // Everything above is checked by the compiler; this keeps the program a visible test.
    TEST(Layout, FrozenAtCompileTime)
{
    SUCCEED();
}
