// The plain fetch: the query's files one after the other, in list order.
#include "src/api/record_step.h"
#include "src/core/zelkLogCore.h"

#include <cstring>

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
    for (;;) {
        uint32_t rc = zelk::read::readNextRecord(query, record);
        switch (rc) {
        case ZELKLOG_RC_OK:
        case ZELKLOG_RC_CORRUPT_RECORD:
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
