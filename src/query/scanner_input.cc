// The scanner's input source: a private copy of the query text, handed to the scanner
// piece by piece.  One instance for the library, used under the parse lock only.
#include "src/query/query_internal.h"
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace {

char *sourceText = nullptr;  // owned copy of the query text, or none
size_t sourceLength = 0;     // its length, so hand-over needs no rescanning
size_t handedOver = 0;       // characters already given to the scanner

}  // namespace

extern "C" {

ZELKLOG_API int yysetbuffer(const char *text)
{
    zelkLogFree(sourceText);
    sourceText = zelkLogSafeStrdup(text);
    sourceLength = sourceText != nullptr ? std::strlen(sourceText) : 0;
    handedOver = 0;
    // Nothing left over from an earlier text (stopped at an error) may be scanned.
    zelk::query::resetScanner();
    return sourceText != nullptr ? 1 : 0;
}

ZELKLOG_API uint64_t myinput(char *buffer, uint64_t maxSize)
{
    if (sourceText == nullptr || buffer == nullptr || maxSize < 2 || handedOver >= sourceLength)
        return 0;
    size_t count = sourceLength - handedOver;
    if (count > maxSize - 1)
        count = static_cast<size_t>(maxSize - 1);
    std::memcpy(buffer, sourceText + handedOver, count);
    handedOver += count;
    return count;
}

ZELKLOG_API int yyiseob(void)
{
    return sourceText == nullptr || handedOver >= sourceLength ? 1 : 0;
}

ZELKLOG_API void yyunsetbuffer(void)
{
    zelkLogFree(sourceText);
    sourceText = nullptr;
    sourceLength = 0;
    handedOver = 0;
    zelk::query::resetScanner();
}

ZELKLOG_API int yywrap(void)
{
    return 1;
}

}  // extern "C"
