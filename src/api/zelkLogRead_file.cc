// Opening, reading and dropping the query's current log file.
#include "src/core/zelkLogCore.h"
#include "src/api/log_path.h"

extern "C" {

ZELKLOG_API int readlog(LogOsFile *file, textMessage *message)
{
    return readrecord(file, message);
}

ZELKLOG_API uint32_t ReadNextLogFile(LogQuery *query)
{
    if (query == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    LogFileEntry *entry = query->currentFile;
    if (entry == nullptr)
        return ZELKLOG_RC_NO_MORE_RECORDS;

    zelk::read::LogPath path(*entry);
    if (zelkLogOs_open(&entry->file, path.text(), 1, 0660) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_FAILURE;
    if (entry->savedOffset != 0) {
        if (zelkLogIsSameLogFile(entry)) {
            zelkLogOs_seek(&entry->file, entry->savedOffset);
            return ZELKLOG_RC_OK;
        }
        // The name now names another file (one renamed over it): that file has not been
        // read, so it is read from its start, header included, not at the old position.
        entry->savedOffset = 0;
    }
    zelkLogOs_seek(&entry->file, 0);

    ZelkLogFileHeader header;
    header.text[0] = '\0';
    uint32_t rc = ReadHeader(entry, &header);
    zelk::read::copyText(entry->headerText, sizeof entry->headerText, header.text, sizeof header.text);
    return rc;
}

ZELKLOG_API uint32_t closelogfile(LogQuery *query)
{
    if (query == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    LogFileEntry *entry = query->currentFile;
    if (entry == nullptr)
        return ZELKLOG_RC_NO_MORE_RECORDS;
    zelkLogOs_close(&entry->file);
    query->currentFile = entry->next;
    // A record still read ahead in the entry goes with it.
    zelkLogFreeMsg(&entry->pending);
    zelkLogFree(entry);
    return ZELKLOG_RC_OK;
}

}  // extern "C"
