// Opening, reading and dropping the query's current log file.
#include "src/core/zelkLogCore.h"
#include "src/api/log_path.h"

namespace {

// The listing opens no file: at a file's first open (its format still 0) the header
// decides.  One that is not valid shows the file to be no log file, and it is closed
// again (false); otherwise the entry takes the header's format.
bool acceptFirstHeader(LogFileEntry *entry, const ZelkLogFileHeader &header, uint32_t rc)
{
    if (entry->format != 0)
        return true;
    if (rc != ZELKLOG_RC_OK && rc != ZELKLOG_RC_HEADER_NOTICE) {
        zelkLogOs_close(&entry->file);
        return false;
    }
    entry->format = header.format;
    return true;
}

}  // namespace

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
    ZelkLogFileHeader header;
    header.text[0] = '\0';
    if (entry->savedOffset != 0) {
        if (zelkLogIsSameLogFile(entry)) {
            // A position given before the file was ever opened (a resumed reading): the
            // header is still checked, once, and its format taken; the reading goes on at
            // the position.
            if (entry->format == 0 && !acceptFirstHeader(entry, header, ReadHeader(entry, &header)))
                return zelk::read::kRcNoLogFile;
            zelkLogOs_seek(&entry->file, entry->savedOffset);
            return ZELKLOG_RC_OK;
        }
        // The name now names another file (one renamed over it): that file has not been
        // read, so it is read from its start, header included, not at the old position.
        entry->savedOffset = 0;
    }
    zelkLogOs_seek(&entry->file, 0);

    uint32_t rc = ReadHeader(entry, &header);
    if (!acceptFirstHeader(entry, header, rc))
        return zelk::read::kRcNoLogFile;
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
