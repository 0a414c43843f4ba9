// Comparison checks, the PREVTIME rewrite and name resolution with post-order numbering.
#include "config_fixture.h"
#include "query_tree_text.h"
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

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

// Operands by a short description: a field name, a number, 'text', ERR, AUDIT, a
// subtree "(...)", or "-" for a missing operand.
QueryNode *operand(const std::string &spec)
{
    if (spec == "-")
        return nullptr;
    if (spec[0] == '\'')
        return text(spec.substr(1, spec.size() - 2));
    if (spec[0] >= '0' && spec[0] <= '9')
        return token(INTCONST, std::stoull(spec));
    if (spec == "ERR")
        return token(SEVTYPES, ZELKLOG_SEV_ERR);
    if (spec == "AUDIT")
        return token(MSGTYPES, ZELKLOG_MSG_AUDIT);
    if (spec == "(...)")
        return addNewNode(EQUAL, token(KEYWORDS, ZELKLOGREC_PID), token(INTCONST, 1));
    static const char *const fields[] = {"PRODID", "ORGID", "FILEID", "SUBJECT", "RETURNVAL", "STDATE",
                                         "ENDATE", "LEVEL", "PID", "TID", "SEV", "MSGTYPE", "CTXTOK",
                                         "PREVTIME", "WHO", "HOSTNAME", "LOGSET"};
    for (uint64_t i = 0; i < sizeof fields / sizeof fields[0]; ++i)
        if (spec == fields[i])
            return token(KEYWORDS, ZELKLOGREC_PRODID + i);
    ADD_FAILURE() << "unknown operand " << spec;
    return nullptr;
}

struct CheckCase {
    const char *left;
    int32_t op;
    const char *right;
    uint32_t code;
};

void PrintTo(const CheckCase &c, std::ostream *out)
{
    *out << c.left << " " << c.op << " " << c.right;
}

class ComparisonCheck : public ::testing::TestWithParam<CheckCase> {};

TEST_P(ComparisonCheck, Code)
{
    QueryNode *a = operand(GetParam().left);
    QueryNode *b = operand(GetParam().right);
    EXPECT_EQ(validNodes(GetParam().op, a, b), GetParam().code);
    removeTree(a);
    removeTree(b);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, ComparisonCheck,
    ::testing::Values(
        CheckCase{"-", EQUAL, "5", 3}, CheckCase{"PID", EQUAL, "-", 3},
        CheckCase{"PID", EQUAL, "PID", 14}, CheckCase{"5", EQUAL, "6", 14}, CheckCase{"(...)", LESS, "5", 14},
        CheckCase{"PID", EQUAL, "'abc'", 0}, CheckCase{"5", LESS, "PID", 0}, CheckCase{"PID", EQUAL, "(...)", 0},
        CheckCase{"SUBJECT", EQUAL, "'disk full'", 0}, CheckCase{"'x'", NOTEQUAL, "SUBJECT", 0},
        CheckCase{"SUBJECT", EQUAL, "5", 43}, CheckCase{"SUBJECT", LESS, "'a'", 44},
        CheckCase{"SUBJECT", GREATEREQ, "5", 44},
        CheckCase{"WHO", NOTEQUAL, "'root'", 0}, CheckCase{"WHO", EQUAL, "5", 18},
        CheckCase{"WHO", GREATER, "'a'", 49}, CheckCase{"WHO", LESSEQ, "5", 49},
        CheckCase{"CTXTOK", EQUAL, "'tok'", 0}, CheckCase{"CTXTOK", LESS, "'tok'", 15},
        CheckCase{"CTXTOK", LESS, "5", 18}, CheckCase{"CTXTOK", EQUAL, "ERR", 18},
        CheckCase{"PREVTIME", EQUAL, "5", 0}, CheckCase{"PREVTIME", NOTEQUAL, "5", 17},
        CheckCase{"'x'", LESS, "PREVTIME", 17},
        CheckCase{"STDATE", GREATER, "1000", 0}, CheckCase{"ENDATE", LESS, "1000", 0},
        CheckCase{"STDATE", GREATER, "ERR", 16}, CheckCase{"ENDATE", EQUAL, "'not a date'", 16},
        CheckCase{"(...)", LESS, "ENDATE", 16},
        CheckCase{"SEV", EQUAL, "7", 0}, CheckCase{"MSGTYPE", EQUAL, "ERR", 0},
        CheckCase{"HOSTNAME", LESS, "5", 0}, CheckCase{"LOGSET", GREATEREQ, "'x'", 0},
        CheckCase{"RETURNVAL", NOTEQUAL, "AUDIT", 0}, CheckCase{"PRODID", EQUAL, "'billing'", 0}),
    [](const ::testing::TestParamInfo<CheckCase> &info) { return "Case" + std::to_string(info.index); });

