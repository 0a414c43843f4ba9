// The merged fetch: every file of the query keeps one matching record read ahead in its
// entry (`pending`, full while its timeMs is non-zero), and each call hands out the
// earliest of them.  Files that do not win are closed with their position saved, so
// only one descriptor stays open whatever the number of files, and nothing is
// allocated per call: the record handed out is the winning entry's own slot.
#include "src/core/zelkLogCore.h"
#include "src/api/log_path.h"

#include <cassert>
#include <cstdio>

namespace {

const uint32_t kFileUnopenable = ZELKLOG_RC_FILE_UNOPENABLE;

inline bool isFull(const LogFileEntry *entry)
{
    return entry->pending.timeMs != 0;
}

// Before a read into an empty slot: a record whose time was 0 reads as empty but may
// still own storage; release it so that reading over it leaks nothing.
inline void releaseStale(LogFileEntry *entry)
{
    if (entry->pending.marker != 0)
        zelkLogFreeMsg(&entry->pending);
}

// Closes an entry's file, keeping the position at which reading resumes.  A file whose
// position cannot be told stays open: closing it would lose its place.
void closeKeepingPosition(LogFileEntry *entry)
{
    if (!zelkLogOs_isvalidfilehandle(&entry->file))
        return;
    int64_t position = zelkLogOs_getFileOffset(&entry->file);
    if (position < 0)
        return;
    entry->savedOffset = position;
    zelkLogOs_close(&entry->file);
}

// Makes the list head hold a matching record.  Returns the last read's code (0 when the
// head was already full) and, in `head`, the entry it stopped on.
uint32_t primeHead(LogQuery *query, LogFileEntry **head)
{
    uint32_t rc = ZELKLOG_RC_OK;
    LogFileEntry *entry = query->currentFile;
    while (entry != nullptr && !isFull(entry)) {
        query->currentFile = entry;
        releaseStale(entry);
        rc = ReadOneRecord(query, &entry->pending);
        switch (rc) {
        case ZELKLOG_RC_OK:
            *head = entry;
            return rc;
        case ZELKLOG_RC_CORRUPT_RECORD:  // the head stays empty; the caller reads on
            zelkLogFreeMsg(&entry->pending);
            *head = entry;
            return rc;
        case ZELKLOG_RC_END_OF_FILE:  // finished: closed and freed by the read
            entry = query->currentFile;
            break;
        case ZELKLOG_RC_FAILURE:  // cannot be opened: dropped
            closelogfile(query);
            entry = query->currentFile;
            break;
        case ZELKLOG_RC_NO_MORE_RECORDS:
            entry = nullptr;
            break;
        case ZELKLOG_RC_NO_MATCH:
            zelkLogFreeMsg(&entry->pending);
            break;
        case ZELKLOG_RC_HEADER_NOTICE:
            query->headerNotice = 1;
            break;
        default:  // other header codes: the file is open, its records follow
            break;
        }
    }
    *head = entry;
    return rc;
}

// Fills the empty slot of `entry` (a successor of `previous`).  Finished files are unlinked
// on the way; returns the entry to compare next (null at the end of the list) and updates
// the pass's code with every read.
LogFileEntry *fillSlot(LogQuery *query, LogFileEntry *previous, LogFileEntry *entry, uint32_t *passCode)
{
    for (;;) {
        LogFileEntry *successor = entry->next;
        query->currentFile = entry;
        releaseStale(entry);
        uint32_t rc = ReadOneRecord(query, &entry->pending);
        *passCode = rc;
        switch (rc) {
        case ZELKLOG_RC_OK:
            return entry;
        case ZELKLOG_RC_END_OF_FILE:
            previous->next = successor;
            entry = successor;
            if (entry == nullptr || isFull(entry))
                return entry;
            break;
        case ZELKLOG_RC_NO_MATCH:
        case ZELKLOG_RC_CORRUPT_RECORD:
            zelkLogFreeMsg(&entry->pending);
            break;
        case ZELKLOG_RC_HEADER_NOTICE:
            query->headerNotice = 1;
            break;
        case ZELKLOG_RC_FAILURE: {
            *passCode = kFileUnopenable;
            zelk::read::LogPath path(*entry);
            std::fprintf(stderr, "%s does not exists\n", path.text());
            return entry;
        }
        default:
            break;
        }
    }
}

#ifndef NDEBUG
// After a merged pass the winner is the only open file, apart from files whose position
// could not be told (closeKeepingPosition leaves those open).
bool onlyWinnerOpen(LogFileEntry *head, const LogFileEntry *winner)
{
    for (LogFileEntry *entry = head; entry != nullptr; entry = entry->next) {
        if (entry != winner && zelkLogOs_isvalidfilehandle(&entry->file) &&
            zelkLogOs_getFileOffset(&entry->file) >= 0)
            return false;
    }
    return true;
}
#endif

// Walks the entries after `*best`, filling empty slots, and leaves in `*best` the entry
// whose record is the earliest (the nearer to the head on equal times).  Returns the code
// of the last read the pass made, 0 when it made none.
uint32_t mergePick(LogQuery *query, LogFileEntry **best, int64_t timeToBeat)
{
    uint32_t passCode = ZELKLOG_RC_OK;
    LogFileEntry *previous = *best;
    LogFileEntry *entry = previous->next;
    while (entry != nullptr) {
        if (!isFull(entry)) {
            entry = fillSlot(query, previous, entry, &passCode);
            if (entry == nullptr)
                break;
        }
        if (isFull(entry)) {
            if (entry->pending.timeMs < timeToBeat) {
                closeKeepingPosition(*best);
                *best = entry;
                timeToBeat = entry->pending.timeMs;
            } else {
                closeKeepingPosition(entry);
            }
        }
        previous = entry;
        entry = entry->next;
    }
    return passCode;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t zelkLogFetchNextSortedEntry(LogQuery *query, ZelkLogMsg **out)
{
    if (query == nullptr || query->root == nullptr || out == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    if (query->currentFile == nullptr)
        return ZELKLOG_RC_NO_MORE_RECORDS;

    LogFileEntry *first = nullptr;
    uint32_t rc = primeHead(query, &first);
    if (rc == ZELKLOG_RC_OK && first != nullptr) {
        LogFileEntry *best = first;
        rc = mergePick(query, &best, first->pending.timeMs);
        assert(onlyWinnerOpen(first, best));
        query->currentFile = first;
        *out = &best->pending;
        zelk::read::copyText(best->pending.fileHeaderText, sizeof best->pending.fileHeaderText,
                             best->headerText, sizeof best->headerText);
    }
    if (query->currentFile == nullptr)
        return ZELKLOG_RC_NO_MORE_RECORDS;
    return rc;
}

}  // extern "C"
