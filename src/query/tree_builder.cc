// Tree building for the grammar's actions: leaves, checked comparisons, BETWEEN ranges,
// and the count of operator nodes that bounds a tree.
#include "src/query/tree_builder.h"

#include "src/query/query_internal.h"
#include "src/core/zelkLogCore.h"

#include <utility>

namespace zelk::query {

namespace {

uint32_t countOperators(QueryParseContext *context, uint32_t added)
{
    context->operatorCount += added;
    return context->operatorCount > kMaxOperatorNodes ? ZELKLOG_RC_QUERY_TOO_LARGE : 0;
}

}  // namespace

uint32_t joinOperands(QueryParseContext *context, int32_t kind, QueryNode *left, QueryNode *right,
                      QueryNode **result)
{
    QueryNode *node = addNewNode(kind, left, right);
    if (node == nullptr) {
        removeTree(left);
        removeTree(right);
        return ZELKLOG_RC_NO_MEMORY;
    }
    if (uint32_t rc = countOperators(context, 1)) {
        removeTree(node);
        return rc;
    }
    *result = node;
    return 0;
}

uint32_t compareOperands(QueryParseContext *context, int32_t op, QueryNode *left, QueryNode *right,
                         QueryNode **result)
{
    uint32_t rc = validNodes(op, left, right);
    if (rc == ZELKLOG_RC_OK && op == EQUAL) {
        if (right->kind == KEYWORDS)
            std::swap(left, right);
        QueryNode *range = nullptr;
        if (left->value == ZELKLOGREC_PREVTIME &&
            (rc = rewritePrevTime(left, right, &range)) == ZELKLOG_RC_OK) {
            if ((rc = countOperators(context, 3)) != ZELKLOG_RC_OK) {
                removeTree(range);
                return rc;
            }
            *result = range;
            return 0;
        }
    }
    if (rc != ZELKLOG_RC_OK) {
        removeTree(left);
        removeTree(right);
        return rc;
    }
    return joinOperands(context, op, left, right, result);
}

namespace {

// field BETWEEN low && high: AND(GREATER(field, low), LESS(field, high)), both bounds
// exclusive.  Each bound is checked against its own keyword leaf; date texts are read
// with the query's locale, which the bound leaves only borrow.  On failure the bounds
// (either may be missing) are released.
uint32_t buildBetween(QueryParseContext *context, uint64_t field, QueryNode *low, QueryNode *high,
                      QueryNode **result)
{
    QueryNode *lowField = newLeaf(KEYWORDS, field);
    QueryNode *highField = newLeaf(KEYWORDS, field);
    uint32_t rc = ZELKLOG_RC_OK;
    if (low == nullptr || high == nullptr || lowField == nullptr || highField == nullptr) {
        rc = ZELKLOG_RC_NO_MEMORY;
    } else {
        low->locale = low->kind == STRINGCONST ? context->locale : nullptr;
        high->locale = high->kind == STRINGCONST ? context->locale : nullptr;
        rc = validNodes(GREATER, lowField, low);
        if (rc == ZELKLOG_RC_OK)
            rc = validNodes(LESS, highField, high);
        low->locale = nullptr;
        high->locale = nullptr;
    }
    QueryNode *lower = nullptr;
    QueryNode *upper = nullptr;
    if (rc == ZELKLOG_RC_OK && (lower = addNewNode(GREATER, lowField, low)) != nullptr)
        upper = addNewNode(LESS, highField, high);
    QueryNode *range = nullptr;
    if (rc == ZELKLOG_RC_OK && upper != nullptr)
        rc = joinOperands(context, AND, lower, upper, &range);  // releases both on failure
    else if (rc == ZELKLOG_RC_OK)
        rc = ZELKLOG_RC_NO_MEMORY;
    if (rc == ZELKLOG_RC_OK) {
        // joinOperands counted the AND; the two comparisons count as well.
        if ((rc = countOperators(context, 2)) != ZELKLOG_RC_OK) {
            removeTree(range);
            return rc;
        }
        *result = range;
        return 0;
    }
    if (lower == nullptr) {
        removeTree(lowField);
        removeTree(low);
    } else if (upper == nullptr) {
        removeTree(lower);
    }
    if (upper == nullptr) {
        removeTree(highField);
        removeTree(high);
    }
    return rc;
}

}  // namespace

uint32_t makeLeaf(QueryParseContext *context, int32_t kind, uint64_t tokenValue, QueryNode **result)
{
    QueryNode token{};
    token.value = tokenValue;
    QueryNode localeRecord{};
    localeRecord.locale = context->locale;
    *result = addNewNode(kind, &token, kind == STRINGCONST ? &localeRecord : nullptr);
    return *result != nullptr ? ZELKLOG_RC_OK : ZELKLOG_RC_NO_MEMORY;
}

uint32_t buildNumberBetween(QueryParseContext *context, uint64_t field, uint64_t low, uint64_t high,
                            QueryNode **result)
{
    return buildBetween(context, field, newLeaf(INTCONST, low), newLeaf(INTCONST, high), result);
}

uint32_t captureLowerBound(QueryParseContext *context, uint64_t tokenText)
{
    zelkLogFree(context->pendingText);
    context->pendingText = copyUnquoted(reinterpret_cast<const char *>(static_cast<uintptr_t>(tokenText)));
    return context->pendingText != nullptr ? 0 : ZELKLOG_RC_NO_MEMORY;
}

// The bound leaves carry no locale copy.
uint32_t buildTextBetween(QueryParseContext *context, uint64_t field, uint64_t upperTokenText,
                          QueryNode **result)
{
    QueryNode *low = newLeaf(STRINGCONST, reinterpret_cast<uintptr_t>(context->pendingText));
    if (low != nullptr)
        context->pendingText = nullptr;
    QueryNode token{};
    token.value = upperTokenText;
    return buildBetween(context, field, low, addNewNode(STRINGCONST, &token, nullptr), result);
}

}  // namespace zelk::query
