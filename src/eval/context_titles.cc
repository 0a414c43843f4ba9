// The query's table of context titles: every context record (kind 3) met while fetching
// leaves its token and formatted text here, so that formatting can show a context's
// title for records that carry only its token.  The first title of a context stays.
#include "src/core/zelkLogCore.h"

namespace {

constexpr uint32_t kMaxTitleLength = 1024;

// The record's text as formatting renders it (message text only), or null.
char *formatTitle(LogQuery *query, const ZelkLogMsg *record)
{
    char *text = nullptr;
    LogFormatMessage(&query->localizers, query->contextTitles, nullptr, 0, kMaxTitleLength,
                     query->formatResource, record, 0, &text);
    return text;
}

}  // namespace

extern "C" {

ZELKLOG_API void UpdateContextTitleLink(LogQuery *query, ZelkLogMsg *record)
{
    if (query == nullptr || record == nullptr || record->kind != ZELKLOG_MSG_CTX)
        return;
    const char *token = nullptr;
    zelkLogGetMsgContextAttrToken(record, &token);
    char *firstText = formatTitle(query, record);
    if (token != nullptr &&
        SearchContextTitleInList(record, firstText, token, query->contextTitles) == nullptr) {
        char *title = formatTitle(query, record);
        if (title != nullptr) {
            auto *entry = static_cast<ContextTitleEntry *>(zelkLogMalloc(sizeof(ContextTitleEntry)));
            if (entry != nullptr) {
                uint32_t bucket = HashString(token, ZELKLOG_CONTEXT_BUCKETS) % ZELKLOG_CONTEXT_BUCKETS;
                entry->productId = record->productId;
                entry->originatorId = record->originatorId;
                entry->token = zelkLogSafeStrdup(token);
                entry->title = zelkLogSafeStrdup(title);
                if (entry->token == nullptr || entry->title == nullptr) {
                    // Without memory the context is not entered; its next record tries again.
                    zelkLogFree(entry->token);
                    zelkLogFree(entry->title);
                    zelkLogFree(entry);
                } else {
                    entry->next = query->contextTitles[bucket];
                    query->contextTitles[bucket] = entry;
                }
            }
            zelkLogFree(title);
        }
    }
    if (firstText != nullptr)
        zelkLogFree(firstText);
}

ZELKLOG_API void removeContextHashTable(ContextTitleEntry **table)
{
    if (table == nullptr)
        return;
    for (int bucket = 0; bucket < ZELKLOG_CONTEXT_BUCKETS; ++bucket) {
        ContextTitleEntry *entry = table[bucket];
        while (entry != nullptr) {
            ContextTitleEntry *next = entry->next;
            if (entry->title != nullptr)
                zelkLogFree(entry->title);
            if (entry->token != nullptr)
                zelkLogFree(entry->token);
            zelkLogFree(entry);
            entry = next;
        }
        table[bucket] = nullptr;
    }
}

}  // extern "C"
