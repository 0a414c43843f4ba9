// Testing records against hand-built query trees: every field against every record kind,
// operand order, the context-token rules and trees at the size limits.
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace {

// Owns the nodes and texts of the trees of one test.
class TreeBuilder {
public:
    QueryNode *field(int32_t code) { return leaf(KEYWORDS, static_cast<uint64_t>(code)); }
    QueryNode *number(int64_t value) { return leaf(INTCONST, static_cast<uint64_t>(value)); }
    QueryNode *text(const char *value)
    {
        texts_.emplace_back(value);
        return leaf(STRINGCONST, reinterpret_cast<uintptr_t>(texts_.back().c_str()));
    }
    QueryNode *op(int32_t kind, QueryNode *left, QueryNode *right)
    {
        QueryNode *node = leaf(kind, 0);
        node->left = left;
        node->right = right;
        return node;
    }
    QueryNode *compare(int32_t fieldCode, int32_t kind, int64_t value)
    {
        return op(kind, field(fieldCode), number(value));
    }
    QueryNode *compareText(int32_t fieldCode, int32_t kind, const char *value)
    {
        return op(kind, field(fieldCode), text(value));
    }

private:
    QueryNode *leaf(int32_t kind, uint64_t value)
    {
        nodes_.push_back(QueryNode{kind, 0, value, nullptr, nullptr, nullptr});
        return &nodes_.back();
    }
    std::deque<QueryNode> nodes_;
    std::deque<std::string> texts_;
};

// One record of each kind; texts point at literals and are never released.
struct Records {
    std::array<ZelkLogMsg, 5> byKind;
    Records()
    {
        for (uint32_t kind = 0; kind < 5; ++kind) {
            ZelkLogMsg &r = byKind[kind];
            std::memset(&r, 0, sizeof r);
            r.kind = kind;
            r.format = ZELKLOG_FORMAT_10006;
            r.productId = 1001;
            r.originatorId = 112;
            r.fileId = 7;
            r.timeMs = 1999;
            r.pid = 1234;
            r.tid = 55;
        }
        byKind[0].kindData.first.level = 5;
        byKind[0].kindData.second.who = const_cast<char *>("debugger");
        byKind[1].kindData.first.level = 9;
        byKind[1].kindData.second.who = const_cast<char *>("diagnostics");
        byKind[2].kindData.first.severity = ZELKLOG_SEV_CRIT;
        byKind[2].kindData.second.who = const_cast<char *>("sysadmin");
        byKind[2].contextToken = const_cast<char *>("tok-1");
        byKind[3].kindData.first.contextText = const_cast<char *>("Nightly backup");
        byKind[3].contextToken = const_cast<char *>("tok-1");
        byKind[4].kindData.second.subject = const_cast<char *>("login");
        byKind[4].kindData.returnValue = -1;
    }
};

class Evaluate : public ::testing::Test {
protected:
    void TearDown() override
    {
        removeContextHashTable(query_.contextTitles);
        RemoveAllLocalizers(&query_.localizers);
    }
    bool matches(QueryNode *root, ZelkLogMsg &record)
    {
        query_.root = root;
        return IsTrueCondition(&record, &query_) == 1;
    }
    // "01001" style: one character per kind 0..4.
    std::string matchesByKind(QueryNode *root)
    {
        std::string result;
        for (ZelkLogMsg &record : records_.byKind)
            result += matches(root, record) ? '1' : '0';
        return result;
    }
    TreeBuilder tree_;
    Records records_;
    LogQuery query_{};
};

TEST_F(Evaluate, FieldsAgainstEveryKind)
{
    struct Case {
        const char *what;
        std::function<QueryNode *(TreeBuilder &)> build;
        const char *expected;  // kinds 0..4; context records never match without an ALL test
    } cases[] = {
        {"PRODID = 1001", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_PRODID, EQUAL, 1001); }, "11101"},
        {"ORGID != 112", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_ORGID, NOTEQUAL, 112); }, "00000"},
        {"SHORGID = 7", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_SHORGID, EQUAL, 7); }, "11101"},
        {"PID = 1234", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_PID, EQUAL, 1234); }, "11101"},
        {"TID < 55", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_TID, LESS, 55); }, "00000"},
        {"SEV >= ERR", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_SEV, GREATEREQ, 2); }, "00100"},
        {"SEV != ERR", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_SEV, NOTEQUAL, 2); }, "00100"},
        {"LEVEL > 6", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_LEVEL, GREATER, 6); }, "01000"},
        {"LEVEL != 0", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_LEVEL, NOTEQUAL, 0); }, "11000"},
        {"MSGTYPE = 4", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_MSGTYPE, EQUAL, 4); }, "00001"},
        {"RETURNVAL = 2^32-1 (unsigned)",
         [](TreeBuilder &t) { return t.compare(ZELKLOGREC_RETURNVAL, EQUAL, 0xFFFFFFFFll); }, "00001"},
        {"RETURNVAL < 0", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_RETURNVAL, LESS, 0); }, "00000"},
        {"SUBJECT = login", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_SUBJECT, EQUAL, "login"); }, "00001"},
        {"SUBJECT = log (exact only)",
         [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_SUBJECT, EQUAL, "log"); }, "00000"},
        {"SUBJECT != log", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_SUBJECT, NOTEQUAL, "log"); }, "00001"},
        {"WHO = adm (substring)", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_WHO, EQUAL, "adm"); }, "00100"},
        {"WHO = diag", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_WHO, EQUAL, "diag"); }, "01000"},
        {"WHO != adm", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_WHO, NOTEQUAL, "adm"); }, "11000"},
        {"STDATE = 1 (1999 ms)", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_STDATE, EQUAL, 1); }, "11101"},
        {"ENDATE < 2", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_ENDATE, LESS, 2); }, "11101"},
        {"HOSTNAME = x", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_HOSTNAME, EQUAL, "x"); }, "11101"},
        {"LOGSETID = 3", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_LOGSETID, EQUAL, 3); }, "11101"},
        {"PREVTIME = 5", [](TreeBuilder &t) { return t.compare(ZELKLOGREC_PREVTIME, EQUAL, 5); }, "11101"},
        {"CTXTOK = tok-1", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_CTXTOK, EQUAL, "tok-1"); }, "00100"},
        {"CTXTOK = ALL", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_CTXTOK, EQUAL, "ALL"); }, "00010"},
        {"CTXTOK = all", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_CTXTOK, EQUAL, "all"); }, "00010"},
        {"CTXTOK = All (not the keyword)",
         [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_CTXTOK, EQUAL, "All"); }, "00000"},
        {"CTXTOK != ALL", [](TreeBuilder &t) { return t.compareText(ZELKLOGREC_CTXTOK, NOTEQUAL, "ALL"); }, "11101"},
        {"PID = 1234 || CTXTOK = ALL (no branch skipped)",
         [](TreeBuilder &t) {
             return t.op(OR, t.compare(ZELKLOGREC_PID, EQUAL, 1234), t.compareText(ZELKLOGREC_CTXTOK, EQUAL, "ALL"));
         },
         "11111"},
        {"SEV >= ERR && PID = 1234",
         [](TreeBuilder &t) {
             return t.op(AND, t.compare(ZELKLOGREC_SEV, GREATEREQ, 2), t.compare(ZELKLOGREC_PID, EQUAL, 1234));
         },
         "00100"},
        {"(LEVEL = 5 || SEV = CRIT) && TID = 55",
         [](TreeBuilder &t) {
             QueryNode *either = t.op(OR, t.compare(ZELKLOGREC_LEVEL, EQUAL, 5), t.compare(ZELKLOGREC_SEV, EQUAL, 3));
             return t.op(AND, either, t.compare(ZELKLOGREC_TID, EQUAL, 55));
         },
         "10100"},
    };
    for (const Case &c : cases) {
        TreeBuilder builder;
        QueryNode *root = c.build(builder);
        EXPECT_EQ(matchesByKind(root), c.expected) << c.what;
        // A second pass reuses the marks of the first and must give the same answer.
        EXPECT_EQ(matchesByKind(root), c.expected) << c.what << " (second evaluation)";
    }
}

