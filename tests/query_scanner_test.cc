// Token streams of the query scanner, driven through its input-source interface.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

struct Token {
    int code;
    uint64_t value;  // number, field code, word value or error code (0 where none)
    std::string text;

    bool operator==(const Token &other) const
    {
        return code == other.code && value == other.value && text == other.text;
    }
};

std::ostream &operator<<(std::ostream &out, const Token &token)
{
    return out << "{" << token.code << ", " << token.value << ", \"" << token.text << "\"}";
}

// Scans a whole text.  Values are kept for the codes that carry one; a literal keeps
// its token text (quotes included).
std::vector<Token> scan(const std::string &text)
{
    std::vector<Token> tokens;
    EXPECT_EQ(yysetbuffer(text.c_str()), 1);
    for (int guard = 0; guard < 100000; ++guard) {
        QueryNode record{};
        const int code = yylex(&record);
        if (code == 0)
            break;
        Token token{code, 0, std::string(yytext, static_cast<size_t>(yyleng))};
        if (code == STRINGCONST)
            EXPECT_EQ(reinterpret_cast<const char *>(static_cast<uintptr_t>(record.value)), yytext);
        else if (code <= ERROR_FOUND)
            token.value = record.value;
        tokens.push_back(token);
    }
    yyunsetbuffer();
    return tokens;
}

Token tok(int code, uint64_t value, std::string text)
{
    return Token{code, value, std::move(text)};
}

struct ScanCase {
    const char *name;
    std::string input;
    std::vector<Token> expected;
};

void PrintTo(const ScanCase &scanCase, std::ostream *out)
{
    *out << scanCase.name;
}

class ScannerTest : public ::testing::TestWithParam<ScanCase> {};

TEST_P(ScannerTest, TokenStream)
{
    EXPECT_EQ(scan(GetParam().input), GetParam().expected) << "input: " << GetParam().input;
}

const uint64_t kMax = UINT64_MAX;

