// Query tree nodes: creation, classification and the release of a whole tree.
#include "src/query/node_stack.h"
#include "src/query/query_internal.h"
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace zelk::query {

QueryNode *newLeaf(int32_t kind, uint64_t value)
{
    auto *node = static_cast<QueryNode *>(zelkLogMalloc(sizeof(QueryNode)));
    if (node == nullptr)
        return nullptr;
    std::memset(node, 0, sizeof(QueryNode));
    node->kind = kind;
    node->value = value;
    return node;
}

void releaseNode(QueryNode *node)
{
    if (node->kind == STRINGCONST)
        zelkLogFree(reinterpret_cast<char *>(static_cast<uintptr_t>(node->value)));
    zelkLogFree(node->locale);
    zelkLogFree(node);
}

// Owned copy of a literal's text without its enclosing quotes.
char *copyUnquoted(const char *token)
{
    size_t length = std::strlen(token);
    if (length > 0 && token[0] == '\'') {
        ++token;
        --length;
        if (length > 0 && token[length - 1] == '\'')
            --length;
    }
    auto *copy = static_cast<char *>(zelkLogMalloc(length + 1));
    if (copy == nullptr)
        return nullptr;
    std::memcpy(copy, token, length);
    copy[length] = '\0';
    return copy;
}

namespace {

// Releases a subtree in constant space by rotating left operands up: the way out when
// the walk's stack cannot grow any more.
void releaseByRotation(QueryNode *node)
{
    while (node != nullptr) {
        QueryNode *left = node->left;
        if (left != nullptr) {
            node->left = left->right;
            left->right = node;
            node = left;
        } else {
            QueryNode *next = node->right;
            releaseNode(node);
            node = next;
        }
    }
}

}  // namespace
}  // namespace zelk::query

using zelk::query::NodeStack;

extern "C" {

ZELKLOG_API int isoperator(int32_t kind)
{
    return kind >= AND && kind <= NOTEQUAL ? 1 : 0;
}

ZELKLOG_API QueryNode *addNewNode(int32_t kind, QueryNode *operandOrToken, QueryNode *second)
{
    if (isterm(kind)) {
        if (operandOrToken == nullptr)
            return nullptr;
        const uint64_t tokenValue = operandOrToken->value;
        char *text = nullptr;
        if (kind == STRINGCONST) {
            const char *token = reinterpret_cast<const char *>(static_cast<uintptr_t>(tokenValue));
            if (token == nullptr || (text = zelk::query::copyUnquoted(token)) == nullptr)
                return nullptr;
        }
        QueryNode *leaf =
            zelk::query::newLeaf(kind, text != nullptr ? reinterpret_cast<uintptr_t>(text) : tokenValue);
        if (leaf == nullptr) {
            zelkLogFree(text);
            return nullptr;
        }
        if (second != nullptr && second->locale != nullptr) {
            leaf->locale = zelkLogSafeStrdup(second->locale);
            if (leaf->locale == nullptr) {
                zelk::query::releaseNode(leaf);
                return nullptr;
            }
        }
        return leaf;
    }
    if (!isoperator(kind))
        return nullptr;
    QueryNode *node = zelk::query::newLeaf(kind, 0);
    if (node != nullptr) {
        node->left = operandOrToken;
        node->right = second;
    }
    return node;
}

// Post-order: a node's operands (left, then right) are released before the node, and
// the root last.  An operand is unlinked once it is on the stack, so each node is met
// with its operands still to do or done; an operand that no longer fits on the stack (no
// memory left for it to grow) is released in constant space instead.
ZELKLOG_API void removeTree(QueryNode *root)
{
    if (root == nullptr)
        return;
    NodeStack path;
    path.push(root);
    while (!path.empty()) {
        QueryNode *node = path.top();
        QueryNode **operand = node->left != nullptr ? &node->left : &node->right;
        if (*operand == nullptr) {
            zelk::query::releaseNode(path.pop());
            continue;
        }
        QueryNode *child = *operand;
        *operand = nullptr;
        if (!path.push(child))
            zelk::query::releaseByRotation(child);
    }
}

}  // extern "C"
