// Parsing filter texts: tree shapes, result codes, limits, parses from several threads at
// once, and the release of trees of any shape.
#include "tests/support/lock_probe.h"
#include "tests/support/query_tree_text.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using zelk::test::treeText;

namespace {

// A failed parse's expectation: the code as text.
std::string rc(uint32_t code)
{
    return "rc=" + std::to_string(code);
}

// The tree of a successful parse as text, or rc(<code>).
std::string parse(const std::string &text, const char *locale = nullptr)
{
    QueryNode *root = nullptr;
    const uint32_t code = parseQueryString(text.c_str(), locale, &root);
    if (code != ZELKLOG_RC_OK) {
        EXPECT_EQ(root, nullptr) << "a failed parse leaves the output alone";
        return rc(code);
    }
    std::string result = treeText(root);
    removeTree(root);
    return result;
}

TEST(Parse, TreesAndCodes)
{
    const std::pair<const char *, std::string> cases[] = {
        {"PID = 5", "=(PID, 5)"},
        {"5 = PID", "=(PID, 5)"},
        {"5 < PID", "<(5, PID)"},
        {"PID = 1 || PID = 2 && SEV = ERR", "OR(=(PID, 1), AND(=(PID, 2), =(SEV, SEV:2)))"},
        {"PID = 1 || PID = 2 || PID = 3", "OR(OR(=(PID, 1), =(PID, 2)), =(PID, 3))"},
        {"PID = 1 && (TID = 2 || TID >= 3)", "AND(=(PID, 1), OR(=(TID, 2), >=(TID, 3)))"},
        {"MSGTYPE = AUDIT && 'x' != HOSTNAME", "AND(=(MSGTYPE, MSG:4), !=('x', HOSTNAME))"},
        {"PID = (TID = 5)", "=(PID, =(TID, 5))"},
        {"5 && 'abc'", "AND(5, 'abc')"},
        {"pid between 10 && 20 || TID = 1", "OR(AND(>(PID, 10), <(PID, 20)), =(TID, 1))"},
        // Each bound keeps its own text although more tokens follow it.
        {"HOSTNAME BETWEEN 'alpha' && 'omega' && SUBJECT = 'z'",
         "AND(AND(>(HOSTNAME, 'alpha'), <(HOSTNAME, 'omega')), =(SUBJECT, 'z'))"},
        // syntax errors, a lexical error where no operand may stand, a single operand
        // (lexical errors themselves: the scanner's and the parser messages' tests)
        {" \t ", rc(ZELKLOG_RC_FAILURE)},
        {"PID = 5)", rc(ZELKLOG_RC_FAILURE)},
        {"()", rc(ZELKLOG_RC_FAILURE)},
        {"PID = 5 @", rc(ZELKLOG_RC_FAILURE)},
        {"5 BETWEEN 1 && 2", rc(ZELKLOG_RC_FAILURE)},
        {"PID", rc(ZELKLOG_RC_NO_OPERATOR)},
        {"((ERR))", rc(ZELKLOG_RC_NO_OPERATOR)},
        // comparisons refused by the check (a complete one is checked before a stray token)
        {"PID = PID )", rc(ZELKLOG_RC_NEED_ONE_KEYWORD)},
        {"5 = 6", rc(ZELKLOG_RC_NEED_ONE_KEYWORD)},
        {"PID < 5 < 6", rc(ZELKLOG_RC_NEED_ONE_KEYWORD)},
        {"SUBJECT = 5", rc(ZELKLOG_RC_SUBJECT_NOT_TEXT)},
        {"SUBJECT >= 5", rc(ZELKLOG_RC_SUBJECT_OPERATOR)},
        {"SUBJECT BETWEEN 'a' && 'b'", rc(ZELKLOG_RC_SUBJECT_OPERATOR)},
        {"WHO = 5", rc(ZELKLOG_RC_NOT_TEXT)},
        {"WHO > 'a'", rc(ZELKLOG_RC_WHO_OPERATOR)},
        {"CTXTOK < 'tok'", rc(ZELKLOG_RC_CTXTOK_OPERATOR)},
        {"CTXTOK < 5", rc(ZELKLOG_RC_NOT_TEXT)},
        {"PREVTIME != 3600", rc(ZELKLOG_RC_PREVTIME_OPERATOR)},
        {"PREVTIME BETWEEN 1 && 2", rc(ZELKLOG_RC_PREVTIME_OPERATOR)},
        {"PREVTIME = 'soon'", rc(ZELKLOG_RC_BAD_DATE)},
        {"STDATE > ERR", rc(ZELKLOG_RC_BAD_DATE)},
        {"STDATE BETWEEN '1' && 'x'", rc(ZELKLOG_RC_BAD_DATE)},
    };
    for (const auto &[query, expected] : cases)
        EXPECT_EQ(parse(query), expected) << query;
    EXPECT_EQ(parseQueryString("PID = 5", nullptr, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    QueryNode *root = nullptr;
    EXPECT_EQ(parseQueryString(nullptr, nullptr, &root), ZELKLOG_RC_BAD_ARGUMENT);
}

// Every parse gives the common lock back, a failed one too: a lock kept would block the next.
TEST(Parse, GivesTheLockBack)
{
    for (const char *text : {"PID = 5 @", "PID = 5"}) {
        parse(text);
        ASSERT_TRUE(zelk::test::commonLockIsFree()) << "the parse lock is still held after: " << text;
    }
}

// Text operands get their own copy of the locale; BETWEEN bounds get none.
TEST(Parse, LocaleCopies)
{
    QueryNode *root = nullptr;
    ASSERT_EQ(parseQueryString("HOSTNAME = 'h' && LOGSET BETWEEN 'a' && 'b'", "de_DE", &root), 0u);
    EXPECT_STREQ(root->left->right->locale, "de_DE");
    EXPECT_EQ(root->left->left->locale, nullptr);
    EXPECT_EQ(root->right->left->right->locale, nullptr);
    EXPECT_EQ(root->right->right->right->locale, nullptr);
    removeTree(root);
}

std::string comparisons(int count, const std::string &joint)
{
    std::string query = "PID = 0";
    for (int i = 1; i < count; ++i)
        query += joint + "PID = " + std::to_string(i);
    return query;
}

// 100 comparisons make 199 operator nodes, the most a tree may hold; PREVTIME and
// BETWEEN make three each.
TEST(Parse, OperatorNodeLimit)
{
    EXPECT_EQ(parse(comparisons(100, " && ")).substr(0, 4), "AND(");
    EXPECT_EQ(parse(comparisons(101, " && ")), rc(ZELKLOG_RC_QUERY_TOO_LARGE));
    EXPECT_EQ(parse(comparisons(101, " || ")), rc(ZELKLOG_RC_QUERY_TOO_LARGE));
    for (const char *range : {" && PREVTIME = 10", " && PID BETWEEN 1 && 2"}) {
        EXPECT_EQ(parse(comparisons(98, " && ") + range).substr(0, 4), "AND(");
        EXPECT_EQ(parse(comparisons(99, " && ") + range), rc(ZELKLOG_RC_QUERY_TOO_LARGE));
    }
}

TEST(Parse, StackLimit)
{
    const auto nested = [](int depth) {
        return std::string(depth, '(') + "PID = 5" + std::string(depth, ')');
    };
    EXPECT_EQ(parse(nested(4990)), "=(PID, 5)");
    EXPECT_EQ(parse(nested(10000)), rc(ZELKLOG_RC_STACK_EXHAUSTED));
}

// A parse that stopped in the middle of its text leaves nothing for the next one.
TEST(Parse, FailedParseLeavesNothing)
{
    EXPECT_EQ(parse("PID = 5 && bogus && 'left' && TID = 7"), rc(ZELKLOG_RC_UNDEFINED_KEYWORD));
    EXPECT_EQ(parse("SEV = ERR"), "=(SEV, SEV:2)");
    EXPECT_EQ(parse("HOSTNAME BETWEEN 'a' && 5 && 'stale'"), rc(ZELKLOG_RC_FAILURE));
    EXPECT_EQ(parse("HOSTNAME = 'fresh'"), "=(HOSTNAME, 'fresh')");
}

TEST(Parse, ThreadsGetTheirOwnTrees)
{
    std::vector<std::thread> threads;
    std::vector<int> failures(8, 0);
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &failures] {
            const std::string n = std::to_string(t);
            const std::string query =
                "PID = " + n + " && HOSTNAME != 'h" + n + "' || TID BETWEEN " + n + " && 99";
            const std::string expected =
                "OR(AND(=(PID, " + n + "), !=(HOSTNAME, 'h" + n + "')), AND(>(TID, " + n + "), <(TID, 99)))";
            for (int i = 0; i < 300; ++i)
                failures[t] += parse(query, "en_US") != expected;
        });
    }
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(failures, std::vector<int>(8, 0));
}

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
