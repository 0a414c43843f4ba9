// Query tree nodes: construction, classification and release of trees of any shape.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

namespace {

QueryNode *leaf(int32_t kind, const void *value, const char *locale = nullptr)
{
    QueryNode record{};
    record.value = reinterpret_cast<uintptr_t>(value);
    QueryNode context{};
    context.locale = const_cast<char *>(locale);
    return addNewNode(kind, &record, &context);
}

// Chains far deeper than the walk's fixed stack, leaning either way or zig-zagging,
// with texts and locale copies on both sides (the leak checker sees what is left).
TEST(QueryNode, RemoveTreeOfAnyShape)
{
    removeTree(nullptr);
    for (int shape = 0; shape < 3; ++shape) {
        QueryNode *root = leaf(STRINGCONST, "'first'", "en");
        for (int i = 0; i < 30000; ++i) {
            QueryNode *comparison =
                addNewNode(NOTEQUAL, leaf(STRINGCONST, "'x'", "en_GB"), leaf(STRINGCONST, "'y'"));
            const bool left = shape == 0 || (shape == 2 && i % 2);
            root = left ? addNewNode(AND, root, comparison) : addNewNode(OR, comparison, root);
            ASSERT_NE(root, nullptr);
        }
        removeTree(root);
    }
}

}  // namespace
