// Comparison checks on date texts, the PREVTIME rewrite, and names resolved to the
// identifiers they stand for.  (The field rules are exercised through parsing.)
#include "tests/support/config_fixture.h"
#include "tests/support/query_tree_text.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

using zelk::test::treeText;

namespace {

QueryNode *token(int32_t kind, uint64_t value)
{
    QueryNode record{};
    record.value = value;
    return addNewNode(kind, &record, nullptr);
}

QueryNode *text(const std::string &content, const char *locale = nullptr)
{
    const std::string quoted = "'" + content + "'";
    QueryNode record{};
    record.value = reinterpret_cast<uintptr_t>(quoted.c_str());
    QueryNode context{};
    context.locale = const_cast<char *>(locale);
    return addNewNode(STRINGCONST, &record, &context);
}

// A date text that the date reader takes becomes the time in seconds, read with the
// leaf's locale, which stays with the leaf.
TEST(ComparisonCheck, DateTextBecomesTime)
{
    const int64_t when = 1600000000;
    ZELKLOG_UCHAR *formatted = nullptr;
    ASSERT_EQ(zelkLogstrftime(2, 3, static_cast<double>(when), "de_DE", &formatted), 0u);
    std::string ascii;  // German short dates are plain ASCII
    for (const ZELKLOG_UCHAR *unit = formatted; *unit != 0; ++unit)
        ascii += static_cast<char>(*unit);
    ReleaseDateTimeFormat(nullptr, formatted);

    QueryNode *keyword = token(KEYWORDS, ZELKLOGREC_STDATE);
    QueryNode *date = text(ascii, "de_DE");
    ASSERT_EQ(validNodes(GREATEREQ, keyword, date), 0u) << ascii;
    EXPECT_EQ(treeText(date), std::to_string(when));
    EXPECT_STREQ(date->locale, "de_DE");
    removeTree(keyword);
    removeTree(date);
    // Each bound of a range is checked: a good lower bound does not pass a bad upper one.
    QueryNode *root = nullptr;
    EXPECT_EQ(parseQueryString(("STDATE BETWEEN '" + ascii + "' && 'x'").c_str(), "de_DE", &root),
              ZELKLOG_RC_BAD_DATE);
}

TEST(PrevTime, RewritesToARangeEndingNow)
{
    const std::pair<QueryNode *, int64_t> cases[] = {
        {token(INTCONST, 3600), 3600}, {text("2:00"), 120}, {text("1:02:03"), 3723}};
    for (const auto &[value, back] : cases) {
        QueryNode *keyword = token(KEYWORDS, ZELKLOGREC_PREVTIME);
        QueryNode *range = addPrevTime(keyword, value);
        ASSERT_NE(range, nullptr);
        const auto now = static_cast<int64_t>(range->right->right->value);
        EXPECT_LE(now - static_cast<int64_t>(std::time(nullptr)), 0);
        EXPECT_EQ(treeText(range), "AND(>=(STDATE, " + std::to_string(now - back) + "), <=(ENDATE, " +
                                       std::to_string(now) + "))");
        removeTree(range);
    }
}

TEST(PrevTime, UnusableValuesLeaveTheOperandsAlone)
{
    QueryNode *keyword = token(KEYWORDS, ZELKLOGREC_PREVTIME);
    QueryNode *future = token(INTCONST, static_cast<uint64_t>(std::time(nullptr)) + 100000);
    QueryNode *words = text("an hour");
    QueryNode *badMinutes = text("1:60");
    for (QueryNode *value : {future, words, badMinutes, static_cast<QueryNode *>(nullptr)})
        EXPECT_EQ(addPrevTime(keyword, value), nullptr);
    EXPECT_EQ(addPrevTime(nullptr, future), nullptr);
    EXPECT_EQ(treeText(keyword) + treeText(words) + treeText(badMinutes), "PREVTIME'an hour''1:60'");
    for (QueryNode *node : {keyword, future, words, badMinutes})
        removeTree(node);
}

class ShortNames : public ::testing::Test {
protected:
    // Creates a query (which resolves the names): the tree, or "rc=<code>" and the tree.
    std::string resolve(const char *text)
    {
        LogQuery query;
        const uint32_t rc = zelkLogCreateQuery(text, nullptr, &query);
        std::string result = (rc == 0 ? "" : "rc=" + std::to_string(rc) + " ") + treeText(query.root);
        zelkLogDestroyQuery(&query);
        return result;
    }

    zelk::test::ConfigFixture config_{
        {{7, {"billing"}, "", {{112, {"main"}}, {5, {"worker"}, 9, {"jobs"}}}}}};
};

TEST_F(ShortNames, NamesBecomeIdentifiers)
{
    EXPECT_EQ(resolve("PRODID = 'billing' && ORGID = 'worker' || FILEID = 'jobs'"),
              "OR(AND(=(PRODID, 7), =(ORGID, 5)), =(FILEID, 9))");
    EXPECT_EQ(resolve("'billing' = PRODID && ORGID != 'main'"), "AND(=(PRODID, 7), !=(ORGID, 112))");
    EXPECT_EQ(resolve("'billing' != PRODID"), "!=('billing', PRODID)");  // only a name on the right
    EXPECT_EQ(resolve("ORGID = 'billing'"),
              "rc=" + std::to_string(ZELKLOG_RC_UNKNOWN_NAME) + " =(ORGID, 'billing')");
    EXPECT_EQ(resolve("PRODID = 'billing' && ORGID = 'nosuch' && FILEID = 'jobs'"),
              "rc=" + std::to_string(ZELKLOG_RC_UNKNOWN_NAME) +
                  " AND(AND(=(PRODID, 7), =(ORGID, 'nosuch')), =(FILEID, 'jobs'))");
}

// Operators are numbered 1, 2, ... in post-order (left first); leaves keep 0.
TEST_F(ShortNames, OperatorsNumberedInPostOrder)
{
    LogQuery query;
    ASSERT_EQ(
        zelkLogCreateQuery("PRODID = 'billing' && ORGID = 'worker' || FILEID = 'jobs'", nullptr, &query), 0u);
    const QueryNode *root = query.root, *both = root->left;
    EXPECT_EQ(std::vector<uint32_t>({both->left->visitMark, both->right->visitMark, both->visitMark,
                                     root->right->visitMark, root->visitMark, root->right->left->visitMark}),
              std::vector<uint32_t>({1, 2, 3, 4, 5, 0}));
    zelkLogDestroyQuery(&query);
}

TEST_F(ShortNames, OddTrees)
{
    EXPECT_EQ(validateShortNames(nullptr, 0, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    QueryNode *leaf = token(INTCONST, 1);
    EXPECT_EQ(validateShortNames(nullptr, 0, leaf), 0u);
    removeTree(leaf);
}

}  // namespace
