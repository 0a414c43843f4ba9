// Query tree nodes: construction, classification and release of trees of any shape.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <string>

namespace {

QueryNode *token(int32_t kind, uint64_t value)
{
    QueryNode record{};
    record.value = value;
    return addNewNode(kind, &record, nullptr);
}

QueryNode *text(const char *quoted, const char *locale = nullptr)
{
    QueryNode record{};
    record.value = reinterpret_cast<uintptr_t>(quoted);
    QueryNode context{};
    context.locale = const_cast<char *>(locale);
    return addNewNode(STRINGCONST, &record, &context);
}

const char *textOf(const QueryNode *leaf)
{
    return reinterpret_cast<const char *>(static_cast<uintptr_t>(leaf->value));
}

TEST(QueryNode, OperatorKinds)
{
    for (int32_t kind = 250; kind <= 295; ++kind)
        EXPECT_EQ(isoperator(kind), kind >= AND && kind <= NOTEQUAL ? 1 : 0) << kind;
    EXPECT_EQ(isoperator(0), 0);
    EXPECT_EQ(isoperator(-AND), 0);
}

TEST(QueryNode, LeavesCopyTheirValue)
{
    const char quoted[] = "'a b'";
    QueryNode *leaf = text(quoted, "fr_FR");
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(leaf->kind, STRINGCONST);
    EXPECT_STREQ(textOf(leaf), "a b");
    EXPECT_NE(textOf(leaf), quoted + 1);  // an owned copy
    ASSERT_NE(leaf->locale, nullptr);
    EXPECT_STREQ(leaf->locale, "fr_FR");
    EXPECT_EQ(leaf->visitMark, 0u);
    EXPECT_EQ(leaf->left, nullptr);
    EXPECT_EQ(leaf->right, nullptr);
    removeTree(leaf);

    QueryNode *empty = text("''");
    EXPECT_STREQ(textOf(empty), "");
    EXPECT_EQ(empty->locale, nullptr);
    removeTree(empty);

    for (int32_t kind : {INTCONST, KEYWORDS, SEVTYPES, MSGTYPES}) {
        QueryNode *node = token(kind, 271);
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->kind, kind);
        EXPECT_EQ(node->value, 271u);
        removeTree(node);
    }
}

TEST(QueryNode, OperatorsTakeTheirOperands)
{
    QueryNode *left = token(KEYWORDS, ZELKLOGREC_PID);
    QueryNode *right = token(INTCONST, 5);
    QueryNode *node = addNewNode(LESS, left, right);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->left, left);
    EXPECT_EQ(node->right, right);
    EXPECT_EQ(node->value, 0u);
    EXPECT_EQ(node->locale, nullptr);
    removeTree(node);
}

TEST(QueryNode, RefusesWhatIsNoNode)
{
    QueryNode record{};
    for (int32_t kind : {0, +ERROR_FOUND, +BETWEEN, +ROUND_OPEN, +ROUND_CLOSE, +ZELKLOGREC_PID})
        EXPECT_EQ(addNewNode(kind, &record, nullptr), nullptr) << kind;
    EXPECT_EQ(addNewNode(INTCONST, nullptr, nullptr), nullptr);
    EXPECT_EQ(addNewNode(STRINGCONST, &record, nullptr), nullptr);  // no token text
}

// Chains far deeper than the walk's fixed stack, leaning either way, with texts and
// locale copies on both sides of every comparison (the leak checker sees the rest).
TEST(QueryNode, RemoveTreeOfAnyShape)
{
    removeTree(nullptr);
    for (bool leanLeft : {true, false}) {
        QueryNode *root = addNewNode(EQUAL, text("'first'", "en"), token(KEYWORDS, ZELKLOGREC_WHO));
        for (int i = 0; i < 50000; ++i) {
            QueryNode *comparison = addNewNode(NOTEQUAL, text("'x'", "en_GB"), text("'y'"));
            ASSERT_NE(comparison, nullptr);
            root = leanLeft ? addNewNode(AND, root, comparison) : addNewNode(OR, comparison, root);
            ASSERT_NE(root, nullptr);
        }
        removeTree(root);
    }
    // A zig-zag: every operator's deep side alternates.
    QueryNode *root = token(INTCONST, 0);
    for (int i = 0; i < 20000; ++i)
        root = i % 2 ? addNewNode(AND, root, text("'z'")) : addNewNode(OR, text("'z'"), root);
    removeTree(root);
}

}  // namespace
