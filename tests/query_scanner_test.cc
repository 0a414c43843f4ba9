// Token streams of the query scanner, driven through its input-source interface.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace {

// A text's tokens, blank-separated: I<number>, K<field code>, S<severity>, M<type>,
// E<code>[<token text>], literals as written, operators by name.
std::string scan(const std::string &text)
{
    static const char *const operators[] = {"BETWEEN", "AND", "OR", "<", ">", "<=", ">=", "=", "!=", "(", ")"};
    EXPECT_EQ(yysetbuffer(text.c_str()), 1);
    std::string out;
    QueryNode record{};
    for (int code; (code = yylex(&record)) != 0;) {
        const std::string token(yytext, static_cast<size_t>(yyleng));
        const std::string value = std::to_string(record.value);
        out += out.empty() ? "" : " ";
        switch (code) {
        case STRINGCONST:
            EXPECT_EQ(reinterpret_cast<const char *>(static_cast<uintptr_t>(record.value)), yytext);
            out += token;
            break;
        case INTCONST: out += "I" + value; break;
        case KEYWORDS: out += "K" + value; break;
        case SEVTYPES: out += "S" + value; break;
        case MSGTYPES: out += "M" + value; break;
        case ERROR_FOUND: out += "E" + value + "[" + token + "]"; break;
        default: out += code >= BETWEEN && code <= ROUND_CLOSE ? operators[code - BETWEEN] : "?"; break;
        }
    }
    yyunsetbuffer();
    return out;
}

TEST(Scanner, WordsInCapitalsAndSmallLettersOnly)
{
    const std::pair<const char *, const char *> words[] = {
        {"PRODID", "K263"}, {"ORGID", "K264"},   {"FILEID", "K265"},  {"SUBJECT", "K266"},  {"RETURNVAL", "K267"},
        {"STDATE", "K268"}, {"ENDATE", "K269"},  {"LEVEL", "K270"},   {"PID", "K271"},      {"TID", "K272"},
        {"SEV", "K273"},    {"MSGTYPE", "K274"}, {"CTXTOK", "K275"},  {"CTX", "K275"},      {"PREVTIME", "K276"},
        {"WHO", "K277"},    {"HOSTNAME", "K278"}, {"LOGSET", "K279"}, {"INFO", "S0"},       {"WARNING", "S1"},
        {"ERR", "S2"},      {"CRIT", "S3"},      {"EMERG", "S4"},     {"DEBUG", "M0"},      {"DIAG", "M1"},
        {"APP", "M2"},      {"AUDIT", "M4"},     {"BETWEEN", "BETWEEN"}};
    for (const auto &[word, expected] : words) {
        std::string small = word;
        for (char &c : small)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        std::string mixed = small;
        mixed[0] = word[0];
        EXPECT_EQ(scan(word), expected);
        EXPECT_EQ(scan(small), expected);
        EXPECT_EQ(scan(mixed), "E11[" + mixed + "]");
    }
}

TEST(Scanner, TokenStreams)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {" \t \t", ""},
        {"007 0 18446744073709551615 99999999999999999999",
         "I7 I0 I18446744073709551615 I18446744073709551615"},
        {"-5 1.5", "E13[-] I5 I1 E13[.] I5"},
        {"PIDX SEV2 CTXTOKEN pRODID", "E11[PIDX] E11[SEV2] E11[CTXTOKEN] E11[pRODID]"},
        {"AND and OR or NOT", "E11[AND] E11[and] E11[OR] E11[or] E11[NOT]"},
        {"a_b", "E11[a] E13[_] E11[b]"},
        {"sev<=3", "K273 <= I3"},
        {"( ) <= >= < > = != && ||", "( ) <= >= < > = != AND OR"},
        {"<> == =< => <>=", "< > = = = < = > < >="},
        {"! & | &&&", "E13[!] E13[&] E13[|] AND E13[&]"},
        {"'a b' '' 'x''y' \"q\"", "'a b' '' 'x' 'y' E13[\"] E11[q] E13[\"]"},
        {"'a\n\tb'", "'a\n\tb'"},
        {"'abc\ndef", "E12['abc] E11[def]"},
        {"'a\nb\nc", "E12['a\nb] E11[c]"},
        {"'abc", "E13['] E11[abc]"},
        {"\r\f\x80\xff", "E13[\r] E13[\f] E13[\x80] E13[\xff]"},
        {"PID\n5\tTID", "K271 I5 K272"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(scan(text), expected) << text;
}

