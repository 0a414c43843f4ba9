// What the scanner and the parser report to the error routine, and the parser trace.
#include "query/query_internal.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ParserMessages, ReportedTexts)
{
    struct {
        std::string query;
        uint32_t code;
        const char *message;
    } const cases[] = {
        // The complete comparison is reduced before the stray token is looked at.
        {"PID = 5 PID = 6", 1, "parse error, unexpected KEYWORDS, expecting end of input"},
        {"PID = 5 @", 1, "parse error, unexpected ERROR_FOUND, expecting end of input"},
        {"PID BETWEEN 10 && 'x'", 1, "parse error, unexpected STRINGCONST, expecting INTCONST"},
        {"PID BETWEEN 10 || 20", 1, "parse error, unexpected OR, expecting AND"},
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

TEST(ParserTrace, WrittenToStandardErrorWhenSwitchedOn)
{
    for (int debug : {0, 1}) {
        QueryNode *root = nullptr;
        yydebug = debug;
        ::testing::internal::CaptureStderr();
        ASSERT_EQ(parseQueryString("PID = 5", nullptr, &root), 0u);
        yydebug = 0;
        const std::string trace = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(trace.find("Shifting token KEYWORDS") != std::string::npos, debug == 1) << trace;
        removeTree(root);
    }
}

}  // namespace
