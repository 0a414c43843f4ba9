// The formatted fetch: the next record in time order, formatted by the logging core in
// a chosen locale and released, handed out as text.
#include "src/core/zelkLogCore.h"
#include "src/message/record_storage.h"
#include "src/time/locale_check.h"

#include <unicode/uloc.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kDefaultFlags = 0xF03;

}  // namespace

extern "C" {

ZELKLOG_API uint32_t zelkLogFetchNextFormattedMessage(LogQuery *query, uintptr_t formatArg,
                                                      const char *locale, uint64_t flags, char **text)
{
    // Without a place for the text a formatted record would be lost: refuse before fetching.
    if (text == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    uint32_t formatFlags = static_cast<uint32_t>(flags);
    if (formatFlags == 0)
        formatFlags = kDefaultFlags;
    // The locale stays in force for the whole process, as callers of this function expect.
    // Callers pass the same locale for every record: once it is the default (whose name ICU
    // can use, being a locale's own), neither a check nor ICU's canonicalisation is needed.
    // uloc_getDefault takes ICU's lock: it is asked once when nothing changes.
    const char *current = uloc_getDefault();
    const bool callersIsDefault = locale != nullptr && std::strcmp(locale, current) == 0;
    if (locale != nullptr && !callersIsDefault) {
        // A locale ICU cannot use must not become the process default: it is refused.
        if (!zelk::time::usableLocale(locale))
            return ZELKLOG_RC_BAD_ARGUMENT;
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault(locale, &status);
        current = uloc_getDefault();
    }
    // The formatter gets the default's name as ICU writes it: the caller's own text when
    // it is that already, else a copy (on the stack when it fits).
    char localBuffer[ULOC_FULLNAME_CAPACITY];
    const char *localeCopy = locale;
    if (!callersIsDefault) {
        const size_t currentLength = std::strlen(current);
        localeCopy = currentLength < sizeof localBuffer ? localBuffer : strdup(current);
        if (localeCopy == localBuffer)
            std::memcpy(localBuffer, current, currentLength + 1);
        if (localeCopy == nullptr)
            return ZELKLOG_RC_NO_MEMORY;  // before fetching: no record is lost
    }

    ZelkLogMsg *record = nullptr;
    uint32_t rc = zelkLogFetchNextSortedEntry(query, &record);
    if (rc == ZELKLOG_RC_NO_MORE_RECORDS || rc == ZELKLOG_RC_CORRUPT_RECORD) {
        *text = nullptr;
    } else if (rc == ZELKLOG_RC_OK) {
        char *formatted = nullptr;
        rc = zelkLogFormatMessageEx(query, localeCopy, formatArg, formatFlags, 0, record, &formatted);
        if (rc == ZELKLOG_RC_OK) {
            // Released as zelkLogFreeMsg does; its blocks serve the next record decoded.
            zelk::message::recycleMsg(record);
            *text = formatted;
        }
    }
    if (localeCopy != locale && localeCopy != localBuffer)
        std::free(const_cast<char *>(localeCopy));
    return rc;
}

}  // extern "C"
