// The merged fetch: every file of the query keeps one matching record read ahead in its
// entry (`pending`, full while its timeMs is non-zero), and each call hands out the
// earliest of them, the entry nearer the head of the list on equal times.  Files that do
// not win are set aside: their descriptor is closed, their position and unread bytes are
// kept, so only one descriptor stays open whatever the number of files, and a file read
// again soon goes on from its kept bytes without being opened.  Nothing is allocated per
// call: the record handed out is the winning entry's own slot.
//
// The pick does not walk the list: a compact bookkeeping beside it (hung from the query's
// reserved word) mirrors the list as numbered slots and keeps the full slots in a binary
// heap ordered by (time, slot number), which is list order; the empty slots that the
// next pick must fill are listed apart, and are filled in list order as the walk over
// the list would.  Should the list have been changed behind the merged fetch's back (the
// plain fetch consumed files), the bookkeeping is built again.  Without memory for it,
// the fetch falls back to walking the list.
#include "src/core/zelkLogCore.h"
#include "src/api/log_path.h"
#include "src/api/merge_state.h"
#include "src/api/record_step.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

const uint32_t kFileUnopenable = ZELKLOG_RC_FILE_UNOPENABLE;
constexpr uint32_t kNone = UINT32_MAX;

inline bool isFull(const LogFileEntry *entry)
{
    return entry->pending.timeMs != 0;
}

// A record whose time was 0 reads as empty but may still own storage; releasing it
// (which clears it whole) makes reading over it leak nothing.
inline void releaseStale(LogFileEntry *entry)
{
    if (entry->pending.marker != 0)
        zelkLogFreeMsg(&entry->pending);
}

// Clears a text of the slot.  Past its end a slot's text is all zero (a cleared slot is
// only ever written by copying a terminated text into it), so clearing up to the end
// clears it whole.
template <size_t N> inline void clearText(char (&text)[N])
{
    if (text[0] != '\0')  // an unused text (the logset name of most files) costs no call
        std::memset(text, 0, strnlen(text, N));
}

// Clears an empty slot before it is read into: a stale record is released; otherwise
// the members are cleared, and of the logset name only what it holds.  The header text
// stays: it is its own file's, which the decoder and the evaluator never read, and it is
// written again when the record is handed out.
inline void clearSlot(LogFileEntry *entry)
{
    if (entry->pending.marker != 0) {
        zelkLogFreeMsg(&entry->pending);
        return;
    }
    ZelkLogMsg *slot = &entry->pending;
    std::memset(slot, 0, offsetof(ZelkLogMsg, fileHeaderText));
    clearText(slot->logsetName);
    slot->kindData = ZelkLogMsgKindData{};
    slot->args = ZelkLogMsgArgList{};
}

// Gives the slot's record its file's header text, as copyText would write it.  Most
// records of a file find it there already, left by the record before.
inline void setHeaderText(LogFileEntry *entry)
{
    char(&target)[sizeof entry->pending.fileHeaderText] = entry->pending.fileHeaderText;
    static_assert(sizeof entry->pending.fileHeaderText == sizeof entry->headerText);
    const size_t length = strnlen(entry->headerText, sizeof target - 1);
    if (target[length] == '\0' && std::memcmp(target, entry->headerText, length) == 0)
        return;
    clearText(target);
    std::memcpy(target, entry->headerText, length);
}

// Reads the entry's next record into its slot, which starts cleared.  Read in place, a
// record that does not match leaves the slot untouched (marker 0, time 0); with `inPlace`
// false it is decoded at once, cheaper when it is likely to match.
inline uint32_t readPending(LogQuery *query, LogFileEntry *entry, bool inPlace = true)
{
    clearSlot(entry);
    return zelk::read::readNextRecord(query, &entry->pending, inPlace);
}

// Closes an entry's descriptor, keeping the position at which reading resumes and the
// bytes read ahead.  A file whose position cannot be told stays open: closing it would
// lose its place.
void setAside(LogFileEntry *entry)
{
    if (!zelkLogOs_isvalidfilehandle(&entry->file))
        return;
    int64_t position = 0;
    if (zelkLogOs_setAside(&entry->file, &position) == 0)
        entry->savedOffset = position;
}

void reportUnopenable(const LogFileEntry &entry)
{
    zelk::read::LogPath path(entry);
    std::fprintf(stderr, "%s does not exists\n", path.text());
}

// ---------------------------------------------------------------------------------------
// The bookkeeping: slots in list order, a heap of the full ones, the empty ones to fill.

