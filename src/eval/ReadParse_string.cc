// Testing one decoded record against a query tree.
//
// The tree is walked bottom-up, without recursion, with a fixed stack and one result slot
// per operator node (`results`, indexed by the node's `visitMark`).  A slot holds 0 while
// the node is not worked out, 1 when it is false and 2 when it is true.  Every operator
// node is worked out exactly once per record: no branch is skipped, so a context-token
// test anywhere in the tree is always seen.
//
// This runs for every record a fetch reads, so the walk clears nothing up front: it
// numbers the operator nodes 1, 2, ... in post-order as it works them out, and a slot
// counts only once this walk has numbered that far (any higher mark reads as 0).
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace {

constexpr int kSlots = 200;  // operator nodes per tree (the parser refuses more than 199)

inline bool isKeyword(const QueryNode *node)
{
    return node != nullptr && node->kind == KEYWORDS;
}

// isterm and eval of the core, inlined: the walk runs them several times per record.
inline bool isTermKind(int32_t kind)
{
    return kind >= STRINGCONST && kind <= MSGTYPES;
}

inline int compare(int32_t op, int64_t left, int64_t right)
{
    switch (op) {
    case AND:
        return (left != 0 && right != 0) ? 1 : 0;
    case OR:
        return (left != 0 || right != 0) ? 1 : 0;
    case LESS:
        return left < right;
    case GREATER:
        return left > right;
    case LESSEQ:
        return left <= right;
    case GREATEREQ:
        return left >= right;
    case EQUAL:
        return left == right;
    case NOTEQUAL:
        return left != right;
    default:
        return 0;
    }
}

inline bool isOperatorNode(const QueryNode *node)
{
    return node != nullptr && !isTermKind(node->kind);
}

// The slot of a node; leaves (and marks that do not fit) read as "not worked out".
inline int32_t slotOf(const int32_t *results, const QueryNode *node)
{
    if (node == nullptr || node->visitMark >= static_cast<uint32_t>(kSlots))
        return 0;
    return results[node->visitMark];
}

// The same within a walk whose slots above `worked` are not written yet.
inline int32_t slotOf(const int32_t *results, const QueryNode *node, uint32_t worked)
{
    if (node == nullptr || node->visitMark > worked)
        return 0;
    return results[node->visitMark];
}

// The text of a constant leaf, or null when the right side is not a text.
inline const char *constantText(const QueryNode *right, bool isCondition)
{
    if (isCondition || right == nullptr || right->kind != STRINGCONST)
        return nullptr;
    return reinterpret_cast<const char *>(static_cast<uintptr_t>(right->value));
}

inline int32_t mirrored(int32_t op)
{
    switch (op) {
    case LESS:
        return GREATER;
    case GREATER:
        return LESS;
    case LESSEQ:
        return GREATEREQ;
    case GREATEREQ:
        return LESSEQ;
    default:
        return op;
    }
}

inline bool isAllToken(const char *text)
{
    return text != nullptr && (std::strcmp(text, "ALL") == 0 || std::strcmp(text, "all") == 0);
}

int contextTokenResult(const ZelkLogMsg *record, int32_t op, const char *constant, uint8_t *contextAllSeen)
{
    int result = 0;
    if (isAllToken(constant)) {
        if (contextAllSeen != nullptr)
            *contextAllSeen = 1;
        result = record->kind == ZELKLOG_MSG_CTX ? 1 : 0;
    } else if (record->contextToken != nullptr && constant != nullptr &&
               std::strcmp(record->contextToken, constant) == 0) {
        result = 1;
    }
    if (op == NOTEQUAL)
        result = !result;
    return result;
}

}  // namespace

extern "C" {

ZELKLOG_API int evalString(int32_t op, const char *text, const char *constantText)
{
    if (text == nullptr || constantText == nullptr)
        return 0;
    bool equal = std::strcmp(text, constantText) == 0;
    if (op == EQUAL)
        return equal ? 1 : 0;
    if (op == NOTEQUAL)
        return equal ? 0 : 1;
    return 0;
}

ZELKLOG_API int evalStringWithStrstr(int32_t op, const char *text, const char *constantText)
{
    if (text == nullptr || constantText == nullptr)
        return 0;
    bool found = std::strstr(text, constantText) != nullptr;
    if (op == EQUAL)
        return found ? 1 : 0;
    if (op == NOTEQUAL)
        return found ? 0 : 1;
    return 0;
}

}  // extern "C"

