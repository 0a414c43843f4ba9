// The message decoder: layouts per format and kind, number rules, string and counted
// fields, every argument tag, nesting and failure codes.  Records are always released,
// so the sanitizer build also checks release after partial decoding.
#include "decode_helper.h"
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cwchar>
#include <functional>
#include <limits>
#include <string>

namespace {

using zelk::test::decodeText;

// A record that is released when the test case ends, whatever it holds.
struct Decoded {
    ZelkLogMsg record{};
    uint32_t rc = 0;
    Decoded(const std::string &text, uint64_t format, uint64_t presetProductId = 0)
    {
        rc = decodeText(text, format, &record, presetProductId);
    }
    ~Decoded() { zelkLogFreeMsg(&record); }
    Decoded(const Decoded &) = delete;
    Decoded &operator=(const Decoded &) = delete;

    size_t argCount() const { return static_cast<size_t>(record.args.listInfo & 0xFFFFFFFFu); }
    const ZelkLogMsgArg &arg(size_t i) const { return *record.args.args[i]; }
};

const std::string kExample = "2,7,3,1,0,999,42,17,0:,3:abc,0:,1,(100|A5:hello,i4:-1|)";

TEST(Decoder, ExampleTextPerFormat)
{
    for (uint64_t format : {ZELKLOG_FORMAT_10006, ZELKLOG_FORMAT_10007}) {
        SCOPED_TRACE(format);
        Decoded d(kExample, format);
        ASSERT_EQ(d.rc, 0u);
        const ZelkLogMsg &r = d.record;
        EXPECT_EQ(r.marker, 1u);
        EXPECT_EQ(r.format, format);
        EXPECT_EQ(r.kind, 2u);
        EXPECT_EQ(r.productId, 7u);
        EXPECT_EQ(r.originatorId, 3u);
        EXPECT_EQ(r.fileId, 1u);
        EXPECT_EQ(r.auxNumber, 0u);
        EXPECT_EQ(r.timeMs, 999);
        EXPECT_EQ(r.pid, 42u);
        EXPECT_EQ(r.tid, 17u);
        EXPECT_EQ(r.contextToken, nullptr);
        ASSERT_NE(r.auxText, nullptr);
        EXPECT_STREQ(r.auxText, "abc");
        EXPECT_EQ(r.kindData.second.who, nullptr);
        EXPECT_EQ(r.kindData.first.severity, 1u);
        EXPECT_EQ(r.args.msgId, 100u);
        ASSERT_EQ(d.argCount(), 2u);
        EXPECT_EQ(r.args.args[2], nullptr);
        EXPECT_EQ(d.arg(0).type, ZELKLOG_ARG_WSTRING);
        EXPECT_EQ(d.arg(0).ownsValue, 1u);
        EXPECT_STREQ(d.arg(0).value.wideString, L"hello");
        EXPECT_EQ(d.arg(1).type, ZELKLOG_ARG_INT);
        EXPECT_EQ(d.arg(1).ownsValue, 0u);
        EXPECT_EQ(d.arg(1).value.sizedInt.size, 4u);
        EXPECT_EQ(d.arg(1).value.sizedInt.value, -1);
    }
    for (uint64_t format : {ZELKLOG_FORMAT_10004, ZELKLOG_FORMAT_10005, ZELKLOG_FORMAT_10008}) {
        Decoded d(kExample, format);
        EXPECT_EQ(d.rc, 1u) << format;
    }
}

TEST(Decoder, UnknownFormatLeavesRecordUntouchedAndReleasesText)
{
    for (uint64_t format : {uint64_t{0}, uint64_t{0x10003}, uint64_t{0x10009}}) {
        textMessage message;
        zelk::test::loadText(&message, kExample);
        ZelkLogMsg record{};
        record.format = format;
        EXPECT_EQ(zelkLogMsgUnserialize(&message, &record), 1u);
        EXPECT_EQ(record.marker, 0u);
        EXPECT_EQ(record.kind, 0u);
        EXPECT_EQ(message.text, nullptr);  // released by the decoder
    }
}

TEST(Decoder, MissingArgumentsAreRefused)
{
    ZelkLogMsg record{};
    record.format = ZELKLOG_FORMAT_10006;
    EXPECT_EQ(zelkLogMsgUnserialize(nullptr, &record), ZELKLOG_RC_BAD_ARGUMENT);
    textMessage message;
    zelk::test::loadText(&message, kExample);
    EXPECT_EQ(zelkLogMsgUnserialize(&message, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(message.text, nullptr);
    EXPECT_EQ(zelkLogMsgUnserialize(&message, &record), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST(Decoder, HeadAndTailPerLayout)
{
    struct Case {
        const char *name;
        uint64_t format;
        std::string text;
        std::function<void(const ZelkLogMsg &)> check;
    };
    const Case cases[] = {
        {"app 10004: severity right after auxText", ZELKLOG_FORMAT_10004, "2,7,3,5,999,42,17,0:,1:x,4,(9|)",
         [](const ZelkLogMsg &r) {
             EXPECT_EQ(r.productId, 7u);
             EXPECT_EQ(r.fileId, 0u);
             EXPECT_EQ(r.auxNumber, 5u);
             EXPECT_EQ(r.kindData.second.who, nullptr);
             EXPECT_EQ(r.kindData.first.severity, 4u);
             EXPECT_EQ(r.args.msgId, 9u);
         }},
        {"app 10005 carries the file id", ZELKLOG_FORMAT_10005, "2,7,3,8,5,999,42,17,0:,0:,2,(9|)",
         [](const ZelkLogMsg &r) {
             EXPECT_EQ(r.fileId, 8u);
             EXPECT_EQ(r.kindData.first.severity, 2u);
         }},
        {"10008: no product or file id", ZELKLOG_FORMAT_10008, "2,3,5,999,42,17,2:tk,0:,3:who,3,(9|)",
         [](const ZelkLogMsg &r) {
             EXPECT_EQ(r.productId, 55u);  // preset from the file name
             EXPECT_EQ(r.originatorId, 3u);
             EXPECT_EQ(r.fileId, 0u);
             EXPECT_STREQ(r.contextToken, "tk");
             EXPECT_STREQ(r.kindData.second.who, "who");
             EXPECT_EQ(r.kindData.first.severity, 3u);
         }},
        {"debug ends after level", ZELKLOG_FORMAT_10006, "0,7,3,1,5,999,42,17,0:,0:,2:me,-12,(1|Z)junk",
         [](const ZelkLogMsg &r) {
             EXPECT_STREQ(r.kindData.second.who, "me");
             EXPECT_EQ(r.kindData.first.level, -12);
             EXPECT_EQ(r.args.msgId, 0u);
             EXPECT_EQ(r.args.args, nullptr);
         }},
        {"debug level at the end of the text", ZELKLOG_FORMAT_10006, "0,7,3,1,5,999,42,17,0:,0:,0:,7",
         [](const ZelkLogMsg &r) { EXPECT_EQ(r.kindData.first.level, 7); }},
        {"diag", ZELKLOG_FORMAT_10004, "1,7,3,5,-999,42,17,0:,0:,2:me,3,(4|S1:x,)",
         [](const ZelkLogMsg &r) {
             EXPECT_EQ(r.timeMs, -999);
             EXPECT_EQ(r.kindData.first.level, 3);
             EXPECT_EQ(r.args.msgId, 4u);
             EXPECT_STREQ(r.args.args[0]->value.string, "x");
         }},
        {"context", ZELKLOG_FORMAT_10005, "3,7,3,1,5,999,42,17,3:tok,0:,5:title,(6|)",
         [](const ZelkLogMsg &r) {
             EXPECT_STREQ(r.contextToken, "tok");
             EXPECT_STREQ(r.kindData.first.contextText, "title");
             EXPECT_EQ(r.args.msgId, 6u);
         }},
        {"audit", ZELKLOG_FORMAT_10008, "4,3,5,999,42,17,0:,0:,4:subj,-2,(6|)",
         [](const ZelkLogMsg &r) {
             EXPECT_STREQ(r.kindData.second.subject, "subj");
             EXPECT_EQ(r.kindData.returnValue, -2);
         }},
        {"kind kept in 32 bits", ZELKLOG_FORMAT_10006, "4294967296,7,3,1,5,999,42,17,0:,0:,0:,1",
         [](const ZelkLogMsg &r) { EXPECT_EQ(r.kind, 0u); }},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Decoded d(c.text, c.format, 55);
        ASSERT_EQ(d.rc, 0u);
        c.check(d.record);
    }
}

TEST(Decoder, FailuresOfTheHeadAndTail)
{
    struct Case {
        const char *name;
        std::string text;
        uint32_t rc;
    };
    const Case cases[] = {
        {"kind above 4", "5,7,3,1,5,999,42,17,0:,0:,0:,1", 1},
        {"text ends after tid", "0,7,3,1,5,999,42,17", 1},
        {"text ends inside the head", "0,7,3", 1},
        {"empty text", "", 1},
        {"diag without argument section", "1,7,3,1,5,999,42,17,0:,0:,0:,1", 1},
        {"diag section not a list", "1,7,3,1,5,999,42,17,0:,0:,0:,1,x", 1},
        {"malformed who stops before level", "1,7,3,1,5,999,42,17,0:,0:,x:,1,(1|)", 1},
        {"who not UTF-8", "0,7,3,1,5,999,42,17,0:,0:,2:\xC3\x28,1", ZELKLOG_RC_INVALID_UTF8},
        {"context token with a surrogate", "0,7,3,1,5,999,42,17,3:\xED\xA0\x80,0:,0:,1", ZELKLOG_RC_INVALID_UTF8},
    };
    for (const Case &c : cases) {
        Decoded d(c.text, ZELKLOG_FORMAT_10006);
        EXPECT_EQ(d.rc, c.rc) << c.name;
    }
    Decoded kind5("5,7,3,1,5,999,42,17,0:,0:,0:,1", ZELKLOG_FORMAT_10006);
    EXPECT_EQ(kind5.record.marker, 1u);
    Decoded badWho("1,7,3,1,5,999,42,17,0:,0:,x:,9,(1|)", ZELKLOG_FORMAT_10006);
    EXPECT_EQ(badWho.record.kindData.first.level, 0);  // never read
}

// Number rules, seen through the pid (unsigned), timeMs (signed) and level (plain) fields.
TEST(Decoder, NumberRules)
{
    struct Case {
        const char *pid;
        uint32_t rc;
        uint64_t value;
    };
    const Case unsignedCases[] = {
        {"0", 0, 0},
        {"007", 0, 0},
        {"0x1f", 0, 0},
        {"12ab", 0, 12},
        {" 5", 0, 5},
        {"+5", 0, 5},
        {"18446744073709551615", 0, std::numeric_limits<uint64_t>::max()},
        {"99999999999999999999999", 0, std::numeric_limits<uint64_t>::max()},
        {"-1", 0, std::numeric_limits<uint64_t>::max()},
        {"", 1, 0},
        {"abc", 1, 0},
        {"-0", 1, 0},
        {" ", 1, 0},
    };
    for (const Case &c : unsignedCases) {
        Decoded d(std::string("0,7,3,1,5,999,") + c.pid + ",17,0:,0:,0:,1", ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, c.rc) << "pid '" << c.pid << "'";
        if (c.rc == 0) {
            EXPECT_EQ(d.record.pid, c.value) << c.pid;
        }
    }

    struct SignedCase {
        const char *time;
        uint32_t rc;
        int64_t value;
    };
    const SignedCase signedCases[] = {
        {"-5", 0, -5},
        {"00", 0, 0},
        {"1700000000123", 0, 1700000000123},
        {"9223372036854775808", 0, std::numeric_limits<int64_t>::max()},
        {"-9223372036854775809", 0, std::numeric_limits<int64_t>::min()},
        {"-", 1, 0},
        {"-0", 1, 0},
        {"", 1, 0},
    };
    for (const SignedCase &c : signedCases) {
        Decoded d(std::string("0,7,3,1,5,") + c.time + ",42,17,0:,0:,0:,1", ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, c.rc) << "time '" << c.time << "'";
        if (c.rc == 0) {
            EXPECT_EQ(d.record.timeMs, c.value) << c.time;
        }
    }

    struct PlainCase {
        const char *level;
        int32_t value;
    };
    const PlainCase plainCases[] = {
        {"-17", -17},
        {"12x", 12},
        {"abc", 0},
        {"", 0},
        {"2147483648", std::numeric_limits<int32_t>::min()},    // narrowed as atoi does
        {"00000000000000000000009", 0},                      // only 22 characters count
        {"0000000000000000000009", 9},
    };
    for (const PlainCase &c : plainCases) {
        Decoded d(std::string("0,7,3,1,5,9,42,17,0:,0:,0:,") + c.level, ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, 0u) << c.level;
        EXPECT_EQ(d.record.kindData.first.level, c.value) << c.level;
    }
}

// String fields, seen through auxText: length ":" bytes ",".
TEST(Decoder, StringFields)
{
    struct Case {
        std::string field;
        uint32_t rc;
        const char *value;  // null: the field stays null
    };
    const Case cases[] = {
        {"0:,", 0, nullptr},
        {"3:a,b,", 0, "a,b"},
        {"3:a:b,", 0, "a:b"},
        {" 2:ab,", 0, "ab"},
        {"2x:ab,", 0, "ab"},
        {"2:\xC3\xA9,", 0, "\xC3\xA9"},
        {"00:,", 1, nullptr},
        {"05:abcde,", 1, nullptr},
        {"0:x", 1, nullptr},
        {"x:ab,", 1, nullptr},
        {"-1:ab,", 1, nullptr},
        {":ab,", 1, nullptr},
        {"12345678901:a,", 1, nullptr},
        {"1:ab,", 1, nullptr},
        {"9:ab,", 1, nullptr},
        {"2:ab", 1, nullptr},
        {"2", 1, nullptr},
    };
    for (const Case &c : cases) {
        // kind 3: auxText, then the context text and the argument list.
        Decoded d("3,7,3,1,5,9,42,17,0:," + c.field + "1:t,(1|)", ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, c.rc) << c.field;
        if (c.rc != 0)
            continue;
        if (c.value == nullptr) {
            EXPECT_EQ(d.record.auxText, nullptr);
        } else {
            ASSERT_NE(d.record.auxText, nullptr) << c.field;
            EXPECT_STREQ(d.record.auxText, c.value);
        }
        EXPECT_STREQ(d.record.kindData.first.contextText, "t") << c.field;
    }
    // Ten prefix characters are allowed.
    Decoded longPrefix("3,7,3,1,5,9,42,17,0:,0:,000000001:z,(1|)", ZELKLOG_FORMAT_10006);
    EXPECT_EQ(longPrefix.rc, 1u);  // a prefix starting with "0" must be "0"
    Decoded tenChars("3,7,3,1,5,9,42,17,0:,0:,+000000001:z,(1|)", ZELKLOG_FORMAT_10006);
    ASSERT_EQ(tenChars.rc, 0u);
    EXPECT_STREQ(tenChars.record.kindData.first.contextText, "z");
}

std::string withArgs(const std::string &args)
{
    return "1,7,3,1,5,9,42,17,0:,0:,0:,0," + args;
}

TEST(Decoder, ArgumentTags)
{
    struct Case {
        const char *name;
        std::string args;
        uint32_t rc;
        std::function<void(const ZelkLogMsgArg &)> check;  // the first argument
    };
    const std::string longDecimal = "8" + std::string(200, '1') + "|";
    const std::string tooLongDecimal = "8" + std::string(201, '1') + "|";
    const Case cases[] = {
        {"wide char", "(1|12:\xC3\xA9,)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_WCHAR);
             EXPECT_EQ(a.value.wideChar, L'\u00e9');
         }},
        {"wide char takes the first", "(1|13:xyz,)", 0, [](const ZelkLogMsgArg &a) { EXPECT_EQ(a.value.wideChar, L'x'); }},
        {"wide char of nothing", "(1|10:,)", 0, [](const ZelkLogMsgArg &a) { EXPECT_EQ(a.value.wideChar, 0); }},
        {"wide char not UTF-8", "(1|12:\xC3\x28,)", 1, nullptr},
        {"wide string", "(1|A2:ab,)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_WSTRING);
             EXPECT_EQ(a.ownsValue, 1u);
             EXPECT_STREQ(a.value.wideString, L"ab");
         }},
        {"wide string emoji", "(1|A4:\xF0\x9F\x98\x80,)", 0,
         [](const ZelkLogMsgArg &a) { EXPECT_STREQ(a.value.wideString, L"\U0001F600"); }},
        {"empty wide string", "(1|A0:,)", 0, [](const ZelkLogMsgArg &a) { EXPECT_STREQ(a.value.wideString, L""); }},
        {"wide string overlong", "(1|A2:\xC0\xAF,)", 1, nullptr},
        {"separator byte is not examined", "(1|A2:ab))", 0, nullptr},
        {"separator byte taken even when )", "(1|A2:ab)", 1, nullptr},
        {"string keeps bytes", "(1|S5:a|b:\xFF,)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_STRING);
             EXPECT_EQ(a.ownsValue, 1u);
             EXPECT_STREQ(a.value.string, "a|b:\xFF");
         }},
        {"string prefix 00", "(1|S00:,)", 0, [](const ZelkLogMsgArg &a) { EXPECT_STREQ(a.value.string, ""); }},
        {"x-string", "(1|X1:x,)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_XSTRING);
             EXPECT_STREQ(a.value.string, "x");
         }},
        {"string past the end", "(1|S9:x,)", 1, nullptr},
        {"string without colon", "(1|S1x,)", 1, nullptr},
        {"string prefix of 11 chars", "(1|S10000000000:x,)", 1, nullptr},
        {"string prefix empty", "(1|S:x,)", 1, nullptr},
        {"int", "(1|i4:-17|)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_INT);
             EXPECT_EQ(a.ownsValue, 0u);
             EXPECT_EQ(a.value.sizedInt.size, 4u);
             EXPECT_EQ(a.value.sizedInt.value, -17);
         }},
        {"int trailing text", "(1|i4:12x|)", 0, [](const ZelkLogMsgArg &a) { EXPECT_EQ(a.value.sizedInt.value, 12); }},
        {"int size kept in 16 bits", "(1|i65537:3|)", 0,
         [](const ZelkLogMsgArg &a) { EXPECT_EQ(a.value.sizedInt.size, 1u); }},
        {"int empty", "(1|i4:|)", 1, nullptr},
        {"int without colon", "(1|i4|)", 1, nullptr},
        {"int without bar", "(1|i4:5)", 1, nullptr},
        {"int bad size", "(1|ix:5|)", 1, nullptr},
        {"dint", "(1|D2:-5|)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_DINT);
             EXPECT_EQ(a.ownsValue, 0u);
             EXPECT_EQ(a.value.sizedInt.size, 2u);
             EXPECT_EQ(a.value.sizedInt.value, -5);
         }},
        {"uint", "(1|u8:18446744073709551615|)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_UINT);
             EXPECT_EQ(a.value.sizedUInt.size, 8u);
             EXPECT_EQ(a.value.sizedUInt.value, std::numeric_limits<uint64_t>::max());
         }},
        {"uint zero", "(1|u8:0|)", 0, [](const ZelkLogMsgArg &a) { EXPECT_EQ(a.value.sizedUInt.value, 0u); }},
        {"uint empty", "(1|u8:|)", 3, nullptr},
        {"uint 21 digits", "(1|u8:123456789012345678901|)", 3, nullptr},
        {"uint not a number", "(1|u8:x|)", 1, nullptr},
        {"uint bad size before length", "(1|ux:|)", 1, nullptr},
        {"uint64", "(1|964:77|)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_UINT64);
             EXPECT_EQ(a.value.uint64, 77u);
         }},
        {"uint64 wide", "(1|965:5|)", 1, nullptr},
        {"uint64 wide and empty", "(1|965:|)", 3, nullptr},
        {"int64", "(1|C64:-9|)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_INT64);
             EXPECT_EQ(a.value.int64, -9);
         }},
        {"int64 wide", "(1|C65:-9|)", 1, nullptr},
        {"double", "(1|8-2.5e3|)", 0,
         [](const ZelkLogMsgArg &a) {
             EXPECT_EQ(a.type, ZELKLOG_ARG_DOUBLE);
             EXPECT_EQ(a.value.real, -2500.0);
         }},
        {"double of text", "(1|8abc|)", 0, [](const ZelkLogMsgArg &a) { EXPECT_EQ(a.value.real, 0.0); }},
        {"double 200 chars", "(1|" + longDecimal + ")", 0, nullptr},
        {"double 201 chars", "(1|" + tooLongDecimal + ")", 1, nullptr},
        {"double empty", "(1|8|)", 1, nullptr},
        {"unknown tag", "(1|Z)", 1, nullptr},
        {"list ends with the text", "(1|", 1, nullptr},
        {"list unclosed after argument", "(1|S1:x,", 1, nullptr},
        {"empty message id", "(|)", 1, nullptr},
        {"message id of 11 chars", "(12345678901|)", 1, nullptr},
        {"message id not a number", "(x|)", 1, nullptr},
        {"no opening parenthesis", "1|)", 1, nullptr},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Decoded d(withArgs(c.args), ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, c.rc);
        if (c.check) {
            ASSERT_GE(d.argCount(), 1u);
            c.check(d.arg(0));
        }
    }
}