struct Slot {
    LogFileEntry *entry;  // null once the file is finished (its entry freed)
    uint32_t previous;    // neighbours in the list
    uint32_t next;
    uint32_t heapIndex;  // kNone: not in the heap
    uint32_t waiting;    // 1 while listed among the slots to fill
};

struct HeapItem {
    int64_t timeMs;
    uint32_t slot;
};

inline bool before(const HeapItem &a, const HeapItem &b)
{
    return a.timeMs < b.timeMs || (a.timeMs == b.timeMs && a.slot < b.slot);
}

struct MergeState {
    LogFileEntry *head;  // the list head as the merged fetch last left it
    uint32_t count;
    uint32_t headSlot;
    uint32_t tailSlot;
    uint32_t openSlot;  // the file left open by the last call (kNone: none)
    uint32_t lastBest;  // the slot handed out by the last call
    uint32_t heapSize;
    uint32_t waitingCount;
    bool settle;  // after a build: any file may be open; set aside all but the winner
    bool dense;   // the last read matched at once: the next one is decoded at once too
    Slot *slots;
    HeapItem *heap;
    uint32_t *waiting;

    void place(uint32_t index, const HeapItem &item)
    {
        heap[index] = item;
        slots[item.slot].heapIndex = index;
    }
    void siftUp(uint32_t index)
    {
        HeapItem item = heap[index];
        while (index > 0) {
            uint32_t parent = (index - 1) / 2;
            if (!before(item, heap[parent]))
                break;
            place(index, heap[parent]);
            index = parent;
        }
        place(index, item);
    }
    void siftDown(uint32_t index)
    {
        HeapItem item = heap[index];
        for (;;) {
            uint32_t child = 2 * index + 1;
            if (child >= heapSize)
                break;
            if (child + 1 < heapSize && before(heap[child + 1], heap[child]))
                ++child;
            if (!before(heap[child], item))
                break;
            place(index, heap[child]);
            index = child;
        }
        place(index, item);
    }
    void heapSet(uint32_t slot, int64_t timeMs)
    {
        uint32_t index = slots[slot].heapIndex;
        if (index == kNone) {
            index = heapSize++;
        } else if (heap[index].timeMs == timeMs) {
            return;
        }
        heap[index] = HeapItem{timeMs, slot};
        slots[slot].heapIndex = index;
        siftUp(index);
        siftDown(slots[slot].heapIndex);
    }
    void heapRemove(uint32_t slot)
    {
        uint32_t index = slots[slot].heapIndex;
        if (index == kNone)
            return;
        slots[slot].heapIndex = kNone;
        if (index == --heapSize)
            return;
        uint32_t moved = heap[heapSize].slot;
        place(index, heap[heapSize]);
        siftUp(index);
        siftDown(slots[moved].heapIndex);
    }
    void addWaiting(uint32_t slot)
    {
        if (slots[slot].waiting == 0) {
            slots[slot].waiting = 1;
            waiting[waitingCount++] = slot;
        }
    }
    // Brings a slot's place in line with its record: in the heap when full; else (the
    // head aside, which the head step fills) among the slots to fill.  An emptied slot
    // keeps its old key in the heap until it is filled again, when the key is replaced
    // in place: a file that wins again and again (rotated files) costs a sift of one or
    // two steps, not a removal and an insertion.  Every read that leaves a slot empty
    // takes it out (`leaveEmpty`); no key is looked at before the slots are filled.
    void update(uint32_t slot)
    {
        const LogFileEntry *entry = slots[slot].entry;
        if (isFull(entry)) {
            heapSet(slot, entry->pending.timeMs);
            return;
        }
        if (slot != headSlot)
            addWaiting(slot);
    }
    // A slot that a read leaves empty (its next read is due in a later call).
    void leaveEmpty(uint32_t slot, uint32_t *kept)
    {
        heapRemove(slot);
        slots[slot].waiting = 1;
        waiting[(*kept)++] = slot;
    }
    // The slot's file is finished and its entry freed.
    void drop(uint32_t slot)
    {
        Slot &s = slots[slot];
        heapRemove(slot);
        s.entry = nullptr;
        if (s.previous != kNone)
            slots[s.previous].next = s.next;
        else
            headSlot = s.next;
        if (s.next != kNone)
            slots[s.next].previous = s.previous;
        else
            tailSlot = s.previous;
        if (openSlot == slot)
            openSlot = kNone;
        if (lastBest == slot)
            lastBest = kNone;
    }
};