namespace {

// getResult with the slot reader of the caller's walk.
template <typename SlotReader>
int resultOf(const ZelkLogMsg *record, const QueryNode *node, SlotReader slotOf, uint8_t *contextAllSeen)
{
    int32_t op = node->kind;
    const QueryNode *left = node->left;
    const QueryNode *right = node->right;
    if (isKeyword(right)) {
        const QueryNode *swapped = left;
        left = right;
        right = swapped;
        op = mirrored(op);
    }

    if (!isKeyword(left)) {
        int64_t leftTruth = static_cast<int64_t>(slotOf(left) - 1);
        int64_t rightTruth = static_cast<int64_t>(slotOf(right) - 1);
        return compare(op, leftTruth, rightTruth);
    }

    int32_t rightSlot = slotOf(right);
    bool rightIsCondition = rightSlot != 0;
    int64_t constant = 0;
    if (rightIsCondition)
        constant = rightSlot - 1;
    else if (right != nullptr)
        constant = static_cast<int64_t>(right->value);

    const uint32_t kind = record->kind;
    switch (left->value) {
    case ZELKLOGREC_PRODID:
        return compare(op, static_cast<int64_t>(record->productId), constant);
    case ZELKLOGREC_ORGID:
        return compare(op, static_cast<int64_t>(record->originatorId), constant);
    case ZELKLOGREC_SHORGID:
        return compare(op, static_cast<int64_t>(record->fileId), constant);
    case ZELKLOGREC_SUBJECT:
        if (kind != ZELKLOG_MSG_AUDIT || rightIsCondition)
            return 0;
        return evalString(op, record->kindData.second.subject, constantText(right, false));
    case ZELKLOGREC_RETURNVAL:
        if (kind != ZELKLOG_MSG_AUDIT)
            return 0;
        return compare(op, static_cast<int64_t>(static_cast<uint32_t>(record->kindData.returnValue)),
                       constant);
    case ZELKLOGREC_STDATE:
    case ZELKLOGREC_ENDATE:
        return compare(op, record->timeMs / 1000, constant);
    case ZELKLOGREC_LEVEL:
        if (kind != ZELKLOG_MSG_DEBUG && kind != ZELKLOG_MSG_DIAG)
            return 0;
        return compare(op, static_cast<int64_t>(static_cast<uint32_t>(record->kindData.first.level)),
                       constant);
    case ZELKLOGREC_PID:
        return compare(op, static_cast<int64_t>(record->pid), constant);
    case ZELKLOGREC_TID:
        return compare(op, static_cast<int64_t>(record->tid), constant);
    case ZELKLOGREC_SEV:
        if (kind != ZELKLOG_MSG_APP)
            return 0;
        return compare(op, static_cast<int64_t>(record->kindData.first.severity), constant);
    case ZELKLOGREC_MSGTYPE:
        return compare(op, static_cast<int64_t>(kind), constant);
    case ZELKLOGREC_CTXTOK:
        return contextTokenResult(record, op, constantText(right, rightIsCondition), contextAllSeen);
    case ZELKLOGREC_PREVTIME:
        return 1;
    case ZELKLOGREC_WHO: {
        if (rightIsCondition)
            return 0;
        const char *who = kind <= ZELKLOG_MSG_APP ? record->kindData.second.who : nullptr;
        return evalStringWithStrstr(op, who, constantText(right, false));
    }
    case ZELKLOGREC_HOSTNAME:
        return 1;
    case ZELKLOGREC_LOGSETID:
        return rightIsCondition ? 0 : 1;
    default:
        return 1;
    }
}

// One evaluation: operator nodes are worked out in post-order, left operand first, and
// numbered 1, 2, ... as they are; a slot counts only once the walk has numbered that far.
struct Walk {
    const ZelkLogMsg *record;
    int32_t *results;
    uint32_t counter;
    uint8_t contextAllSeen;

    // Works out `node` at `depth` below the root after its operator operands; false when
    // the tree does not fit the slots or the depth.
    bool workOut(QueryNode *node, int depth)
    {
        if (!workOutOperand(node->left, depth) || !workOutOperand(node->right, depth))
            return false;
        if (counter + 1 >= static_cast<uint32_t>(kSlots))
            return false;
        const uint32_t worked = counter;
        const int32_t *const slots = results;
        const int result = resultOf(
            record, node,
            [slots, worked](const QueryNode *operand) { return slotOf(slots, operand, worked); },
            &contextAllSeen);
        results[++counter] = result + 1;
        node->visitMark = counter;
        return true;
    }

    bool workOutOperand(QueryNode *operand, int depth)
    {
        return !isOperatorNode(operand) || (depth + 1 < kSlots && workOut(operand, depth + 1));
    }
};

}  // namespace

extern "C" {

ZELKLOG_API int getResult(ZelkLogMsg *record, QueryNode *node, int32_t *results, uint8_t *contextAllSeen)
{
    if (record == nullptr || node == nullptr || results == nullptr)
        return 0;
    return resultOf(
        record, node, [results](const QueryNode *operand) { return slotOf(results, operand); },
        contextAllSeen);
}

ZELKLOG_API int IsTrueCondition(ZelkLogMsg *record, LogQuery *query)
{
    if (record == nullptr || query == nullptr || !isOperatorNode(query->root))
        return 0;
    QueryNode *const root = query->root;
    // Written before read: slot 0 (leaves) now, every other slot as its node is numbered.
    int32_t results[kSlots];
    results[0] = 0;
    Walk walk{record, results, 0, 0};
    if (!walk.workOut(root, 0))
        return 0;  // a tree that does not fit; the parser never builds one

    const bool rootTrue = results[root->visitMark] == 2;
    if (record->kind == ZELKLOG_MSG_CTX) {
        UpdateContextTitleLink(query, record);
        return (walk.contextAllSeen != 0 && rootTrue) ? 1 : 0;
    }
    return rootTrue ? 1 : 0;
}

}  // extern "C"