INSTANTIATE_TEST_SUITE_P(
    Rules, ScannerTest,
    ::testing::Values(
        ScanCase{"Empty", "", {}},
        ScanCase{"BlanksOnly", " \t  \t", {}},
        ScanCase{"Integers", "007 0 18446744073709551615 99999999999999999999",
                 {tok(INTCONST, 7, "007"), tok(INTCONST, 0, "0"), tok(INTCONST, kMax, "18446744073709551615"),
                  tok(INTCONST, kMax, "99999999999999999999")}},
        ScanCase{"NoSignNoFraction", "-5 1.5",
                 {tok(ERROR_FOUND, 13, "-"), tok(INTCONST, 5, "5"), tok(INTCONST, 1, "1"),
                  tok(ERROR_FOUND, 13, "."), tok(INTCONST, 5, "5")}},
        ScanCase{"KeywordsBothCases",
                 "PRODID prodid ORGID orgid FILEID fileid SUBJECT subject RETURNVAL returnval STDATE stdate "
                 "ENDATE endate LEVEL level PID pid TID tid SEV sev MSGTYPE msgtype CTXTOK ctxtok CTX ctx "
                 "PREVTIME prevtime WHO who HOSTNAME hostname LOGSET logset",
                 {tok(KEYWORDS, 263, "PRODID"), tok(KEYWORDS, 263, "prodid"), tok(KEYWORDS, 264, "ORGID"),
                  tok(KEYWORDS, 264, "orgid"), tok(KEYWORDS, 265, "FILEID"), tok(KEYWORDS, 265, "fileid"),
                  tok(KEYWORDS, 266, "SUBJECT"), tok(KEYWORDS, 266, "subject"), tok(KEYWORDS, 267, "RETURNVAL"),
                  tok(KEYWORDS, 267, "returnval"), tok(KEYWORDS, 268, "STDATE"), tok(KEYWORDS, 268, "stdate"),
                  tok(KEYWORDS, 269, "ENDATE"), tok(KEYWORDS, 269, "endate"), tok(KEYWORDS, 270, "LEVEL"),
                  tok(KEYWORDS, 270, "level"), tok(KEYWORDS, 271, "PID"), tok(KEYWORDS, 271, "pid"),
                  tok(KEYWORDS, 272, "TID"), tok(KEYWORDS, 272, "tid"), tok(KEYWORDS, 273, "SEV"),
                  tok(KEYWORDS, 273, "sev"), tok(KEYWORDS, 274, "MSGTYPE"), tok(KEYWORDS, 274, "msgtype"),
                  tok(KEYWORDS, 275, "CTXTOK"), tok(KEYWORDS, 275, "ctxtok"), tok(KEYWORDS, 275, "CTX"),
                  tok(KEYWORDS, 275, "ctx"), tok(KEYWORDS, 276, "PREVTIME"), tok(KEYWORDS, 276, "prevtime"),
                  tok(KEYWORDS, 277, "WHO"), tok(KEYWORDS, 277, "who"), tok(KEYWORDS, 278, "HOSTNAME"),
                  tok(KEYWORDS, 278, "hostname"), tok(KEYWORDS, 279, "LOGSET"), tok(KEYWORDS, 279, "logset")}},
        ScanCase{"SeverityAndMessageTypeWords",
                 "INFO info WARNING warning ERR err CRIT crit EMERG emerg DEBUG debug DIAG diag APP app AUDIT audit",
                 {tok(SEVTYPES, 0, "INFO"), tok(SEVTYPES, 0, "info"), tok(SEVTYPES, 1, "WARNING"),
                  tok(SEVTYPES, 1, "warning"), tok(SEVTYPES, 2, "ERR"), tok(SEVTYPES, 2, "err"),
                  tok(SEVTYPES, 3, "CRIT"), tok(SEVTYPES, 3, "crit"), tok(SEVTYPES, 4, "EMERG"),
                  tok(SEVTYPES, 4, "emerg"), tok(MSGTYPES, 0, "DEBUG"), tok(MSGTYPES, 0, "debug"),
                  tok(MSGTYPES, 1, "DIAG"), tok(MSGTYPES, 1, "diag"), tok(MSGTYPES, 2, "APP"),
                  tok(MSGTYPES, 2, "app"), tok(MSGTYPES, 4, "AUDIT"), tok(MSGTYPES, 4, "audit")}},
        ScanCase{"MixedCaseAndLongerWordsAreNotKeywords", "Prodid pRODID PIDX SEV2 CTXTOKEN Between",
                 {tok(ERROR_FOUND, 11, "Prodid"), tok(ERROR_FOUND, 11, "pRODID"), tok(ERROR_FOUND, 11, "PIDX"),
                  tok(ERROR_FOUND, 11, "SEV2"), tok(ERROR_FOUND, 11, "CTXTOKEN"),
                  tok(ERROR_FOUND, 11, "Between")}},
        ScanCase{"NoWordOperators", "AND and OR or NOT",
                 {tok(ERROR_FOUND, 11, "AND"), tok(ERROR_FOUND, 11, "and"), tok(ERROR_FOUND, 11, "OR"),
                  tok(ERROR_FOUND, 11, "or"), tok(ERROR_FOUND, 11, "NOT")}},
        ScanCase{"UnderscoreSplitsWords", "a_b",
                 {tok(ERROR_FOUND, 11, "a"), tok(ERROR_FOUND, 13, "_"), tok(ERROR_FOUND, 11, "b")}},
        ScanCase{"OperatorsWithoutBlanks", "sev<=3",
                 {tok(KEYWORDS, 273, "sev"), tok(LESSEQ, 0, "<="), tok(INTCONST, 3, "3")}},
        ScanCase{"AllSymbols", "( ) <= >= < > = != && || BETWEEN between",
                 {tok(ROUND_OPEN, 0, "("), tok(ROUND_CLOSE, 0, ")"), tok(LESSEQ, 0, "<="),
                  tok(GREATEREQ, 0, ">="), tok(LESS, 0, "<"), tok(GREATER, 0, ">"), tok(EQUAL, 0, "="),
                  tok(NOTEQUAL, 0, "!="), tok(AND, 0, "&&"), tok(OR, 0, "||"), tok(BETWEEN, 0, "BETWEEN"),
                  tok(BETWEEN, 0, "between")}},
        ScanCase{"PairsThatAreTwoTokens", "<> == =< => <>=",
                 {tok(LESS, 0, "<"), tok(GREATER, 0, ">"), tok(EQUAL, 0, "="), tok(EQUAL, 0, "="),
                  tok(EQUAL, 0, "="), tok(LESS, 0, "<"), tok(EQUAL, 0, "="), tok(GREATER, 0, ">"),
                  tok(LESS, 0, "<"), tok(GREATEREQ, 0, ">=")}},
        ScanCase{"LoneHalvesOfOperators", "! & | &&&",
                 {tok(ERROR_FOUND, 13, "!"), tok(ERROR_FOUND, 13, "&"), tok(ERROR_FOUND, 13, "|"),
                  tok(AND, 0, "&&"), tok(ERROR_FOUND, 13, "&")}},
        ScanCase{"Literals", "'a b' '' 'x''y' \"q\"",
                 {tok(STRINGCONST, 0, "'a b'"), tok(STRINGCONST, 0, "''"), tok(STRINGCONST, 0, "'x'"),
                  tok(STRINGCONST, 0, "'y'"), tok(ERROR_FOUND, 13, "\""), tok(ERROR_FOUND, 11, "q"),
                  tok(ERROR_FOUND, 13, "\"")}},
        ScanCase{"LiteralSpansLineFeedsAndTabs", "'a\n\tb'", {tok(STRINGCONST, 0, "'a\n\tb'")}},
        ScanCase{"UnterminatedUpToLineFeed", "'abc\ndef",
                 {tok(ERROR_FOUND, 12, "'abc"), tok(ERROR_FOUND, 11, "def")}},
        ScanCase{"UnterminatedUpToLastLineFeed", "'a\nb\nc",
                 {tok(ERROR_FOUND, 12, "'a\nb"), tok(ERROR_FOUND, 11, "c")}},
        ScanCase{"QuoteWithoutLineFeedOrClosingQuote", "'abc",
                 {tok(ERROR_FOUND, 13, "'"), tok(ERROR_FOUND, 11, "abc")}},
        ScanCase{"ControlAndHighBytes", "\r\f\x80\xff",
                 {tok(ERROR_FOUND, 13, "\r"), tok(ERROR_FOUND, 13, "\f"), tok(ERROR_FOUND, 13, "\x80"),
                  tok(ERROR_FOUND, 13, "\xff")}},
        ScanCase{"LineFeedAndTabSeparate", "PID\n5\tTID",
                 {tok(KEYWORDS, 271, "PID"), tok(INTCONST, 5, "5"), tok(KEYWORDS, 272, "TID")}}),
    [](const ::testing::TestParamInfo<ScanCase> &info) { return std::string(info.param.name); });