MergeState *buildState(LogQuery *query)
{
    uint64_t count = 0;
    for (const LogFileEntry *entry = query->currentFile; entry != nullptr; entry = entry->next)
        ++count;
    if (count == 0 || count >= kNone)
        return nullptr;
    size_t slotsAt = (sizeof(MergeState) + 7) & ~size_t(7);
    size_t heapAt = slotsAt + count * sizeof(Slot);
    size_t waitingAt = heapAt + count * sizeof(HeapItem);
    auto *block = static_cast<unsigned char *>(zelkLogMalloc(waitingAt + count * sizeof(uint32_t)));
    if (block == nullptr)
        return nullptr;
    auto *state = reinterpret_cast<MergeState *>(block);
    *state = MergeState{};
    state->slots = reinterpret_cast<Slot *>(block + slotsAt);
    state->heap = reinterpret_cast<HeapItem *>(block + heapAt);
    state->waiting = reinterpret_cast<uint32_t *>(block + waitingAt);
    state->count = uint32_t(count);
    state->head = query->currentFile;
    state->headSlot = 0;
    state->tailSlot = uint32_t(count - 1);
    state->openSlot = kNone;
    state->lastBest = kNone;
    state->settle = true;
    uint32_t index = 0;
    for (LogFileEntry *entry = query->currentFile; entry != nullptr; entry = entry->next, ++index) {
        state->slots[index] =
            Slot{entry, index == 0 ? kNone : index - 1, index + 1 == count ? kNone : index + 1, kNone, 0};
        state->update(index);
    }
    return state;
}

// The bookkeeping of the query, built (again) when it does not match the list.
MergeState *mergeState(LogQuery *query)
{
    auto *state = static_cast<MergeState *>(query->reserved);
    if (state != nullptr && (state->head != query->currentFile || state->tailSlot == kNone ||
                             state->slots[state->tailSlot].entry->next != nullptr)) {
        zelkLogFree(state);
        state = nullptr;
    }
    if (state == nullptr)
        state = buildState(query);
    query->reserved = state;
    return state;
}

// Makes the list head hold a matching record.  Returns the last read's code (0 when the
// head was already full) and, in `head`, the entry it stopped on.
uint32_t primeHead(LogQuery *query, MergeState &state, LogFileEntry **head)
{
    uint32_t rc = ZELKLOG_RC_OK;
    uint32_t slot = state.headSlot;
    bool firstRead = true;
    while (slot != kNone && !isFull(state.slots[slot].entry)) {
        LogFileEntry *entry = state.slots[slot].entry;
        query->currentFile = entry;
        const uint32_t before = rc;
        rc = readPending(query, entry, !(firstRead && state.dense));
        state.dense = firstRead && rc == ZELKLOG_RC_OK;
        firstRead = false;
        switch (rc) {
        case ZELKLOG_RC_OK:
            state.update(slot);
            *head = entry;
            return rc;
        case ZELKLOG_RC_CORRUPT_RECORD:  // the head stays empty; the caller reads on
            zelkLogFreeMsg(&entry->pending);
            *head = entry;
            return rc;
        case zelk::read::kRcNoLogFile:  // dropped unseen: as if never listed, no read
            rc = before;
            [[fallthrough]];
        case ZELKLOG_RC_END_OF_FILE: {  // finished: closed and freed by the read
            uint32_t next = state.slots[slot].next;
            state.drop(slot);
            slot = next;
            break;
        }
        case ZELKLOG_RC_FAILURE: {  // cannot be opened: dropped
            uint32_t next = state.slots[slot].next;
            closelogfile(query);
            state.drop(slot);
            slot = next;
            break;
        }
        case ZELKLOG_RC_NO_MORE_RECORDS:
            *head = nullptr;
            return rc;
        case ZELKLOG_RC_NO_MATCH:
            releaseStale(entry);
            break;
        case ZELKLOG_RC_HEADER_NOTICE:
            query->headerNotice = 1;
            break;
        default:  // other header codes: the file is open, its records follow
            break;
        }
    }
    *head = slot == kNone ? nullptr : state.slots[slot].entry;
    return rc;
}

