// The error routine of the scanner and the parser: it turns a message into a result
// code and prints nothing.  The last message is kept for diagnostics.
#include "src/query/query_internal.h"

#include <algorithm>
#include <cstring>

namespace {

// Per thread: a parse reports from the thread that runs it.
thread_local char lastMessage[256];

}  // namespace

namespace zelk::query {

const char *lastParserMessage()
{
    return lastMessage;
}

}  // namespace zelk::query

extern "C" {

// Exported for callers that expect it; the library neither writes nor reads it.
ZELKLOG_API int errorCode = 0;

ZELKLOG_API uint32_t yyerror(const char *message)
{
    if (message == nullptr)
        return ZELKLOG_RC_NOT_TEXT;
    const size_t length = std::min(std::strlen(message), sizeof lastMessage - 1);
    std::memcpy(lastMessage, message, length);
    lastMessage[length] = '\0';
    if (std::strcmp(message, "Undefined keyword") == 0)
        return ZELKLOG_RC_UNDEFINED_KEYWORD;
    if (std::strcmp(message, "Unrecognized string") == 0)
        return ZELKLOG_RC_UNRECOGNIZED_STRING;
    if (std::strcmp(message, "Unterminated string") == 0)
        return ZELKLOG_RC_UNTERMINATED_STRING;
    return ZELKLOG_RC_NOT_TEXT;
}

}  // extern "C"
