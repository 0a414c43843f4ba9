// Name resolution: product, originator and file names written as texts become the
// identifiers that log records carry, and every operator node gets its post-order number.
#include "src/query/node_stack.h"
#include "src/query/query_internal.h"
#include "src/core/zelkLogCore.h"

namespace {

bool namesAnIdentifier(const QueryNode *node)
{
    return node != nullptr && node->kind == KEYWORDS &&
           (node->value == ZELKLOGREC_PRODID || node->value == ZELKLOGREC_ORGID ||
            node->value == ZELKLOGREC_SHORGID);
}

// Replaces the name on the right of a PRODID, ORGID or FILEID comparison by its id.
uint32_t resolve(ZelkLogProductCfg **configArray, uint64_t configCount, QueryNode *node)
{
    QueryNode *name = node->right;
    if (!namesAnIdentifier(node->left) || name == nullptr || name->kind != STRINGCONST)
        return ZELKLOG_RC_OK;
    char *text = reinterpret_cast<char *>(static_cast<uintptr_t>(name->value));
    const uint64_t id =
        GetIdFromName(configArray, configCount, static_cast<uint32_t>(node->left->value), text);
    if (id == 0)
        return ZELKLOG_RC_UNKNOWN_NAME;
    zelkLogFree(text);
    name->kind = INTCONST;
    name->value = id;
    return ZELKLOG_RC_OK;
}

}  // namespace

extern "C" {

// Post-order over the operator nodes (left subtree, right subtree, node) without
// recursion: the stack holds the path from the root, `last` the node finished last.
ZELKLOG_API uint32_t validateShortNames(ZelkLogProductCfg **configArray, uint64_t configCount,
                                        QueryNode *root)
{
    if (root == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    zelk::query::NodeStack path;
    uint32_t counter = 0;
    const QueryNode *last = nullptr;
    QueryNode *node = isoperator(root->kind) ? root : nullptr;
    while (node != nullptr || !path.empty()) {
        if (node != nullptr) {
            if (!path.push(node))
                return ZELKLOG_RC_NO_MEMORY;
            node = node->left != nullptr && isoperator(node->left->kind) ? node->left : nullptr;
            continue;
        }
        QueryNode *top = path.top();
        QueryNode *right = top->right;
        if (right != nullptr && isoperator(right->kind) && right != last) {
            node = right;
            continue;
        }
        // The evaluator keeps one result slot per number, 1..199.
        if (counter == zelk::query::kMaxOperatorNodes)
            return ZELKLOG_RC_QUERY_TOO_LARGE;
        if (uint32_t rc = resolve(configArray, configCount, top))
            return rc;
        top->visitMark = ++counter;
        last = path.pop();
    }
    return ZELKLOG_RC_OK;
}

}  // extern "C"