// A line feed outside a literal is no token but is echoed.
TEST(Scanner, LineFeedIsEchoed)
{
    FILE *saved = yyout;
    yyout = std::tmpfile();
    ASSERT_NE(yyout, nullptr);
    EXPECT_EQ(scan("PID\n'abc\ndef"), "K271 E12['abc] E11[def]");
    std::rewind(yyout);
    char echoed[8] = {};
    EXPECT_EQ(std::fread(echoed, 1, sizeof echoed, yyout), 2u);
    EXPECT_STREQ(echoed, "\n\n");
    std::fclose(yyout);
    yyout = saved;
}

// Texts beyond one input request and beyond the working buffer arrive whole and in order.
TEST(Scanner, LongTexts)
{
    std::string text;
    std::string expected;
    for (int i = 0; text.size() < 40000; ++i) {
        text += std::to_string(i) + " ";
        expected += (i ? " I" : "I") + std::to_string(i);
    }
    EXPECT_EQ(scan(text), expected);
    for (size_t length : {8190u, 8191u, 16381u, 16382u, 16383u, 40000u}) {
        const std::string literal = "'" + std::string(length, 'x') + "'";
        EXPECT_EQ(scan(literal + " 7"), literal + " I7") << length;
    }
}

// A scan abandoned in the middle of its text leaves nothing for the next text.
TEST(Scanner, NewTextStartsFromNothing)
{
    QueryNode record{};
    for (const char *abandoned : {"PID = 5 && 'never seen'", "'abc"}) {
        ASSERT_EQ(yysetbuffer(abandoned), 1);
        EXPECT_NE(yylex(&record), 0);
        EXPECT_EQ(scan("SEV"), "K273");
    }
}

// At most one character fewer than asked for, consecutive pieces, then nothing.
TEST(ScannerInput, HandsOverPiecesAndReportsTheEnd)
{
    char buffer[8];
    EXPECT_EQ(yyiseob() + myinput(buffer, sizeof buffer), 1u);  // no source installed
    ASSERT_EQ(yysetbuffer("abcdefghij"), 1);
    EXPECT_EQ(myinput(buffer, 1), 0u);
    EXPECT_EQ(myinput(buffer, sizeof buffer), 7u);
    EXPECT_EQ(yyiseob(), 0);
    EXPECT_EQ(myinput(buffer + 7, 2), 1u);
    EXPECT_EQ(myinput(buffer, sizeof buffer), 2u);
    EXPECT_EQ(std::string(buffer, 8), "ijcdefgh");
    EXPECT_EQ(yyiseob() + myinput(buffer, sizeof buffer), 1u);
    yyunsetbuffer();
    EXPECT_EQ(yysetbuffer(nullptr) + yyiseob() + yywrap(), 2);
    ASSERT_EQ(yysetbuffer("PID 'x'"), 1);  // no value record: codes only
    EXPECT_EQ(yylex(nullptr) + yylex(nullptr), KEYWORDS + STRINGCONST);
    yyunsetbuffer();
}

TEST(ErrorRoutine, MessagesToCodes)
{
    EXPECT_EQ(yyerror("Undefined keyword"), 11u);
    EXPECT_EQ(yyerror("Unterminated string"), 12u);
    EXPECT_EQ(yyerror("Unrecognized string"), 13u);
    EXPECT_EQ(yyerror("undefined keyword"), 18u);
    EXPECT_EQ(yyerror(nullptr), 18u);
}

#if !defined(__SANITIZE_ADDRESS__)
// Out of memory (a size no allocation satisfies) ends the process with status 2.
TEST(ScannerDeathTest, OutOfMemory)
{
    EXPECT_EXIT(yy_create_buffer(nullptr, -5), ::testing::ExitedWithCode(2),
                "^out of dynamic memory in yy_create_buffer\\(\\)\n$");
}
#endif

}  // namespace
