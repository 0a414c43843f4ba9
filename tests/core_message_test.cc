// Logging-core services behind message records: UTF-8 conversions, argument list growth
// and the release of hand-built records of every kind (decoded records are released by
// the decoder tests).
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(Utf8Conversion, MultibyteAndWide)
{
    const struct { std::string bytes; std::wstring wide; } valid[] = {
        {"", L""}, {"hello", L"hello"}, {"\xC3\xA9t\xC3\xA9", L"\u00e9t\u00e9"}, {"\xE2\x82\xAC", L"\u20ac"},
        {"\xF0\x9F\x98\x80", L"\U0001F600"}, {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"}, {"\xEF\xBF\xBF", L"\uffff"},
    };
    const std::string invalid[] = {
        "\xC0\xAF", "\xE0\x80\xAF", "\xF0\x80\x80\xAF",   // overlong
        "\xED\xA0\x80", "a\xED\xBF\xBF", "\xF4\x90\x80\x80",  // surrogates, above U+10FFFF
        "ab\xE2\x82", "\xE2\x82x", "\x80", "a\xFF", std::string("a\0b", 3),
    };
    for (const auto &c : valid) {
        char *narrow = nullptr;
        wchar_t *wide = nullptr;
        ASSERT_EQ(utf82mbs(c.bytes.data(), c.bytes.size(), &narrow), 0u) << c.bytes;
        ASSERT_EQ(utf82wcs(c.bytes.data(), c.bytes.size(), &wide), 0u) << c.bytes;
        EXPECT_EQ(std::string(narrow), c.bytes);
        EXPECT_EQ(std::wstring(wide), c.wide);
        zelkLogFree(narrow);
        zelkLogFree(wide);
    }
    for (const std::string &bytes : invalid) {
        char *narrow = nullptr;
        wchar_t *wide = nullptr;
        EXPECT_EQ(utf82mbs(bytes.data(), bytes.size(), &narrow), ZELKLOG_RC_INVALID_UTF8) << bytes;
        EXPECT_EQ(utf82wcs(bytes.data(), bytes.size(), &wide), ZELKLOG_RC_INVALID_UTF8) << bytes;
        EXPECT_EQ(narrow, nullptr);
        EXPECT_EQ(wide, nullptr);
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

TEST(ArgumentList, GrowsGeometricallyAndKeepsOrder)
{
    ZelkLogMsg record{};
    ZelkLogMsgArgList &list = record.args;
    int regrowths = 0;
    ZelkLogMsgArg **lastArray = nullptr;
    for (int i = 0; i < 1000; ++i) {
        auto *arg = static_cast<ZelkLogMsgArg *>(zelkLogMalloc(sizeof(ZelkLogMsgArg)));
        *arg = ZelkLogMsgArg{};
        arg->type = ZELKLOG_ARG_INT64;
        arg->value.int64 = i;
        ASSERT_EQ(zelkLisAddArg(&list, arg), 0u);
        regrowths += list.args != lastArray;
        lastArray = list.args;
        uint64_t count = list.listInfo & 0xFFFFFFFFu;
        ASSERT_EQ(count, static_cast<uint64_t>(i + 1));
        ASSERT_GT(list.listInfo >> 32, count);  // room for the terminator
        ASSERT_EQ(list.args[count], nullptr);
    }
    EXPECT_LE(regrowths, 10);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(list.args[i]->value.int64, i);
    zelkLogFreeMsg(&record);
    EXPECT_EQ(record.args.args, nullptr);

    ZelkLogMsgArg arg{};
    EXPECT_EQ(zelkLisAddArg(&list, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLisAddArg(nullptr, &arg), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(list.args, nullptr);
}

// Each kind owns only its own kind-specific strings: a level or severity in the shared
// slot is a number and must not be taken for a pointer.  Kind 6 stands for a record with
// nothing owned (released twice); kind 5, one the decoder refused.
TEST(FreeMessage, ReleasesPerKindAndClears)
{
    zelkLogFreeMsg(nullptr);
    static const ZelkLogMsg zero{};
    for (uint32_t kind = 0; kind <= 6; ++kind) {
        SCOPED_TRACE(kind);
        ZelkLogMsg record{};
        if (kind <= 5) {
            record.marker = 1;
            record.format = ZELKLOG_FORMAT_10006;
            record.kind = kind;
            record.timeMs = 1234;
            record.contextToken = zelkLogSafeStrdup("token");
            record.auxText = zelkLogSafeStrdup("aux");
            std::strcpy(record.fileHeaderText, "header");
        }
        ZelkLogMsgKindData &d = record.kindData;
        switch (kind) {
        case 0:
        case 1: d.first.level = 0x7FFF1234; d.second.who = zelkLogSafeStrdup("who"); break;
        case 2: d.first.severity = 3; d.second.who = zelkLogSafeStrdup("who"); break;
        case 3: d.first.contextText = zelkLogSafeStrdup("title"); break;
        case 4: d.second.subject = zelkLogSafeStrdup("subject"); d.returnValue = -1; break;
        default: break;
        }
        zelkLogFreeMsg(&record);
        EXPECT_EQ(std::memcmp(&record, &zero, sizeof record), 0);
        zelkLogFreeMsg(&record);  // twice is fine: nothing is owned any more
        EXPECT_EQ(std::memcmp(&record, &zero, sizeof record), 0);
    }
}

}  // namespace