// Fills one empty slot after the head.  Returns the code of its last read (1 reported as
// -8 with the message); the slot ends full (in the heap), still empty (listed again in
// `kept`), or finished and unlinked.  kRcNoLogFile: the file was no log file and is
// unlinked; that counts as no read.
uint32_t fillSlot(LogQuery *query, MergeState &state, uint32_t slot, uint32_t *kept)
{
    LogFileEntry *entry = state.slots[slot].entry;
    bool firstRead = true;
    for (;;) {
        query->currentFile = entry;
        uint32_t rc = readPending(query, entry, !(firstRead && state.dense));
        state.dense = firstRead && rc == ZELKLOG_RC_OK;
        firstRead = false;
        switch (rc) {
        case ZELKLOG_RC_OK:
            if (isFull(entry))
                state.heapSet(slot, entry->pending.timeMs);
            else  // a time of 0 reads as empty: read over by the next pick
                state.leaveEmpty(slot, kept);
            return rc;
        case zelk::read::kRcNoLogFile:
        case ZELKLOG_RC_END_OF_FILE:  // closed and freed by the read
            state.slots[state.slots[slot].previous].entry->next = query->currentFile;
            state.drop(slot);
            return rc;
        case ZELKLOG_RC_NO_MATCH:  // skipped in place: the slot is still clear
            releaseStale(entry);
            break;
        case ZELKLOG_RC_CORRUPT_RECORD:
            zelkLogFreeMsg(&entry->pending);
            break;
        case ZELKLOG_RC_HEADER_NOTICE:
            query->headerNotice = 1;
            break;
        case ZELKLOG_RC_FAILURE:  // stays in the list, empty, and is tried by every pick
            reportUnopenable(*entry);
            state.leaveEmpty(slot, kept);
            return kFileUnopenable;
        default:
            break;
        }
    }
}

// Fills the empty slots after the head in list order and picks the earliest record, the
// head's included.  Returns the code of the last read the pick made (0 when none) and
// the winner in `*best`; every other file it finds open is set aside.
uint32_t mergePick(LogQuery *query, MergeState &state, LogFileEntry *first, LogFileEntry **best)
{
    uint32_t passCode = ZELKLOG_RC_OK;
    uint32_t candidateOpen = kNone;  // a file read by this pick, open, and at the heap's top
    if (state.waitingCount > 1)      // mostly one: the slot handed out last
        std::sort(state.waiting, state.waiting + state.waitingCount);
    uint32_t kept = 0;
    const uint32_t count = state.waitingCount;
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t slot = state.waiting[i];
        state.slots[slot].waiting = 0;
        if (state.slots[slot].entry == nullptr || slot == state.headSlot)
            continue;
        if (uint32_t rc = fillSlot(query, state, slot, &kept); rc != zelk::read::kRcNoLogFile)
            passCode = rc;
        const LogFileEntry *entry = state.slots[slot].entry;
        if (entry == nullptr || !zelkLogOs_isvalidfilehandle(&entry->file))
            continue;
        // Only the heap's top can still win: any other file read here is set aside now.
        if (state.heapSize > 0 && state.heap[0].slot == slot) {
            if (candidateOpen != kNone && state.slots[candidateOpen].entry != nullptr)
                setAside(state.slots[candidateOpen].entry);
            candidateOpen = slot;
        } else {
            setAside(state.slots[slot].entry);
        }
    }
    state.waitingCount = kept;

    uint32_t bestSlot = state.headSlot;
    if (state.heapSize > 0 && state.heap[0].slot != state.headSlot &&
        state.heap[0].timeMs < first->pending.timeMs)
        bestSlot = state.heap[0].slot;
    *best = state.slots[bestSlot].entry;

    for (uint32_t slot : {candidateOpen, state.openSlot, state.headSlot})
        if (slot != kNone && slot != bestSlot && state.slots[slot].entry != nullptr)
            setAside(state.slots[slot].entry);
    if (state.settle) {
        for (uint32_t slot = state.headSlot; slot != kNone; slot = state.slots[slot].next)
            if (slot != bestSlot)
                setAside(state.slots[slot].entry);
        state.settle = false;
    }
    state.openSlot = zelkLogOs_isvalidfilehandle(&(*best)->file) ? bestSlot : kNone;
    state.lastBest = bestSlot;
    return passCode;
}

// ---------------------------------------------------------------------------------------
// Without memory for the bookkeeping: the same pass, walking the list.