// A line feed outside a literal produces no token but is echoed to the echo stream.
TEST(Scanner, LineFeedIsEchoed)
{
    FILE *saved = yyout;
    FILE *capture = std::tmpfile();
    ASSERT_NE(capture, nullptr);
    yyout = capture;
    const auto tokens = scan("PID\n'abc\ndef");
    yyout = saved;
    std::rewind(capture);
    char echoed[8] = {};
    const size_t count = std::fread(echoed, 1, sizeof echoed, capture);
    std::fclose(capture);
    EXPECT_EQ(std::string(echoed, count), "\n\n");
    EXPECT_EQ(tokens, (std::vector<Token>{tok(KEYWORDS, 271, "PID"), tok(ERROR_FOUND, 12, "'abc"),
                                          tok(ERROR_FOUND, 11, "def")}));
}

// A text far beyond one input request and beyond the working buffer arrives in order,
// and so does a single literal that is longer than the working buffer.
TEST(Scanner, LongTextsInFullAndInOrder)
{
    std::string text;
    std::vector<Token> expected;
    for (uint64_t i = 0; text.size() < 40000; ++i) {
        text += std::to_string(i) + " ";
        expected.push_back(tok(INTCONST, i, std::to_string(i)));
    }
    EXPECT_EQ(scan(text), expected);

    for (size_t length : {8190u, 8191u, 16381u, 16382u, 16383u, 40000u}) {
        const std::string literal = "'" + std::string(length, 'x') + "'";
        EXPECT_EQ(scan(literal + " 7"), (std::vector<Token>{tok(STRINGCONST, 0, literal), tok(INTCONST, 7, "7")}))
            << length;
    }
}

