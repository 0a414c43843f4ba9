// What the scanner and the parser report to the error routine.
#include "src/query/query_internal.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ParserMessages, ReportedTexts)
{
    const struct {
        std::string query;
        uint32_t code;
        const char *message;
    } cases[] = {
        // The complete comparison is reduced before the stray token is looked at.
        {"PID = 5 PID = 6", 1, "parse error, unexpected KEYWORDS, expecting end of input"},
        {"PID BETWEEN 10 && 'x'", 1, "parse error, unexpected STRINGCONST, expecting INTCONST"},
        {"PID BETWEEN", 1, "parse error, unexpected end of input, expecting STRINGCONST or INTCONST"},
        {"(PID = 5", 1, "parse error, unexpected end of input, expecting ROUND_CLOSE"},
        {"", 1, "parse error, unexpected end of input"},  // seven tokens could start an operand
        {std::string(10000, '('), 2, "parser stack overflow"},
        {"PID = Pid", 11, "Undefined keyword"},
        {"PID = 'a\n", 12, "Unterminated string"},
        {"PID = #", 13, "Unrecognized string"},
    };
    for (const auto &c : cases) {
        QueryNode *root = nullptr;
        EXPECT_EQ(parseQueryString(c.query.c_str(), nullptr, &root), c.code) << c.message;
        EXPECT_STREQ(zelk::query::lastParserMessage(), c.message);
    }
}

}  // namespace