TEST(Decoder, ArgumentListShapes)
{
    {
        Decoded d(withArgs("(0|)"), ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, 0u);
        EXPECT_EQ(d.record.args.msgId, 0u);
        EXPECT_EQ(d.record.args.args, nullptr);
    }
    {
        Decoded d(withArgs("(1234567890|)trailing text is not read"), ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, 0u);
        EXPECT_EQ(d.record.args.msgId, 1234567890u);
    }
    {
        Decoded d(withArgs("(1|(2|S1:x,),C1:3|)"), ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, 0u);
        ASSERT_EQ(d.argCount(), 2u);
        ASSERT_EQ(d.arg(0).type, ZELKLOG_ARG_LIST);
        EXPECT_EQ(d.arg(0).ownsValue, 1u);
        const ZelkLogMsgArgList *nested = d.arg(0).value.list;
        EXPECT_EQ(nested->msgId, 2u);
        ASSERT_EQ(nested->listInfo & 0xFFFFFFFFu, 1u);
        EXPECT_EQ(nested->args[0]->type, ZELKLOG_ARG_STRING);
        EXPECT_STREQ(nested->args[0]->value.string, "x");
        EXPECT_EQ(d.arg(1).value.int64, 3);
    }
    {
        // Many arguments, in text order.
        std::string args = "(5|";
        for (int i = 1; i <= 50; ++i)
            args += "C1:" + std::to_string(i) + "|";
        Decoded d(withArgs(args + ")"), ZELKLOG_FORMAT_10006);
        ASSERT_EQ(d.rc, 0u);
        ASSERT_EQ(d.argCount(), 50u);
        for (size_t i = 0; i < 50; ++i)
            EXPECT_EQ(d.arg(i).value.int64, static_cast<int64_t>(i + 1));
        EXPECT_EQ(d.record.args.args[50], nullptr);
    }
}