TEST_F(Evaluate, ConstantOnTheLeftMirrorsTheOperator)
{
    for (int32_t op : {LESS, GREATER, LESSEQ, GREATEREQ, EQUAL, NOTEQUAL}) {
        for (int64_t constant : {1233, 1234, 1235}) {
            QueryNode *fieldFirst = tree_.op(op, tree_.field(ZELKLOGREC_PID), tree_.number(constant));
            int32_t mirroredOp = op == LESS ? GREATER : op == GREATER ? LESS
                               : op == LESSEQ ? GREATEREQ : op == GREATEREQ ? LESSEQ : op;
            QueryNode *constantFirst = tree_.op(mirroredOp, tree_.number(constant), tree_.field(ZELKLOGREC_PID));
            EXPECT_EQ(matches(fieldFirst, records_.byKind[0]), matches(constantFirst, records_.byKind[0]))
                << "op " << op << " constant " << constant;
        }
    }
}

TEST_F(Evaluate, TimesRoundTowardZero)
{
    struct Case {
        int64_t timeMs;
        int64_t second;
    } cases[] = {{1999, 1}, {-1999, -1}, {999, 0}, {-999, 0}, {1000, 1}, {1700000000123, 1700000000}};
    for (const Case &c : cases) {
        records_.byKind[2].timeMs = c.timeMs;
        QueryNode *root = tree_.compare(ZELKLOGREC_STDATE, EQUAL, c.second);
        EXPECT_TRUE(matches(root, records_.byKind[2])) << c.timeMs << " ms";
    }
}

