// One step of every fetch: read, decode and test the next record of the current file.
#include "src/core/zelkLogCore.h"
#include "src/api/log_path.h"

#include <cstring>

namespace {

constexpr size_t kLogsetNameLength = 136;
constexpr size_t kLogsetScratchLength = 17;

// Files named for a logset give every record the logset's id and name.
void applyLogset(const LogFileEntry &entry, ZelkLogMsg *record)
{
    uint64_t id = 0;
    char name[kLogsetNameLength] = {};
    char scratch[kLogsetScratchLength] = {};
    if (getSLidfromfilename(entry.fileName, &id, name, scratch) == 1) {
        record->productId = id;
        zelk::read::copyText(record->logsetName, sizeof record->logsetName, name, sizeof name);
    }
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t ReadOneRecord(LogQuery *query, ZelkLogMsg *record)
{
    if (query == nullptr || record == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // The raw text lives on the stack: a fetch allocates nothing for it.
    textMessage message;
    init_text_msg(&message);
    std::memset(record, 0, sizeof *record);

    LogFileEntry *entry = query->currentFile;
    bool haveText = false;
    if (!zelkLogOs_isvalidfilehandle(entry == nullptr ? nullptr : &entry->file)) {
        // A file that the merged fetch set aside goes on from the bytes it kept, as long as
        // they hold whole records; only then is it opened again.
        haveText = entry != nullptr && entry->savedOffset != 0 &&
                   zelkLogOs_readAside(&entry->file, &message, &entry->savedOffset) == 1;
        if (!haveText) {
            uint32_t rc = ReadNextLogFile(query);
            if (rc != ZELKLOG_RC_OK)
                return rc;
            entry = query->currentFile;
        }
    }
    if (!haveText && readlog(&entry->file, &message) != 1) {
        closelogfile(query);
        return ZELKLOG_RC_END_OF_FILE;
    }

    record->format = entry->format;
    if (entry->format == ZELKLOG_FORMAT_10008)
        applyLogset(*entry, record);
    if (zelkLogMsgUnserialize(&message, record) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_CORRUPT_RECORD;

    uint32_t rc = IsTrueCondition(record, query) ? ZELKLOG_RC_OK : ZELKLOG_RC_NO_MATCH;
    free_text_msg(&message);
    return rc;
}

}  // extern "C"
