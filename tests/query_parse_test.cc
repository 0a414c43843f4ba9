// Parsing filter texts: tree shapes, result codes, limits, and parses from several
// threads at once.
#include "query_tree_text.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <thread>
#include <vector>

using zelk::test::treeText;

namespace {

// The tree of a successful parse as text, or "rc=<code>" for a failed one.
std::string parse(const std::string &text, const char *locale = nullptr)
{
    QueryNode *root = nullptr;
    const uint32_t rc = parseQueryString(text.c_str(), locale, &root);
    if (rc != 0) {
        EXPECT_EQ(root, nullptr) << "a failed parse must leave the output alone";
        return "rc=" + std::to_string(rc);
    }
    std::string result = treeText(root);
    removeTree(root);
    return result;
}

struct ParseCase {
    const char *query;
    const char *expected;
};

void PrintTo(const ParseCase &parseCase, std::ostream *out)
{
    *out << parseCase.query;
}

class ParseShape : public ::testing::TestWithParam<ParseCase> {};

TEST_P(ParseShape, Tree)
{
    EXPECT_EQ(parse(GetParam().query), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Grammar, ParseShape,
    ::testing::Values(
        ParseCase{"PID = 5", "=(PID, 5)"},
        ParseCase{"5 = PID", "=(PID, 5)"},
        ParseCase{"5 < PID", "<(5, PID)"},
        ParseCase{"'x' != HOSTNAME", "!=('x', HOSTNAME)"},
        ParseCase{"PID = 1 || PID = 2 && SEV = ERR", "OR(=(PID, 1), AND(=(PID, 2), =(SEV, SEV:2)))"},
        ParseCase{"PID = 1 && PID = 2 || SEV >= crit", "OR(AND(=(PID, 1), =(PID, 2)), >=(SEV, SEV:3))"},
        ParseCase{"PID = 1 || PID = 2 || PID = 3", "OR(OR(=(PID, 1), =(PID, 2)), =(PID, 3))"},
        ParseCase{"PID = 1 && (TID = 2 || TID = 3)", "AND(=(PID, 1), OR(=(TID, 2), =(TID, 3)))"},
        ParseCase{"(PID = 5)", "=(PID, 5)"},
        ParseCase{"((((PID = 5))))", "=(PID, 5)"},
        ParseCase{"LEVEL < 1 && LEVEL <= 2 && TID > 3 && TID >= 4",
                  "AND(AND(AND(<(LEVEL, 1), <=(LEVEL, 2)), >(TID, 3)), >=(TID, 4))"},
        ParseCase{"MSGTYPE = AUDIT && MSGTYPE != debug", "AND(=(MSGTYPE, MSG:4), !=(MSGTYPE, MSG:0))"},
        ParseCase{"PID = (TID = 5)", "=(PID, =(TID, 5))"},
        ParseCase{"PID = 'abc'", "=(PID, 'abc')"},
        ParseCase{"SEV = 7 && HOSTNAME < 5", "AND(=(SEV, 7), <(HOSTNAME, 5))"},
        ParseCase{"5 && 'abc'", "AND(5, 'abc')"},
        ParseCase{"PID && TID", "AND(PID, TID)"},
        ParseCase{"PID BETWEEN 10 && 20", "AND(>(PID, 10), <(PID, 20))"},
        ParseCase{"pid between 10 && 20 || TID = 1", "OR(AND(>(PID, 10), <(PID, 20)), =(TID, 1))"},
        ParseCase{"HOSTNAME BETWEEN 'a' && 'm'", "AND(>(HOSTNAME, 'a'), <(HOSTNAME, 'm'))"},
        // Each bound keeps its own text even though more tokens follow it.
        ParseCase{"HOSTNAME BETWEEN 'alpha' && 'omega' && SUBJECT = 'zzz'",
                  "AND(AND(>(HOSTNAME, 'alpha'), <(HOSTNAME, 'omega')), =(SUBJECT, 'zzz'))"},
        ParseCase{"STDATE > 1000 && ENDATE <= 2000", "AND(>(STDATE, 1000), <=(ENDATE, 2000))"},
        ParseCase{"STDATE BETWEEN 1 && 2", "AND(>(STDATE, 1), <(STDATE, 2))"},
        ParseCase{"PID = 1\n&& TID = 2", "AND(=(PID, 1), =(TID, 2))"},
        ParseCase{"WHO = 'a' && CTX != 'b' && SUBJECT = ''", "AND(AND(=(WHO, 'a'), !=(CTXTOK, 'b')), =(SUBJECT, ''))"}),
    [](const ::testing::TestParamInfo<ParseCase> &info) { return "Case" + std::to_string(info.index); });

class ParseCode : public ::testing::TestWithParam<ParseCase> {};

TEST_P(ParseCode, Result)
{
    EXPECT_EQ(parse(GetParam().query), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Grammar, ParseCode,
    ::testing::Values(
        // syntax errors
        ParseCase{"", "rc=1"}, ParseCase{" \t ", "rc=1"}, ParseCase{"PID =", "rc=1"},
        ParseCase{"PID = 5 PID = 6", "rc=1"}, ParseCase{"(PID = 5", "rc=1"}, ParseCase{"PID = 5)", "rc=1"},
        ParseCase{"()", "rc=1"}, ParseCase{"&& PID = 5", "rc=1"}, ParseCase{"PID = 5 @", "rc=1"},
        ParseCase{"PID BETWEEN 10 && 'x'", "rc=1"}, ParseCase{"PID BETWEEN 'x' && 10", "rc=1"},
        ParseCase{"PID BETWEEN 10", "rc=1"}, ParseCase{"5 BETWEEN 1 && 2", "rc=1"},
        ParseCase{"PID BETWEEN 1 || 2", "rc=1"},
        // lexical errors where an operand may stand
        ParseCase{"PID = Pid", "rc=11"}, ParseCase{"PID = 5 && bogus = 1", "rc=11"},
        ParseCase{"PID = 'abc\n", "rc=12"}, ParseCase{"PID = @", "rc=13"}, ParseCase{"PID = 'abc", "rc=13"},
        // rejected comparisons, including those reduced before a stray token
        ParseCase{"PID = PID )", "rc=14"}, ParseCase{"PID = PID", "rc=14"}, ParseCase{"5 = 6", "rc=14"},
        ParseCase{"PID < 5 < 6", "rc=14"}, ParseCase{"PID = (TID)", "rc=14"},
        ParseCase{"SUBJECT = 5", "rc=43"}, ParseCase{"SUBJECT < 'a'", "rc=44"},
        ParseCase{"SUBJECT BETWEEN 'a' && 'b'", "rc=44"}, ParseCase{"WHO BETWEEN 'a' && 'b'", "rc=49"},
        ParseCase{"CTXTOK BETWEEN 'a' && 'b'", "rc=15"}, ParseCase{"CTXTOK BETWEEN 1 && 2", "rc=18"},
        ParseCase{"PREVTIME BETWEEN 1 && 2", "rc=17"}, ParseCase{"STDATE > ERR", "rc=16"},
        ParseCase{"PREVTIME != 3600", "rc=17"}, ParseCase{"PREVTIME = 'soon'", "rc=16"},
        ParseCase{"PREVTIME = 99999999999", "rc=16"},
        // a single operand
        ParseCase{"PID", "rc=19"}, ParseCase{"(5)", "rc=19"}, ParseCase{"'abc'", "rc=19"},
        ParseCase{"((ERR))", "rc=19"}),
    [](const ::testing::TestParamInfo<ParseCase> &info) { return "Case" + std::to_string(info.index); });

TEST(Parse, MissingOutputIsRefused)
{
    EXPECT_EQ(parseQueryString("PID = 5", nullptr, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST(Parse, PrevTimeBecomesADateRange)
{
    for (const char *query : {"PREVTIME = 3600", "3600 = prevtime", "PREVTIME = '1:00:00'", "PREVTIME = '60:00'"}) {
        const int64_t before = static_cast<int64_t>(std::time(nullptr));
        QueryNode *root = nullptr;
        ASSERT_EQ(parseQueryString(query, nullptr, &root), 0u) << query;
        const int64_t after = static_cast<int64_t>(std::time(nullptr));
        ASSERT_EQ(root->kind, AND);
        const QueryNode *from = root->left;
        const QueryNode *to = root->right;
        EXPECT_EQ(from->kind, GREATEREQ);
        EXPECT_EQ(to->kind, LESSEQ);
        EXPECT_EQ(treeText(from->left), "STDATE");
        EXPECT_EQ(treeText(to->left), "ENDATE");
        const auto now = static_cast<int64_t>(to->right->value);
        EXPECT_GE(now, before);
        EXPECT_LE(now, after);
        EXPECT_EQ(static_cast<int64_t>(from->right->value), now - 3600) << query;
        removeTree(root);
    }
}

// Every text leaf of an operand gets its own copy of the locale; BETWEEN bounds get none.
TEST(Parse, LocaleCopies)
{
    QueryNode *root = nullptr;
    ASSERT_EQ(parseQueryString("HOSTNAME = 'h' && LOGSET BETWEEN 'a' && 'b'", "de_DE", &root), 0u);
    const QueryNode *text = root->left->right;
    ASSERT_NE(text->locale, nullptr);
    EXPECT_STREQ(text->locale, "de_DE");
    EXPECT_EQ(root->left->left->locale, nullptr);
    EXPECT_EQ(root->right->left->right->locale, nullptr);
    EXPECT_EQ(root->right->right->right->locale, nullptr);
    removeTree(root);
}

std::string comparisons(int count, const std::string &separator)
{
    std::string query;
    for (int i = 0; i < count; ++i)
        query += (i == 0 ? "" : separator) + "PID = " + std::to_string(i);
    return query;
}

// 100 comparisons make 199 operator nodes, the most a tree may hold.
TEST(Parse, OperatorNodeLimit)
{
    EXPECT_NE(parse(comparisons(100, " && ")).substr(0, 3), "rc=");
    EXPECT_EQ(parse(comparisons(101, " && ")), "rc=20");
    EXPECT_EQ(parse(comparisons(101, " || ")), "rc=20");
    // 98 comparisons (195 nodes) joined to a PREVTIME range (3 nodes) make 199 nodes.
    EXPECT_NE(parse(comparisons(98, " && ") + " && PREVTIME = 10").substr(0, 3), "rc=");
    EXPECT_EQ(parse(comparisons(99, " && ") + " && PREVTIME = 10"), "rc=20");
    EXPECT_EQ(parse(comparisons(99, " && ") + " && PID BETWEEN 1 && 2"), "rc=20");
    EXPECT_NE(parse(comparisons(98, " && ") + " && PID BETWEEN 1 && 2").substr(0, 3), "rc=");
}

TEST(Parse, StackLimit)
{
    const std::string inner = "PID = 5";
    for (int depth : {1000, 4990}) {
        const std::string query = std::string(depth, '(') + inner + std::string(depth, ')');
        EXPECT_EQ(parse(query), "=(PID, 5)") << depth;
    }
    const std::string deep = std::string(10000, '(') + inner + std::string(10000, ')');
    EXPECT_EQ(parse(deep), "rc=2");
    EXPECT_EQ(parse(inner), "=(PID, 5)");
}

// A 10,000-character filter parses like the same filter written compactly.
TEST(Parse, TenThousandCharacters)
{
    std::string compact;
    std::string padded;
    for (int i = 0; i < 60; ++i) {
        const std::string value = std::to_string(1000 + i);
        const std::string op = i == 0 ? "" : (i % 2 ? "&&" : "||");
        compact += op + "PID=" + value;
        padded += op + std::string(80, ' ') + "PID\t=  " + value + std::string(70, ' ');
    }
    padded.resize(10000, ' ');
    ASSERT_EQ(padded.size(), 10000u);
    const std::string expected = parse(compact);
    ASSERT_NE(expected.substr(0, 3), "rc=");
    EXPECT_EQ(parse(padded), expected);
}

// A parse that stopped at an error in the middle of its text leaves nothing behind.
TEST(Parse, FailedParseLeavesNothing)
{
    EXPECT_EQ(parse("PID = 5 && bogus && 'left' && TID = 7"), "rc=11");
    EXPECT_EQ(parse("SEV = ERR"), "=(SEV, SEV:2)");
    EXPECT_EQ(parse("PID = 5 && (TID = 'half"), "rc=13");
    EXPECT_EQ(parse("LEVEL = 3"), "=(LEVEL, 3)");
    EXPECT_EQ(parse("HOSTNAME BETWEEN 'a' && 5 && 'stale'"), "rc=1");
    EXPECT_EQ(parse("HOSTNAME = 'fresh'"), "=(HOSTNAME, 'fresh')");
}

TEST(Parse, ThreadsGetTheirOwnTrees)
{
    std::vector<std::thread> threads;
    std::vector<int> failures(8, 0);
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &failures] {
            const std::string query = "PID = " + std::to_string(t) + " && HOSTNAME != 'host" + std::to_string(t) +
                                      "' || TID BETWEEN " + std::to_string(t) + " && " + std::to_string(t + 10);
            const std::string expected = "OR(AND(=(PID, " + std::to_string(t) + "), !=(HOSTNAME, 'host" +
                                         std::to_string(t) + "')), AND(>(TID, " + std::to_string(t) +
                                         "), <(TID, " + std::to_string(t + 10) + ")))";
            for (int i = 0; i < 300; ++i) {
                QueryNode *root = nullptr;
                if (parseQueryString(query.c_str(), "en_US", &root) != 0 || treeText(root) != expected)
                    ++failures[t];
                removeTree(root);
            }
        });
    }
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(failures, std::vector<int>(8, 0));
}

}  // namespace
