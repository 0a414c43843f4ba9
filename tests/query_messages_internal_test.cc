// What the scanner and the parser report to the error routine, and the parser trace.
#include "query/query_internal.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct MessageCase {
    std::string query;
    uint32_t code;
    const char *message;
};

void PrintTo(const MessageCase &messageCase, std::ostream *out)
{
    *out << messageCase.query.substr(0, 40);
}

class ReportedMessage : public ::testing::TestWithParam<MessageCase> {};

TEST_P(ReportedMessage, Text)
{
    QueryNode *root = nullptr;
    EXPECT_EQ(parseQueryString(GetParam().query.c_str(), nullptr, &root), GetParam().code);
    EXPECT_STREQ(zelk::query::lastParserMessage(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Parser, ReportedMessage,
    ::testing::Values(
        // The complete comparison has been reduced before the stray token is looked at.
        MessageCase{"PID = 5 PID = 6", 1, "parse error, unexpected KEYWORDS, expecting end of input"},
        MessageCase{"PID BETWEEN 10 && 'x'", 1, "parse error, unexpected STRINGCONST, expecting INTCONST"},
        MessageCase{"PID BETWEEN 10 || 20", 1, "parse error, unexpected OR, expecting AND"},
        MessageCase{"PID =", 1, "parse error, unexpected end of input"},
        MessageCase{"PID BETWEEN", 1, "parse error, unexpected end of input, expecting STRINGCONST or INTCONST"},
        MessageCase{"(PID = 5", 1, "parse error, unexpected end of input, expecting ROUND_CLOSE"},
        // Seven tokens may start an operand: too many to name.
        MessageCase{"", 1, "parse error, unexpected end of input"},
        MessageCase{"PID = 5 @", 1, "parse error, unexpected ERROR_FOUND, expecting end of input"},
        MessageCase{std::string(10000, '('), 2, "parser stack overflow"},
        MessageCase{"PID = Pid", 11, "Undefined keyword"},
        MessageCase{"PID = 'a\n", 12, "Unterminated string"},
        MessageCase{"PID = #", 13, "Unrecognized string"}),
    [](const ::testing::TestParamInfo<MessageCase> &info) { return "Case" + std::to_string(info.index); });

TEST(ParserTrace, WrittenToStandardErrorWhenSwitchedOn)
{
    QueryNode *root = nullptr;
    ::testing::internal::CaptureStderr();
    ASSERT_EQ(parseQueryString("PID = 5", nullptr, &root), 0u);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    removeTree(root);

    yydebug = 1;
    ::testing::internal::CaptureStderr();
    ASSERT_EQ(parseQueryString("PID = 5", nullptr, &root), 0u);
    yydebug = 0;
    const std::string trace = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(trace.find("Starting parse"), std::string::npos) << trace;
    EXPECT_NE(trace.find("Shifting token KEYWORDS"), std::string::npos) << trace;
    removeTree(root);
}

}  // namespace
