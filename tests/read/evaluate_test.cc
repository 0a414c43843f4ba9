// Records of every kind against hand-built query trees: field rules, operand order,
// context-token rules, the size limits of the walk; the checksum exported beside it.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <string>

namespace {

class Evaluate : public ::testing::Test {
protected:
    Evaluate()
    {
        for (uint32_t kind = 0; kind < 5; ++kind) {
            ZelkLogMsg &r = records_[kind];
            std::memset(&r, 0, sizeof r);
            r.kind = kind;
            r.productId = 1001;
            r.originatorId = 112;
            r.timeMs = 1999;
            r.pid = 1234;
            r.tid = 55;
        }
        records_[0].kindData.first.level = 5;
        records_[0].kindData.second.who = text("debugger");
        records_[1].kindData.first.level = 9;
        records_[1].kindData.second.who = text("diagnostics");
        records_[2].kindData.first.severity = ZELKLOG_SEV_CRIT;
        records_[2].kindData.second.who = text("sysadmin");
        records_[2].contextToken = text("tok-1");
        records_[3].kindData.first.contextText = text("Nightly backup");
        records_[3].contextToken = text("tok-1");
        records_[4].kindData.second.subject = text("login");
        records_[4].kindData.returnValue = -1;
    }
    ~Evaluate() override
    {
        query_.root = nullptr;  // the nodes are the fixture's own
        zelkLogDestroyQuery(&query_);
    }
    char *text(const char *value) { return const_cast<char *>(texts_.emplace_back(value).c_str()); }
    QueryNode *node(int32_t kind, uint64_t value, QueryNode *left = nullptr, QueryNode *right = nullptr)
    {
        return &nodes_.emplace_back(QueryNode{kind, 0, value, nullptr, left, right});
    }
    QueryNode *op(int32_t kind, QueryNode *left, QueryNode *right) { return node(kind, 0, left, right); }
    // field <op> number, or field <op> 'text' when `constant` is given.
    QueryNode *cmp(int32_t field, int32_t kind, int64_t number, const char *constant = nullptr)
    {
        QueryNode *value = constant != nullptr
                               ? node(STRINGCONST, reinterpret_cast<uintptr_t>(text(constant)))
                               : node(INTCONST, static_cast<uint64_t>(number));
        return op(kind, node(KEYWORDS, static_cast<uint64_t>(field)), value);
    }
    bool matches(QueryNode *root, ZelkLogMsg &record)
    {
        query_.root = root;
        return IsTrueCondition(&record, &query_) == 1;
    }
    std::string byKind(QueryNode *root)  // "10100": one character per kind 0..4
    {
        std::string result;
        for (ZelkLogMsg &record : records_)
            result += matches(root, record) ? '1' : '0';
        return result;
    }
    std::deque<std::string> texts_;
    std::deque<QueryNode> nodes_;
    ZelkLogMsg records_[5];
    LogQuery query_{};
};

TEST_F(Evaluate, FieldRulesPerKind)
{
    // Context records never match without an ALL test.
    const struct {
        int32_t field, op;
        int64_t number;
        const char *text, *expected;
    } cases[] = {
        {ZELKLOGREC_PRODID, EQUAL, 1001, nullptr, "11101"},
        {ZELKLOGREC_ORGID, NOTEQUAL, 112, nullptr, "00000"},
        {ZELKLOGREC_SHORGID, EQUAL, 0, nullptr, "11101"},
        {ZELKLOGREC_PID, LESSEQ, 1234, nullptr, "11101"},
        {ZELKLOGREC_TID, LESS, 55, nullptr, "00000"},
        {ZELKLOGREC_SEV, NOTEQUAL, 2, nullptr, "00100"},
        {ZELKLOGREC_LEVEL, GREATER, 6, nullptr, "01000"},
        {ZELKLOGREC_LEVEL, NOTEQUAL, 0, nullptr, "11000"},
        {ZELKLOGREC_MSGTYPE, EQUAL, 4, nullptr, "00001"},
        {ZELKLOGREC_RETURNVAL, EQUAL, 0xFFFFFFFF, nullptr, "00001"},
        {ZELKLOGREC_SUBJECT, EQUAL, 0, "log", "00000"},
        {ZELKLOGREC_SUBJECT, NOTEQUAL, 0, "log", "00001"},
        {ZELKLOGREC_WHO, EQUAL, 0, "adm", "00100"},
        {ZELKLOGREC_WHO, NOTEQUAL, 0, "adm", "11000"},
        {ZELKLOGREC_ENDATE, LESS, 1, nullptr, "00000"},
        {ZELKLOGREC_HOSTNAME, EQUAL, 0, "x", "11101"},
        {ZELKLOGREC_CTXTOK, EQUAL, 0, "tok-1", "00100"},
        {ZELKLOGREC_CTXTOK, EQUAL, 0, "all", "00010"},
        {ZELKLOGREC_CTXTOK, EQUAL, 0, "All", "00000"},
        {ZELKLOGREC_CTXTOK, NOTEQUAL, 0, "ALL", "11101"},
        // A number where a text belongs is never read as a text.
        {ZELKLOGREC_SUBJECT, EQUAL, 12345, nullptr, "00000"},
    };
    for (const auto &c : cases) {
        QueryNode *root = cmp(c.field, c.op, c.number, c.text);
        EXPECT_EQ(byKind(root), c.expected) << "field " << c.field << " op " << c.op << " " << c.number;
        EXPECT_EQ(byKind(root), c.expected) << "second walk over the same marks, field " << c.field;
    }
    // Every branch is worked out, so an ALL test under OR is always seen.
    EXPECT_EQ(byKind(op(OR, cmp(ZELKLOGREC_PID, EQUAL, 1234), cmp(ZELKLOGREC_CTXTOK, EQUAL, 0, "ALL"))),
              "11111");
    EXPECT_EQ(byKind(op(AND, op(OR, cmp(ZELKLOGREC_LEVEL, EQUAL, 5), cmp(ZELKLOGREC_SEV, EQUAL, 3)),
                        cmp(ZELKLOGREC_TID, EQUAL, 55))),
              "10100");
}

TEST_F(Evaluate, ConstantOnTheLeftAndTimesTowardZero)
{
    // 1235 > PID is worked out as PID < 1235, and 1235 <= PID as PID >= 1235.
    EXPECT_EQ(byKind(op(GREATER, node(INTCONST, 1235), node(KEYWORDS, ZELKLOGREC_PID))), "11101");
    EXPECT_EQ(byKind(op(LESSEQ, node(INTCONST, 1235), node(KEYWORDS, ZELKLOGREC_PID))), "00000");
    const int64_t times[][2] = {{-1999, -1}, {-999, 0}, {1700000000123, 1700000000}};
    for (auto [timeMs, second] : times) {
        records_[2].timeMs = timeMs;
        EXPECT_TRUE(matches(cmp(ZELKLOGREC_STDATE, EQUAL, second), records_[2])) << timeMs << " ms";
    }
}

TEST_F(Evaluate, TreesBeyondTheSlotsMatchNothing)
{
    auto chain = [&](int operators, int64_t pid) {  // left-deep AND chain
        QueryNode *root = cmp(ZELKLOGREC_PID, EQUAL, pid);
        for (int i = 1; i < operators; i += 2)
            root = op(AND, root, cmp(ZELKLOGREC_PID, EQUAL, pid));
        return root;
    };
    EXPECT_TRUE(matches(chain(199, 1234), records_[0]));
    EXPECT_FALSE(matches(chain(199, 99), records_[0]));
    EXPECT_FALSE(matches(chain(201, 1234), records_[0]));
    QueryNode *deep = cmp(ZELKLOGREC_PID, EQUAL, 1234);
    for (int i = 0; i < 250; ++i)
        deep = op(OR, cmp(ZELKLOGREC_PID, EQUAL, 1234), deep);
    EXPECT_FALSE(matches(deep, records_[0])) << "deeper than the walk's stack";
    EXPECT_FALSE(matches(node(INTCONST, 3), records_[0])) << "a leaf is not a condition";
    EXPECT_EQ(IsTrueCondition(nullptr, &query_), 0);
}

// The Fletcher checksum exported beside the evaluator.
TEST(HashTokenID, FletcherSums)
{
    EXPECT_EQ(HashTokenID("", 0, 0), 0u);
    EXPECT_EQ(HashTokenID("abcde", 5, 0), 0xC8F0u);
    EXPECT_EQ(HashTokenID("abcde", 5, 12345), 0xC8F0u) << "the third argument plays no part";
    EXPECT_EQ(HashTokenID("abcde", -3, 0), 0u);
    EXPECT_EQ(HashTokenID(nullptr, 5, 0), 0u);
}

}  // namespace
