// One step of every fetch: read, decode and test the next record of the current file.
#include "src/api/record_step.h"

#include "src/core/zelkLogCore.h"
#include "src/api/log_path.h"
#include "src/message/in_place.h"

#include <cstddef>
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

// Opens the current file when needed and reads one record's text into `message`.  0 with
// the entry read from, 24 when the file has ended (it is closed), or the opening's code;
// a file that proves to be no log file is closed and freed like an ended one.
uint32_t readText(LogQuery *query, textMessage *message, LogFileEntry **entry)
{
    LogFileEntry *current = query->currentFile;
    bool haveText = false;
    if (!zelkLogOs_isvalidfilehandle(current == nullptr ? nullptr : &current->file)) {
        // A file that the merged fetch set aside goes on from the bytes it kept, as long as
        // they hold whole records; only then is it opened again.
        haveText = current != nullptr && current->savedOffset != 0 &&
                   zelkLogOs_readAside(&current->file, message, &current->savedOffset) == 1;
        if (!haveText) {
            uint32_t rc = ReadNextLogFile(query);
            if (rc == zelk::read::kRcNoLogFile)
                closelogfile(query);
            if (rc != ZELKLOG_RC_OK)
                return rc;
            current = query->currentFile;
        }
    }
    *entry = current;
    if (!haveText && readlog(&current->file, message) != 1) {
        closelogfile(query);
        return ZELKLOG_RC_END_OF_FILE;
    }
    return ZELKLOG_RC_OK;
}

// Decodes the text into the cleared `record` and tests it.
uint32_t decodeAndTest(LogQuery *query, const LogFileEntry &entry, textMessage *message, ZelkLogMsg *record)
{
    record->format = entry.format;
    if (entry.format == ZELKLOG_FORMAT_10008)
        applyLogset(entry, record);
    if (zelkLogMsgUnserialize(message, record) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_CORRUPT_RECORD;  // the decoder has released the text

    uint32_t rc = IsTrueCondition(record, query) ? ZELKLOG_RC_OK : ZELKLOG_RC_NO_MATCH;
    free_text_msg(message);
    return rc;
}

// A record view for the in-place reading: every member that the decoder may set or the
// evaluator reads starts as in a cleared record; the header and logset texts stay unset
// (nothing reads them).
void prepareView(const LogFileEntry &entry, ZelkLogMsg *view)
{
    std::memset(view, 0, offsetof(ZelkLogMsg, fileHeaderText));
    view->kindData = ZelkLogMsgKindData{};
    view->args = ZelkLogMsgArgList{};
    view->format = entry.format;
    if (entry.format == ZELKLOG_FORMAT_10008)
        applyLogset(entry, view);
}

}  // namespace

namespace zelk::read {

uint32_t readNextRecord(LogQuery *query, ZelkLogMsg *record, bool inPlace)
{
    if (query == nullptr || record == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    textMessage message;
    init_text_msg(&message);
    LogFileEntry *entry = nullptr;
    if (uint32_t rc = readText(query, &message, &entry); rc != ZELKLOG_RC_OK)
        return rc;

    if (!inPlace)
        return decodeAndTest(query, *entry, &message, record);
    ZelkLogMsg view;
    prepareView(*entry, &view);
    zelk::message::InPlaceStrings strings;
    bool readable = zelk::message::readInPlaceQuick(&message, &view, &strings);
    if (!readable) {
        prepareView(*entry, &view);
        readable = zelk::message::readInPlace(&message, &view, &strings) == ZELKLOG_RC_OK;
    }
    if (readable && view.kind != ZELKLOG_MSG_CTX) {
        // The view carries every value the evaluator reads, so its verdict is the record's.
        const bool matches = IsTrueCondition(&view, query) != 0;
        strings.restore();
        if (!matches) {
            free_text_msg(&message);
            return ZELKLOG_RC_NO_MATCH;
        }
        record->format = entry->format;
        if (entry->format == ZELKLOG_FORMAT_10008)
            applyLogset(*entry, record);
        if (zelkLogMsgUnserialize(&message, record) != ZELKLOG_RC_OK)
            return ZELKLOG_RC_CORRUPT_RECORD;  // only for want of memory
        free_text_msg(&message);
        return ZELKLOG_RC_OK;
    }
    strings.restore();  // a context record read in place is read again, whole
    return decodeAndTest(query, *entry, &message, record);
}

}  // namespace zelk::read

extern "C" {

ZELKLOG_API uint32_t ReadOneRecord(LogQuery *query, ZelkLogMsg *record)
{
    if (query == nullptr || record == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // The raw text lives on the stack: a fetch allocates nothing for it.
    textMessage message;
    init_text_msg(&message);
    std::memset(record, 0, sizeof *record);
    LogFileEntry *entry = nullptr;
    if (uint32_t rc = readText(query, &message, &entry); rc != ZELKLOG_RC_OK)
        return rc;
    return decodeAndTest(query, *entry, &message, record);
}

}  // extern "C"
