// Token streams of the query scanner, driven through its input-source interface.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A text's tokens, blank-separated: I<number>, K<field code>, S<severity>, M<type>,
// E<code>[<token text>], literals as written, operators by name.
std::string scan(const std::string &text)
{
    static const char *const operators[] = {
        "BETWEEN", "AND", "OR", "<", ">", "<=", ">=", "=", "!=", "(", ")"};
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
        case INTCONST:
            out += "I" + value;
            break;
        case KEYWORDS:
            out += "K" + value;
            break;
        case SEVTYPES:
            out += "S" + value;
            break;
        case MSGTYPES:
            out += "M" + value;
            break;
        case ERROR_FOUND:
            out += "E" + value + "[" + token + "]";
            break;
        default:
            out += code >= BETWEEN && code <= ROUND_CLOSE ? operators[code - BETWEEN] : "?";
            break;
        }
    }
    yyunsetbuffer();
    return out;
}

TEST(Scanner, TokenStreams)
{
    const std::pair<std::string, std::string> cases[] = {
        {" \t \t", ""},
        {"007 0 18446744073709551615 99999999999999999999",
         "I7 I0 I18446744073709551615 I18446744073709551615"},
        {"-5 1.5", "E13[-] I5 I1 E13[.] I5"},
        {"PIDX SEV2 CTXTOKEN pRODID Pid", "E11[PIDX] E11[SEV2] E11[CTXTOKEN] E11[pRODID] E11[Pid]"},
        {"prodid LOGSET ctx info EMERG audit between", "K263 K279 K275 S0 S4 M4 BETWEEN"},
        {"AND or a_b", "E11[AND] E11[or] E11[a] E13[_] E11[b]"},
        {"sev<=3", "K273 <= I3"},
        {"( ) <= >= < > = != && ||", "( ) <= >= < > = != AND OR"},
        {"<> == =< => <>=", "< > = = = < = > < >="},
        {"! & | &&&", "E13[!] E13[&] E13[|] AND E13[&]"},
        {"'a b' '' 'x''y' \"q\"", "'a b' '' 'x' 'y' E13[\"] E11[q] E13[\"]"},
        {"'a\n\tb'", "'a\n\tb'"},
        {"'a\nb\nc", "E12['a\nb] E11[c]"},
        {"'abc", "E13['] E11[abc]"},
        {"\r\xff", "E13[\r] E13[\xff]"},
        {"PID\n5\tTID", "K271 I5 K272"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(scan(text), expected) << text;
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
    for (size_t length : {8191u, 16382u, 16383u, 40000u}) {
        const std::string literal = "'" + std::string(length, 'x') + "'";
        EXPECT_EQ(scan(literal + " 7"), literal + " I7") << length;
    }
}

}  // namespace
