// updateQueryForTZ: moves the times read from date texts by a time-zone offset.
#include "src/core/zelkLogCore.h"

#include <limits>
#include <vector>

namespace {

bool isDateKeyword(const QueryNode *node)
{
    return node != nullptr && node->kind == KEYWORDS &&
           (node->value == ZELKLOGREC_STDATE || node->value == ZELKLOGREC_ENDATE);
}

// A time read from a date text.  Numbers written as such and PREVTIME's window are
// instants already and stay.
bool isDateText(const QueryNode *node)
{
    return node != nullptr && node->kind == INTCONST && node->visitMark == ZELKLOG_DATE_TEXT_MARK;
}

void shift(QueryNode *constant, int64_t offset)
{
    int64_t value = int64_t(constant->value);
    int64_t moved;
    if (__builtin_add_overflow(value, offset, &moved))
        moved = offset > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
    constant->value = uint64_t(moved);
}

}  // namespace

extern "C" {

// tzOffset is a signed number of seconds.  Every time read from a date text compared
// with STDATE or ENDATE (an INTCONST leaf marked ZELKLOG_DATE_TEXT_MARK beside the
// keyword under a comparison) gets tzOffset added, the sum
// held at the limits of a signed 64-bit time.  Other leaves are not touched.  0, or 3
// for a null root or the "no adjustment" value ZELKLOG_NO_TZ_ADJUST, 4 out of memory.
ZELKLOG_API uint32_t updateQueryForTZ(QueryNode *root, int64_t tzOffset)
{
    if (root == nullptr || tzOffset == ZELKLOG_NO_TZ_ADJUST)
        return ZELKLOG_RC_BAD_ARGUMENT;
    try {
        std::vector<QueryNode *> pending{root};
        while (!pending.empty()) {
            QueryNode *node = pending.back();
            pending.pop_back();
            if (node->kind < AND || node->kind > NOTEQUAL)
                continue;  // a leaf
            if (node->kind >= LESS) {
                if (isDateKeyword(node->left) && isDateText(node->right))
                    shift(node->right, tzOffset);
                else if (isDateKeyword(node->right) && isDateText(node->left))
                    shift(node->left, tzOffset);
                continue;
            }
            if (node->left != nullptr)
                pending.push_back(node->left);
            if (node->right != nullptr)
                pending.push_back(node->right);
        }
    } catch (...) {
        return ZELKLOG_RC_NO_MEMORY;
    }
    return ZELKLOG_RC_OK;
}

}  // extern "C"