// A date text that the date reader takes becomes the time in seconds, read with the
// leaf's locale; the leaf keeps its locale copy.
TEST(ComparisonCheck, DateTextBecomesTime)
{
    const int64_t when = 1600000000;
    ZELKLOG_UCHAR *formatted = nullptr;
    ASSERT_EQ(zelkLogstrftime(2, 3, static_cast<double>(when), "en_US", &formatted), 0u);
    std::string utf8;
    for (const ZELKLOG_UCHAR *unit = formatted; *unit != 0; ++unit) {
        const char16_t c = *unit;  // the formatted date holds no surrogate pairs
        if (c < 0x80) {
            utf8 += static_cast<char>(c);
        } else if (c < 0x800) {
            utf8 += static_cast<char>(0xC0 | (c >> 6));
            utf8 += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            utf8 += static_cast<char>(0xE0 | (c >> 12));
            utf8 += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            utf8 += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    ReleaseDateTimeFormat(nullptr, formatted);

    QueryNode *keyword = token(KEYWORDS, ZELKLOGREC_STDATE);
    QueryNode *date = text(utf8, "en_US");
    ASSERT_EQ(validNodes(GREATEREQ, keyword, date), 0u) << utf8;
    EXPECT_EQ(date->kind, INTCONST);
    EXPECT_EQ(static_cast<int64_t>(date->value), when) << utf8;
    ASSERT_NE(date->locale, nullptr);
    EXPECT_STREQ(date->locale, "en_US");
    removeTree(keyword);
    removeTree(date);
}

TEST(PrevTime, RewritesToARangeReusingBothNodes)
{
    struct {
        QueryNode *value;
        int64_t back;
    } cases[] = {{token(INTCONST, 3600), 3600}, {text("2:00"), 120}, {text("1:02:03"), 3723}, {text("45"), 45}};
    for (auto &c : cases) {
        QueryNode *keyword = token(KEYWORDS, ZELKLOGREC_PREVTIME);
        const int64_t before = static_cast<int64_t>(std::time(nullptr));
        QueryNode *range = addPrevTime(keyword, c.value);
        const int64_t after = static_cast<int64_t>(std::time(nullptr));
        ASSERT_NE(range, nullptr);
        EXPECT_EQ(range->kind, AND);
        EXPECT_EQ(range->left, keyword);
        EXPECT_EQ(range->right, c.value);
        EXPECT_EQ(keyword->kind, GREATEREQ);
        EXPECT_EQ(c.value->kind, LESSEQ);
        EXPECT_EQ(c.value->locale, nullptr);
        const auto now = static_cast<int64_t>(c.value->right->value);
        EXPECT_GE(now, before);
        EXPECT_LE(now, after);
        EXPECT_EQ(treeText(range), "AND(>=(STDATE, " + std::to_string(now - c.back) + "), <=(ENDATE, " +
                                       std::to_string(now) + "))");
        removeTree(range);
    }
}

TEST(PrevTime, UnusableValuesLeaveTheOperandsAlone)
{
    QueryNode *keyword = token(KEYWORDS, ZELKLOGREC_PREVTIME);
    QueryNode *future = token(INTCONST, static_cast<uint64_t>(std::time(nullptr)) + 100000);
    QueryNode *words = text("an hour");
    QueryNode *badMinutes = text("1:75");
    for (QueryNode *value : {future, words, badMinutes})
        EXPECT_EQ(addPrevTime(keyword, value), nullptr);
    EXPECT_EQ(addPrevTime(nullptr, future), nullptr);
    EXPECT_EQ(addPrevTime(keyword, nullptr), nullptr);
    EXPECT_EQ(treeText(keyword), "PREVTIME");
    EXPECT_EQ(treeText(words), "'an hour'");
    EXPECT_EQ(treeText(badMinutes), "'1:75'");
    for (QueryNode *node : {keyword, future, words, badMinutes})
        removeTree(node);
}

struct ConfigArray {
    ZelkLogProductCfg *records[ZELKLOG_MAX_PRODUCTS] = {};
    uint64_t count = 0;
    ConfigArray() { EXPECT_EQ(zelkLogReadAllCfg(0, ZELKLOG_MAX_PRODUCTS, records, &count), 0u); }
    ~ConfigArray() { FreeConfigArray(records, count); }
};

class ShortNames : public ::testing::Test {
protected:
    zelk::test::ConfigFixture config_{{{7, {"billing"}, "", {{112, {"main"}}, {5, {"worker"}, 9, {"jobs"}}}}}};
    ConfigArray array_;

    // Parses and resolves; the resolved tree as text, or "rc=<code>".
    std::string resolve(const char *query, QueryNode **keep = nullptr)
    {
        QueryNode *root = nullptr;
        EXPECT_EQ(parseQueryString(query, nullptr, &root), 0u) << query;
        const uint32_t rc = validateShortNames(array_.records, array_.count, root);
        std::string result = rc == 0 ? treeText(root) : "rc=" + std::to_string(rc);
        if (keep != nullptr)
            *keep = root;
        else
            removeTree(root);
        return result;
    }
};

TEST_F(ShortNames, NamesBecomeIdentifiers)
{
    EXPECT_EQ(resolve("PRODID = 'billing' && ORGID = 'worker' || FILEID = 'jobs'"),
              "OR(AND(=(PRODID, 7), =(ORGID, 5)), =(FILEID, 9))");
    EXPECT_EQ(resolve("'billing' = PRODID && ORGID != 'main'"), "AND(=(PRODID, 7), !=(ORGID, 112))");
    EXPECT_EQ(resolve("PRODID = 17 && HOSTNAME = 'billing'"), "AND(=(PRODID, 17), =(HOSTNAME, 'billing'))");
    // Only a name on the right is resolved.
    EXPECT_EQ(resolve("'billing' != PRODID"), "!=('billing', PRODID)");
    EXPECT_EQ(resolve("PRODID = 'nosuch'"), "rc=26");
    EXPECT_EQ(resolve("ORGID = 'billing'"), "rc=26");
}

TEST_F(ShortNames, FailureKeepsWhatWasResolved)
{
    QueryNode *root = nullptr;
    EXPECT_EQ(resolve("PRODID = 'billing' && ORGID = 'nosuch' && FILEID = 'jobs'", &root), "rc=26");
    EXPECT_EQ(treeText(root), "AND(AND(=(PRODID, 7), =(ORGID, 'nosuch')), =(FILEID, 'jobs'))");
    EXPECT_EQ(root->left->left->visitMark, 1u);
    EXPECT_EQ(root->left->right->visitMark, 0u);
    removeTree(root);
}

std::string marks(const QueryNode *node)
{
    if (node == nullptr || !isoperator(node->kind))
        return node != nullptr && node->visitMark == 0 ? "" : "!";
    return "(" + marks(node->left) + " " + std::to_string(node->visitMark) + " " + marks(node->right) + ")";
}

TEST_F(ShortNames, OperatorsNumberedInPostOrder)
{
    QueryNode *root = nullptr;
    resolve("(PID = 1 && SEV = ERR) || PID = 2", &root);
    EXPECT_EQ(marks(root), "((( 1 ) 3 ( 2 )) 5 ( 4 ))");
    removeTree(root);
    resolve("PID = 1 || (TID = 2 && (LEVEL = 3 || LEVEL = 4))", &root);
    EXPECT_EQ(marks(root), "(( 1 ) 7 (( 2 ) 6 (( 3 ) 5 ( 4 ))))");
    // A second walk numbers the same way.
    EXPECT_EQ(validateShortNames(array_.records, array_.count, root), 0u);
    EXPECT_EQ(marks(root), "(( 1 ) 7 (( 2 ) 6 (( 3 ) 5 ( 4 ))))");
    removeTree(root);
}

TEST_F(ShortNames, OddTrees)
{
    EXPECT_EQ(validateShortNames(array_.records, array_.count, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    QueryNode *leaf = token(INTCONST, 1);
    EXPECT_EQ(validateShortNames(array_.records, array_.count, leaf), 0u);
    EXPECT_EQ(leaf->visitMark, 0u);
    removeTree(leaf);

    // Built by hand past the evaluator's 199 slots, leaning right far beyond the
    // walk's fixed stack.
    QueryNode *root = addNewNode(EQUAL, token(KEYWORDS, ZELKLOGREC_PID), token(INTCONST, 0));
    for (int i = 0; i < 400; ++i)
        root = addNewNode(OR, addNewNode(EQUAL, token(KEYWORDS, ZELKLOGREC_PID), token(INTCONST, 1)), root);
    EXPECT_EQ(validateShortNames(array_.records, array_.count, root), ZELKLOG_RC_QUERY_TOO_LARGE);
    removeTree(root);
}

}  // namespace
