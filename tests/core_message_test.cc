// Logging-core services behind message records: UTF-8 conversions, argument list growth
// and the release of hand-built records of every kind (decoded records are released by
// the decoder tests).
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

struct Utf8Case {
    const char *name;
    std::string bytes;
    uint32_t rc;
    std::wstring wide;  // expected wide result when rc is 0
};

const Utf8Case kUtf8Cases[] = {
    {"empty", "", 0, L""},
    {"ascii", "hello", 0, L"hello"},
    {"two bytes", "\xC3\xA9t\xC3\xA9", 0, L"\u00e9t\u00e9"},
    {"three bytes", "\xE2\x82\xAC", 0, L"\u20ac"},
    {"four bytes", "\xF0\x9F\x98\x80", 0, L"\U0001F600"},
    {"highest code point", "\xF4\x8F\xBF\xBF", 0, L"\U0010FFFF"},
    {"noncharacter is valid", "\xEF\xBF\xBF", 0, L"\uffff"},
    {"overlong slash", "\xC0\xAF", ZELKLOG_RC_INVALID_UTF8, L""},
    {"overlong three bytes", "\xE0\x80\xAF", ZELKLOG_RC_INVALID_UTF8, L""},
    {"overlong four bytes", "\xF0\x80\x80\xAF", ZELKLOG_RC_INVALID_UTF8, L""},
    {"high surrogate", "\xED\xA0\x80", ZELKLOG_RC_INVALID_UTF8, L""},
    {"low surrogate", "a\xED\xBF\xBF", ZELKLOG_RC_INVALID_UTF8, L""},
    {"above U+10FFFF", "\xF4\x90\x80\x80", ZELKLOG_RC_INVALID_UTF8, L""},
    {"truncated at the end", "ab\xE2\x82", ZELKLOG_RC_INVALID_UTF8, L""},
    {"truncated before ascii", "\xE2\x82x", ZELKLOG_RC_INVALID_UTF8, L""},
    {"lone trail byte", "\x80", ZELKLOG_RC_INVALID_UTF8, L""},
    {"invalid byte", "a\xFF", ZELKLOG_RC_INVALID_UTF8, L""},
    {"embedded NUL", std::string("a\0b", 3), ZELKLOG_RC_INVALID_UTF8, L""},
};

TEST(Utf8Conversion, MultibyteAndWide)
{
    for (const Utf8Case &c : kUtf8Cases) {
        SCOPED_TRACE(c.name);
        char *narrow = nullptr;
        EXPECT_EQ(utf82mbs(c.bytes.data(), c.bytes.size(), &narrow), c.rc);
        wchar_t *wide = nullptr;
        EXPECT_EQ(utf82wcs(c.bytes.data(), c.bytes.size(), &wide), c.rc);
        if (c.rc == 0) {
            ASSERT_NE(narrow, nullptr);
            EXPECT_EQ(std::string(narrow), c.bytes);
            ASSERT_NE(wide, nullptr);
            EXPECT_EQ(std::wstring(wide), c.wide);
        } else {
            EXPECT_EQ(narrow, nullptr);
            EXPECT_EQ(wide, nullptr);
        }
        zelkLogFree(narrow);
        zelkLogFree(wide);
    }
}

TEST(Utf8Conversion, ReadsExactlyTheGivenLength)
{
    // The bytes beyond `length` are neither validated nor copied.
    const char text[] = "ab\xE2\x82\xAC\xFF";
    char *narrow = nullptr;
    ASSERT_EQ(utf82mbs(text, 5, &narrow), 0u);
    EXPECT_STREQ(narrow, "ab\xE2\x82\xAC");
    zelkLogFree(narrow);
    wchar_t *wide = nullptr;
    ASSERT_EQ(utf82wcs(text, 2, &wide), 0u);
    EXPECT_STREQ(wide, L"ab");
    zelkLogFree(wide);
    // Cutting a sequence short makes it invalid.
    EXPECT_EQ(utf82wcs(text, 4, &wide), ZELKLOG_RC_INVALID_UTF8);
    EXPECT_EQ(utf82mbs(nullptr, 1, &narrow), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(utf82wcs("a", 1, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
}

ZelkLogMsgArg *newIntArg(int64_t value)
{
    auto *arg = static_cast<ZelkLogMsgArg *>(zelkLogMalloc(sizeof(ZelkLogMsgArg)));
    std::memset(arg, 0, sizeof *arg);
    arg->type = ZELKLOG_ARG_INT64;
    arg->value.int64 = value;
    return arg;
}

TEST(ArgumentList, GrowsGeometricallyAndKeepsOrder)
{
    ZelkLogMsg record{};
    ZelkLogMsgArgList &list = record.args;
    int regrowths = 0;
    ZelkLogMsgArg **lastArray = nullptr;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(zelkLisAddArg(&list, newIntArg(i)), 0u);
        if (list.args != lastArray) {
            ++regrowths;
            lastArray = list.args;
        }
        uint64_t count = list.listInfo & 0xFFFFFFFFu;
        uint64_t capacity = list.listInfo >> 32;
        ASSERT_EQ(count, static_cast<uint64_t>(i + 1));
        ASSERT_GT(capacity, count);  // room for the terminator
        ASSERT_EQ(list.args[count], nullptr);
    }
    EXPECT_LE(regrowths, 10);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(list.args[i]->value.int64, i);
    zelkLogFreeMsg(&record);
    EXPECT_EQ(record.args.args, nullptr);
}

TEST(ArgumentList, MissingArguments)
{
    ZelkLogMsgArgList list{};
    EXPECT_EQ(zelkLisAddArg(&list, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    ZelkLogMsgArg arg{};
    EXPECT_EQ(zelkLisAddArg(nullptr, &arg), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(list.args, nullptr);
}

void expectCleared(const ZelkLogMsg &record)
{
    static const ZelkLogMsg zero{};
    EXPECT_EQ(std::memcmp(&record, &zero, sizeof record), 0);
}

TEST(FreeMessage, NullAndClearedRecords)
{
    zelkLogFreeMsg(nullptr);
    ZelkLogMsg record{};
    zelkLogFreeMsg(&record);
    expectCleared(record);
    zelkLogFreeMsg(&record);  // twice is fine: nothing is owned any more
    expectCleared(record);
}

// Each kind owns only its own kind-specific strings: a level or severity in the shared
// slot is a number and must not be taken for a pointer.
TEST(FreeMessage, ReleasesPerKindAndClears)
{
    for (uint32_t kind = 0; kind <= 5; ++kind) {
        SCOPED_TRACE(kind);
        ZelkLogMsg record{};
        record.marker = 1;
        record.format = ZELKLOG_FORMAT_10006;
        record.kind = kind;
        record.timeMs = 1234;
        record.contextToken = zelkLogSafeStrdup("token");
        record.auxText = zelkLogSafeStrdup("aux");
        std::strcpy(record.fileHeaderText, "header");
        switch (kind) {
        case 0:
        case 1: record.kindData.first.level = 0x7FFF1234; record.kindData.second.who = zelkLogSafeStrdup("who"); break;
        case 2: record.kindData.first.severity = 3; record.kindData.second.who = zelkLogSafeStrdup("who"); break;
        case 3: record.kindData.first.contextText = zelkLogSafeStrdup("title"); break;
        case 4: record.kindData.second.subject = zelkLogSafeStrdup("subject"); record.kindData.returnValue = -1; break;
        default: break;  // a kind the decoder refused owns no kind-specific string
        }
        zelkLogFreeMsg(&record);
        expectCleared(record);
    }
}

}  // namespace