// A scan abandoned in the middle of its text leaves nothing for the next text.
TEST(Scanner, NewTextStartsFromNothing)
{
    ASSERT_EQ(yysetbuffer("PID = 5 && TID = 6 && 'never seen'"), 1);
    QueryNode record{};
    EXPECT_EQ(yylex(&record), KEYWORDS);
    EXPECT_EQ(yylex(&record), EQUAL);
    yyunsetbuffer();
    EXPECT_EQ(scan("SEV"), (std::vector<Token>{tok(KEYWORDS, 273, "SEV")}));

    ASSERT_EQ(yysetbuffer("'abc"), 1);
    EXPECT_EQ(yylex(&record), ERROR_FOUND);
    EXPECT_EQ(yysetbuffer("7"), 1);  // replaces the text without an explicit release
    EXPECT_EQ(yylex(&record), INTCONST);
    EXPECT_EQ(record.value, 7u);
    EXPECT_EQ(yylex(&record), 0);
    yyunsetbuffer();
}

TEST(ScannerInput, HandsOverPiecesAndReportsTheEnd)
{
    char buffer[8];
    EXPECT_EQ(yyiseob(), 1);
    EXPECT_EQ(myinput(buffer, sizeof buffer), 0u);  // no source installed
    ASSERT_EQ(yysetbuffer("abcdefghij"), 1);
    EXPECT_EQ(yyiseob(), 0);
    EXPECT_EQ(myinput(buffer, 1), 0u);  // room for nothing
    EXPECT_EQ(myinput(buffer, sizeof buffer), 7u);
    EXPECT_EQ(std::string(buffer, 7), "abcdefg");
    EXPECT_EQ(yyiseob(), 0);
    EXPECT_EQ(myinput(buffer, sizeof buffer), 3u);
    EXPECT_EQ(std::string(buffer, 3), "hij");
    EXPECT_EQ(yyiseob(), 1);
    EXPECT_EQ(myinput(buffer, sizeof buffer), 0u);
    yyunsetbuffer();
    EXPECT_EQ(yyiseob(), 1);
    EXPECT_EQ(yysetbuffer(nullptr), 0);
    EXPECT_EQ(yyiseob(), 1);
    EXPECT_EQ(yywrap(), 1);
}

TEST(ErrorRoutine, MessagesToCodes)
{
    EXPECT_EQ(yyerror("Undefined keyword"), 11u);
    EXPECT_EQ(yyerror("Unterminated string"), 12u);
    EXPECT_EQ(yyerror("Unrecognized string"), 13u);
    EXPECT_EQ(yyerror("parser stack overflow"), 18u);
    EXPECT_EQ(yyerror("undefined keyword"), 18u);
    EXPECT_EQ(yyerror(nullptr), 18u);
}

}  // namespace

namespace {

#if !defined(__SANITIZE_ADDRESS__)
// The scanner's buffer functions end the process when memory runs out (here: a buffer
// size no allocation can satisfy).
TEST(ScannerDeathTest, OutOfMemoryEndsTheProcessWithStatusTwo)
{
    EXPECT_EXIT(yy_create_buffer(nullptr, -5), ::testing::ExitedWithCode(2),
                "^out of dynamic memory in yy_create_buffer\\(\\)\n$");
}
#endif

}  // namespace
