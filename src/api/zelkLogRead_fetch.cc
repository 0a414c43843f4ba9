// The plain fetch: the query's files one after the other, in list order.
#include "src/api/record_step.h"
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace {

// The query whose last plain fetch on this thread handed out the first record it read.
// Its next record is then likely to match as well and is decoded at once rather than
// first read in place.  Only a hint: either way the fetch gives the same results.
thread_local const LogQuery *denseQuery = nullptr;

}  // namespace

extern "C" {

ZELKLOG_API uint32_t zelkLogFetchNextEntry(LogQuery *query, ZelkLogMsg *record)
{
    if (query == nullptr || query->root == nullptr || record == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    if (query->currentFile == nullptr)
        return ZELKLOG_RC_NO_MORE_RECORDS;
    // Each fetch starts from a cleared record; records skipped in place leave it so, and
    // one decoded in full is released (which clears it again) before reading on.
    std::memset(record, 0, sizeof *record);
    bool firstRead = true;
    for (;;) {
        const bool dense = firstRead && denseQuery == query;
        uint32_t rc = zelk::read::readNextRecord(query, record, !dense);
        const bool wasFirstRead = firstRead;
        firstRead = false;
        switch (rc) {
        case ZELKLOG_RC_OK:
            denseQuery = wasFirstRead ? query : nullptr;
            return rc;
        case ZELKLOG_RC_CORRUPT_RECORD:
            denseQuery = nullptr;
            return rc;
        case ZELKLOG_RC_NO_MATCH:
            if (record->marker != 0)
                zelkLogFreeMsg(record);
            break;
        case ZELKLOG_RC_END_OF_FILE:
            if (query->currentFile == nullptr)
                return ZELKLOG_RC_NO_MORE_RECORDS;
            if (!zelkLogOs_isvalidfilehandle(&query->currentFile->file))
                ReadNextLogFile(query);
            break;
        case ZELKLOG_RC_FAILURE:
            closelogfile(query);
            if (query->currentFile == nullptr)
                return ZELKLOG_RC_NO_MORE_RECORDS;
            break;
        default:
            // Header notices and other header codes: the file is open, its records follow.
            // (9 cannot come back here: the loop leaves as soon as the list is empty.)
            if (query->currentFile == nullptr)
                return ZELKLOG_RC_NO_MORE_RECORDS;
            break;
        }
    }
}

}  // extern "C"
