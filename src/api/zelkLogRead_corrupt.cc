// The corrupt-record report: every record of every file of a query that does not decode
// is printed on standard output with where it was found and the decoder's code.
//
// Each file is read through a scratch copy of its entry with a handle of its own, so a
// query whose files are already open (or partly fetched) keeps its descriptors and read
// positions untouched, and nothing is left open by the report.
#include "src/core/zelkLogCore.h"
#include "src/api/log_path.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kRecordTextLength = 4096;

struct ReportScratch {
    LogFileEntry entry;
    ZelkLogFileHeader header;
    textMessage message;
    ZelkLogMsg record;
    char textCopy[kRecordTextLength];
};

void printCorrupt(const LogFileEntry &entry, int recordNumber, uint32_t rc, const char *text)
{
    std::printf("\nLog Directory: %s\n", entry.logDirectory);
    std::printf("File Name: %s\n", entry.fileName);
    std::printf("Record Number: %d\n", recordNumber);
    std::printf("Error Code: %d\n", static_cast<int>(rc));
    std::printf("Record Contents:\n%s\n", text);
}

// Reports the corrupt records of one file; returns how many it found.
int reportFile(const LogFileEntry &source, ReportScratch &scratch)
{
    LogFileEntry &entry = scratch.entry;
    std::memset(&entry, 0, sizeof entry);
    entry.format = source.format;
    entry.file.fd = -1;
    zelk::read::copyText(entry.logDirectory, sizeof entry.logDirectory, source.logDirectory,
                         sizeof source.logDirectory);
    zelk::read::copyText(entry.fileName, sizeof entry.fileName, source.fileName, sizeof source.fileName);

    zelk::read::LogPath path(entry);
    if (zelkLogOs_open(&entry.file, path.text(), 1, 0660) == ZELKLOG_RC_OK)
        entry.file.readerState = -1;
    uint32_t headerCode = ReadHeader(&entry, &scratch.header);
    if (!zelkLogOs_isvalidfilehandle(&entry.file))
        return 0;
    if (entry.format == 0) {
        // Not opened since it was listed: its header decides whether it is a log file.
        if (headerCode != ZELKLOG_RC_OK && headerCode != ZELKLOG_RC_HEADER_NOTICE) {
            zelkLogOs_close(&entry.file);
            return 0;
        }
        entry.format = scratch.header.format;
    }

    int corrupt = 0;
    init_text_msg(&scratch.message);
    int recordNumber = 1;
    while (readlog(&entry.file, &scratch.message) == 1) {
        ++recordNumber;
        const char *text = scratch.message.text != nullptr ? scratch.message.text : scratch.message.buffer;
        zelk::read::copyText(scratch.textCopy, sizeof scratch.textCopy, text, kRecordTextLength);
        std::memset(&scratch.record, 0, sizeof scratch.record);
        scratch.record.format = entry.format;
        uint32_t rc = zelkLogMsgUnserialize(&scratch.message, &scratch.record);
        if (rc == ZELKLOG_RC_OK) {
            free_text_msg(&scratch.message);
        } else {
            ++corrupt;
            printCorrupt(entry, recordNumber, rc, scratch.textCopy);
        }
        zelkLogFreeMsg(&scratch.record);
        init_text_msg(&scratch.message);
    }
    zelkLogOs_close(&entry.file);
    return corrupt;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t zelkLogShowCorruptLogRecords(LogQuery *query)
{
    if (query == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // About 40 KiB of scratch: kept off the stack, released before returning.
    auto *scratch = static_cast<ReportScratch *>(std::calloc(1, sizeof(ReportScratch)));
    if (scratch == nullptr)
        return ZELKLOG_RC_NO_MEMORY;
    int corrupt = 0;
    for (const LogFileEntry *entry = query->currentFile; entry != nullptr; entry = entry->next)
        corrupt += reportFile(*entry, *scratch);
    std::free(scratch);

    if (corrupt > 0)
        std::printf("\n%d corrupt records found.\n", corrupt);
    else
        std::printf("No corrupt records found.\n");
    std::fflush(stdout);
    return ZELKLOG_RC_OK;
}

}  // extern "C"
