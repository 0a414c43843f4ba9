// PREVTIME = x: the comparison becomes the range from x seconds ago up to now,
// AND(GREATEREQ(STDATE, now - x), LESSEQ(ENDATE, now)).
#include "src/query/query_internal.h"
#include "src/core/zelkLogCore.h"

#include <ctime>

namespace {

// Turns a node into an operator over two new leaves.  Whatever the node held (a text,
// a locale copy, a former subtree) is released.
void becomeOperator(QueryNode *node, int32_t kind, QueryNode *left, QueryNode *right)
{
    if (node->kind == STRINGCONST)
        zelkLogFree(reinterpret_cast<char *>(static_cast<uintptr_t>(node->value)));
    zelkLogFree(node->locale);
    if (isoperator(node->kind)) {
        removeTree(node->left);
        removeTree(node->right);
    }
    node->kind = kind;
    node->visitMark = 0;
    node->value = 0;
    node->locale = nullptr;
    node->left = left;
    node->right = right;
}

// The look-back in seconds; false when the value cannot be used.
bool lookBack(const QueryNode *value, int64_t now, int64_t *seconds)
{
    if (value->kind == STRINGCONST) {
        const char *text = reinterpret_cast<const char *>(static_cast<uintptr_t>(value->value));
        int32_t hours = 0;
        int32_t minutes = 0;
        int32_t secs = 0;
        if (text == nullptr || zelkLogGetTime(text, &hours, &minutes, &secs) == 0)
            return false;
        // 32-bit arithmetic that wraps instead of overflowing.
        const uint32_t sum = static_cast<uint32_t>(hours) * 3600u + static_cast<uint32_t>(minutes) * 60u +
                             static_cast<uint32_t>(secs);
        *seconds = static_cast<int32_t>(sum);
        return true;
    }
    *seconds = static_cast<int64_t>(value->value);
    return *seconds <= now;
}

}  // namespace

namespace zelk::query {

uint32_t rewritePrevTime(QueryNode *keywordNode, QueryNode *valueNode, QueryNode **result)
{
    if (keywordNode == nullptr || valueNode == nullptr || result == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    const int64_t now = static_cast<int64_t>(std::time(nullptr));
    int64_t back = 0;
    if (!lookBack(valueNode, now, &back))
        return ZELKLOG_RC_BAD_DATE;
    const auto start = static_cast<int64_t>(static_cast<uint64_t>(now) - static_cast<uint64_t>(back));

    QueryNode *leaves[4] = {
        newLeaf(KEYWORDS, ZELKLOGREC_STDATE), newLeaf(INTCONST, static_cast<uint64_t>(start)),
        newLeaf(KEYWORDS, ZELKLOGREC_ENDATE), newLeaf(INTCONST, static_cast<uint64_t>(now))};
    QueryNode *both = newLeaf(AND, 0);
    if (both == nullptr || leaves[0] == nullptr || leaves[1] == nullptr || leaves[2] == nullptr ||
        leaves[3] == nullptr) {
        for (QueryNode *leaf : leaves)
            removeTree(leaf);
        removeTree(both);
        return ZELKLOG_RC_NO_MEMORY;
    }
    becomeOperator(keywordNode, GREATEREQ, leaves[0], leaves[1]);
    becomeOperator(valueNode, LESSEQ, leaves[2], leaves[3]);
    both->left = keywordNode;
    both->right = valueNode;
    *result = both;
    return ZELKLOG_RC_OK;
}

}  // namespace zelk::query

extern "C" {

ZELKLOG_API QueryNode *addPrevTime(QueryNode *keywordNode, QueryNode *valueNode)
{
    QueryNode *result = nullptr;
    return zelk::query::rewritePrevTime(keywordNode, valueNode, &result) == ZELKLOG_RC_OK ? result : nullptr;
}

}  // extern "C"