TEST(Decoder, FailedListsKeepWhatWasAdded)
{
    // The nested list is missing its ",": it is released, the earlier argument stays.
    Decoded noComma(withArgs("(1|S1:a,(2|S1:x,))"), ZELKLOG_FORMAT_10006);
    EXPECT_EQ(noComma.rc, 1u);
    ASSERT_EQ(noComma.argCount(), 1u);
    EXPECT_EQ(noComma.arg(0).type, ZELKLOG_ARG_STRING);

    // Failure inside the nested list: the holder and its arguments go.
    Decoded inner(withArgs("(1|A1:a,(2|S1:x,A2:\xC0\xAF,),)"), ZELKLOG_FORMAT_10006);
    EXPECT_EQ(inner.rc, 1u);
    EXPECT_EQ(inner.argCount(), 1u);

    Decoded code3(withArgs("(1|S1:x,i4:5|(2|X1:y,u1:|),)"), ZELKLOG_FORMAT_10006);
    EXPECT_EQ(code3.rc, 3u);
    ASSERT_EQ(code3.argCount(), 2u);
    EXPECT_EQ(code3.arg(1).value.sizedInt.value, 5);

    // Strings read before a failing field stay too.
    Decoded head("3,7,3,1,5,9,42,17,2:tk,3:aux,5:title,(1|A1:q,Z)", ZELKLOG_FORMAT_10006);
    EXPECT_EQ(head.rc, 1u);
    EXPECT_STREQ(head.record.contextToken, "tk");
    EXPECT_STREQ(head.record.kindData.first.contextText, "title");
    EXPECT_EQ(head.argCount(), 1u);
}