TEST_F(Evaluate, TextFieldsWithoutTextMatchNothing)
{
    records_.byKind[2].kindData.second.who = nullptr;
    records_.byKind[4].kindData.second.subject = nullptr;
    EXPECT_FALSE(matches(tree_.compareText(ZELKLOGREC_WHO, NOTEQUAL, "x"), records_.byKind[2]));
    EXPECT_FALSE(matches(tree_.compareText(ZELKLOGREC_SUBJECT, NOTEQUAL, "x"), records_.byKind[4]));
    // A number where a text belongs is never read as a text.
    EXPECT_FALSE(matches(tree_.compare(ZELKLOGREC_SUBJECT, EQUAL, 12345), records_.byKind[4]));
    EXPECT_FALSE(matches(tree_.compare(ZELKLOGREC_WHO, EQUAL, 12345), records_.byKind[2]));
    EXPECT_FALSE(matches(tree_.compare(ZELKLOGREC_CTXTOK, EQUAL, 12345), records_.byKind[2]));
}

TEST_F(Evaluate, StringComparisons)
{
    struct Case {
        int32_t op;
        const char *text;
        const char *constant;
        int exact;
        int substring;
    } cases[] = {
        {EQUAL, "sysadmin", "sysadmin", 1, 1}, {EQUAL, "sysadmin", "adm", 0, 1},
        {NOTEQUAL, "sysadmin", "adm", 1, 0},   {NOTEQUAL, "sysadmin", "root", 1, 1},
        {EQUAL, "sysadmin", "", 0, 1},         {LESS, "a", "b", 0, 0},
        {GREATER, "b", "b", 0, 0},             {EQUAL, nullptr, "x", 0, 0},
        {NOTEQUAL, nullptr, "x", 0, 0},        {NOTEQUAL, "x", nullptr, 0, 0},
    };
    for (const Case &c : cases) {
        std::string label = std::string(c.text ? c.text : "(null)") + " op " + std::to_string(c.op) + " " +
                            (c.constant ? c.constant : "(null)");
        EXPECT_EQ(evalString(c.op, c.text, c.constant), c.exact) << label;
        EXPECT_EQ(evalStringWithStrstr(c.op, c.text, c.constant), c.substring) << label;
    }
}

// A left-deep chain of `operators` AND nodes over PID comparisons.
QueryNode *andChain(TreeBuilder &t, int operators, int64_t pid)
{
    QueryNode *node = t.compare(ZELKLOGREC_PID, EQUAL, pid);
    for (int i = 1; i < operators; i += 2)
        node = t.op(AND, node, t.compare(ZELKLOGREC_PID, EQUAL, pid));
    return node;
}

