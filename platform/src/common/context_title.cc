// Context titles: the hash of a token, the search of a query's title table, and the
// token of a record.
//
// A context is identified by its token alone: components of different products and
// originators that log under the same token share one context and one title.
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace {

constexpr uint32_t kTitleBuckets = ZELKLOG_CONTEXT_BUCKETS;

}  // namespace

extern "C" {

// 32-bit FNV-1a over the bytes of the text, reduced to 0..buckets-1 (0 for no buckets).
ZELKLOG_API uint32_t HashString(const char *text, uint32_t buckets)
{
    if (text == nullptr || buckets == 0)
        return 0;
    uint32_t hash = 2166136261u;
    for (const unsigned char *byte = reinterpret_cast<const unsigned char *>(text); *byte != 0; ++byte) {
        hash ^= *byte;
        hash *= 16777619u;
    }
    return hash % buckets;
}

// The entry of `token` in a table of ZELKLOG_CONTEXT_BUCKETS chains, or null.  `record`
// and `text` do not take part in the match.
ZELKLOG_API ContextTitleEntry *SearchContextTitleInList(const ZelkLogMsg *record, const char *text,
                                                        const char *token, ContextTitleEntry **contextTitles)
{
    (void)record;
    (void)text;
    if (token == nullptr || contextTitles == nullptr)
        return nullptr;
    for (ContextTitleEntry *entry = contextTitles[HashString(token, kTitleBuckets)]; entry != nullptr;
         entry = entry->next) {
        if (entry->token != nullptr && std::strcmp(entry->token, token) == 0)
            return entry;
    }
    return nullptr;
}

ZELKLOG_API void zelkLogGetMsgContextAttrToken(const ZelkLogMsg *record, const char **token)
{
    if (token == nullptr)
        return;
    *token = record == nullptr ? nullptr : record->contextToken;
}

}  // extern "C"
