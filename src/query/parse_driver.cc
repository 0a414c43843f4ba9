// parseQueryString: one parse of a filter text into a query tree, under the process-wide
// parse lock (the scanner and the parser are single global instances).
#include "src/query/query_internal.h"
#include "src/core/zelkLogCore.h"

namespace {

constexpr const char *kParseLock = "parseQueryString()";

// Holds the common lock for the lifetime of the object, so every path releases it.
class ParseLock {
public:
    ParseLock() { zelkLockCommon(kParseLock); }
    ~ParseLock() { zelkUnlockCommon(kParseLock); }
    ParseLock(const ParseLock &) = delete;
    ParseLock &operator=(const ParseLock &) = delete;
};

uint32_t parseLocked(const char *queryText, const char *locale, QueryNode **rootOut)
{
    QueryParseContext context{};
    if (locale != nullptr && (context.locale = zelkLogSafeStrdup(locale)) == nullptr)
        return ZELKLOG_RC_NO_MEMORY;
    if (yysetbuffer(queryText) == 0) {
        zelkLogFree(context.locale);
        return ZELKLOG_RC_NO_MEMORY;
    }
    int rc = 0;
    do {
        // A parse that ends before the text does would leave its tree behind otherwise.
        removeTree(context.resultTree);
        context.resultTree = nullptr;
        rc = yyparse(&context);
    } while (rc == ZELKLOG_RC_OK && yyiseob() == 0);
    yyunsetbuffer();
    zelkLogFree(context.locale);

    QueryNode *root = context.resultTree;
    if (rc != ZELKLOG_RC_OK) {
        removeTree(root);
        return static_cast<uint32_t>(rc);
    }
    if (root == nullptr)
        return ZELKLOG_RC_FAILURE;
    if (isterm(root->kind)) {
        removeTree(root);
        return ZELKLOG_RC_NO_OPERATOR;
    }
    *rootOut = root;
    return ZELKLOG_RC_OK;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t parseQueryString(const char *queryText, const char *locale, QueryNode **rootOut)
{
    if (rootOut == nullptr || queryText == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    ParseLock lock;
    return parseLocked(queryText, locale, rootOut);
}

}  // extern "C"