std::string nestedLists(int depth)
{
    std::string text;
    for (int i = 1; i < depth; ++i)
        text += "(" + std::to_string(i) + "|";
    text += "(" + std::to_string(depth) + "|S1:x,)";
    for (int i = 1; i < depth; ++i)
        text += ",)";
    return text;
}

TEST(Decoder, NestingDepthIsBounded)
{
    Decoded deepest(withArgs(nestedLists(32)), ZELKLOG_FORMAT_10006);
    ASSERT_EQ(deepest.rc, 0u);
    const ZelkLogMsgArgList *list = &deepest.record.args;
    for (int level = 1; level < 32; ++level) {
        ASSERT_EQ(list->args[0]->type, ZELKLOG_ARG_LIST);
        list = list->args[0]->value.list;
    }
    EXPECT_EQ(list->msgId, 32u);

    Decoded tooDeep(withArgs(nestedLists(33)), ZELKLOG_FORMAT_10006);
    EXPECT_EQ(tooDeep.rc, 1u);
    // A corrupt text of open lists only stops at the bound as well.
    Decoded runaway(withArgs(std::string(2000, '(')), ZELKLOG_FORMAT_10006);
    EXPECT_EQ(runaway.rc, 1u);
    std::string opens;
    for (int i = 0; i < 600; ++i)
        opens += "(1|";
    Decoded runaway2(withArgs(opens), ZELKLOG_FORMAT_10006);
    EXPECT_EQ(runaway2.rc, 1u);
}

TEST(Decoder, DecodedRecordHoldsNoPointerIntoTheText)
{
    textMessage message;
    zelk::test::loadText(&message, kExample);
    ZelkLogMsg record{};
    record.format = ZELKLOG_FORMAT_10006;
    ASSERT_EQ(zelkLogMsgUnserialize(&message, &record), 0u);
    EXPECT_EQ(message.text, message.buffer);  // the buffer keeps its text
    std::memset(message.buffer, '#', sizeof message.buffer - 1);
    EXPECT_STREQ(record.auxText, "abc");
    EXPECT_STREQ(record.args.args[0]->value.wideString, L"hello");
    free_text_msg(&message);
    zelkLogFreeMsg(&record);
}

}  // namespace