TEST_F(Evaluate, LargestTreeIsEvaluatedLargerOnesMatchNothing)
{
    QueryNode *largest = andChain(tree_, 199, 1234);
    EXPECT_TRUE(matches(largest, records_.byKind[0]));
    QueryNode *largestMiss = andChain(tree_, 199, 99);
    EXPECT_FALSE(matches(largestMiss, records_.byKind[0]));

    EXPECT_FALSE(matches(andChain(tree_, 201, 1234), records_.byKind[0]));
    // A right-deep chain deeper than the walk's stack.
    QueryNode *deep = tree_.compare(ZELKLOGREC_PID, EQUAL, 1234);
    for (int i = 0; i < 250; ++i)
        deep = tree_.op(OR, tree_.compare(ZELKLOGREC_PID, EQUAL, 1234), deep);
    EXPECT_FALSE(matches(deep, records_.byKind[0]));
}

TEST_F(Evaluate, RefusesMissingPieces)
{
    QueryNode *root = tree_.compare(ZELKLOGREC_PID, EQUAL, 1234);
    query_.root = nullptr;
    EXPECT_EQ(IsTrueCondition(&records_.byKind[0], &query_), 0);
    query_.root = tree_.number(3);  // a leaf is not a condition
    EXPECT_EQ(IsTrueCondition(&records_.byKind[0], &query_), 0);
    query_.root = root;
    EXPECT_EQ(IsTrueCondition(nullptr, &query_), 0);
    EXPECT_EQ(IsTrueCondition(&records_.byKind[0], nullptr), 0);
    int32_t results[200] = {};
    uint8_t seen = 0;
    EXPECT_EQ(getResult(nullptr, root, results, &seen), 0);
    EXPECT_EQ(getResult(&records_.byKind[0], root, results, &seen), 1);
}

// Every entry of the query's context title table.
std::vector<const ContextTitleEntry *> titles(const LogQuery &query)
{
    std::vector<const ContextTitleEntry *> all;
    for (const ContextTitleEntry *bucket : query.contextTitles)
        for (const ContextTitleEntry *entry = bucket; entry != nullptr; entry = entry->next)
            all.push_back(entry);
    return all;
}

TEST_F(Evaluate, ContextTitlesKeepTheFirstTitle)
{
    ZelkLogMsg first = records_.byKind[ZELKLOG_MSG_CTX];
    first.args.msgId = 10;
    first.kindData.first.contextText = const_cast<char *>("first title");
    ZelkLogMsg second = first;
    second.args.msgId = 20;
    second.kindData.first.contextText = const_cast<char *>("second title");
    ZelkLogMsg untokened = first;
    untokened.contextToken = nullptr;

    QueryNode *root = tree_.compare(ZELKLOGREC_PID, EQUAL, 1234);
    // Records of other kinds, even with a token, never enter the table.
    for (uint32_t kind : {0u, 1u, 2u, 4u})
        matches(root, records_.byKind[kind]);
    EXPECT_TRUE(titles(query_).empty());

    EXPECT_FALSE(matches(root, untokened)) << "a context record needs an ALL test to match";
    EXPECT_TRUE(titles(query_).empty()) << "a context without a token adds nothing";

    EXPECT_FALSE(matches(root, first));
    EXPECT_FALSE(matches(root, second));
    auto all = titles(query_);
    ASSERT_EQ(all.size(), 1u);
    char *expected = nullptr;
    LogFormatMessage(&query_.localizers, nullptr, nullptr, 0, 1024, nullptr, &first, 0, &expected);
    ASSERT_NE(expected, nullptr);
    EXPECT_STREQ(all[0]->title, expected);
    zelkLogFree(expected);
    EXPECT_STREQ(all[0]->token, "tok-1");
    EXPECT_EQ(all[0]->productId, first.productId);
    EXPECT_EQ(all[0]->originatorId, first.originatorId);

    ZelkLogMsg other = second;
    other.contextToken = const_cast<char *>("tok-2");
    EXPECT_TRUE(matches(tree_.compareText(ZELKLOGREC_CTXTOK, EQUAL, "ALL"), other));
    EXPECT_EQ(titles(query_).size(), 2u);
    removeContextHashTable(query_.contextTitles);
    EXPECT_TRUE(titles(query_).empty());
}

}  // namespace