uint32_t primeHeadByList(LogQuery *query, LogFileEntry **head)
{
    uint32_t rc = ZELKLOG_RC_OK;
    LogFileEntry *entry = query->currentFile;
    while (entry != nullptr && !isFull(entry)) {
        query->currentFile = entry;
        const uint32_t before = rc;
        rc = readPending(query, entry);
        switch (rc) {
        case ZELKLOG_RC_OK:
            *head = entry;
            return rc;
        case ZELKLOG_RC_CORRUPT_RECORD:
            zelkLogFreeMsg(&entry->pending);
            *head = entry;
            return rc;
        case zelk::read::kRcNoLogFile:
            rc = before;
            entry = query->currentFile;
            break;
        case ZELKLOG_RC_END_OF_FILE:
            entry = query->currentFile;
            break;
        case ZELKLOG_RC_FAILURE:
            closelogfile(query);
            entry = query->currentFile;
            break;
        case ZELKLOG_RC_NO_MORE_RECORDS:
            entry = nullptr;
            break;
        case ZELKLOG_RC_NO_MATCH:
            releaseStale(entry);
            break;
        case ZELKLOG_RC_HEADER_NOTICE:
            query->headerNotice = 1;
            break;
        default:
            break;
        }
    }
    *head = entry;
    return rc;
}

LogFileEntry *fillSlotByList(LogQuery *query, LogFileEntry *previous, LogFileEntry *entry, uint32_t *passCode)
{
    for (;;) {
        LogFileEntry *successor = entry->next;
        query->currentFile = entry;
        const uint32_t before = *passCode;
        uint32_t rc = readPending(query, entry);
        *passCode = rc;
        switch (rc) {
        case ZELKLOG_RC_OK:
            return entry;
        case zelk::read::kRcNoLogFile:  // dropped unseen: no read
        case ZELKLOG_RC_END_OF_FILE:
            if (rc == zelk::read::kRcNoLogFile)
                *passCode = before;
            previous->next = successor;
            entry = successor;
            if (entry == nullptr || isFull(entry))
                return entry;
            break;
        case ZELKLOG_RC_NO_MATCH:  // skipped in place: the slot is still clear
            releaseStale(entry);
            break;
        case ZELKLOG_RC_CORRUPT_RECORD:
            zelkLogFreeMsg(&entry->pending);
            break;
        case ZELKLOG_RC_HEADER_NOTICE:
            query->headerNotice = 1;
            break;
        case ZELKLOG_RC_FAILURE:
            *passCode = kFileUnopenable;
            reportUnopenable(*entry);
            return entry;
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

uint32_t mergePickByList(LogQuery *query, LogFileEntry **best, int64_t timeToBeat)
{
    uint32_t passCode = ZELKLOG_RC_OK;
    LogFileEntry *previous = *best;
    LogFileEntry *entry = previous->next;
    while (entry != nullptr) {
        if (!isFull(entry)) {
            entry = fillSlotByList(query, previous, entry, &passCode);
            if (entry == nullptr)
                break;
        }
        if (isFull(entry)) {
            if (entry->pending.timeMs < timeToBeat) {
                setAside(*best);
                *best = entry;
                timeToBeat = entry->pending.timeMs;
            } else {
                setAside(entry);
            }
        }
        previous = entry;
        entry = entry->next;
    }
    return passCode;
}

}  // namespace

namespace zelk::read {

void releaseMergeState(LogQuery *query)
{
    if (query->reserved != nullptr)
        zelkLogFree(query->reserved);
    query->reserved = nullptr;
}

}  // namespace zelk::read

extern "C" {

ZELKLOG_API uint32_t zelkLogFetchNextSortedEntry(LogQuery *query, ZelkLogMsg **out)
{
    if (query == nullptr || query->root == nullptr || out == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    if (query->currentFile == nullptr)
        return ZELKLOG_RC_NO_MORE_RECORDS;

    LogFileEntry *first = nullptr;
    LogFileEntry *best = nullptr;
    uint32_t rc;
    if (MergeState *state = mergeState(query)) {
        // The record handed out last time: released since (its slot is empty) or not.
        if (state->lastBest != kNone)
            state->update(state->lastBest);
        rc = primeHead(query, *state, &first);
        if (rc == ZELKLOG_RC_OK && first != nullptr)
            rc = mergePick(query, *state, first, &best);
        if (first != nullptr)
            query->currentFile = first;
        state->head = query->currentFile;
    } else {
        rc = primeHeadByList(query, &first);
        if (rc == ZELKLOG_RC_OK && first != nullptr) {
            best = first;
            rc = mergePickByList(query, &best, first->pending.timeMs);
            query->currentFile = first;
        }
    }
    if (best != nullptr) {
        assert(onlyWinnerOpen(query->currentFile, best));
        *out = &best->pending;
        setHeaderText(best);
    }
    if (query->currentFile == nullptr)
        return ZELKLOG_RC_NO_MORE_RECORDS;
    return rc;
}

}  // extern "C"
