// Logging-core services behind message records: UTF-8 conversions, argument lists, the
// release of hand-built records (decoded records are released by the decoder tests) and
// the comparison of query values.
#include "src/core/zelkLogCore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(Utf8Conversion, MultibyteAndWide)
{
    const struct {
        std::string bytes;
        std::wstring wide;
    } valid[] = {
        {"", L""},
        {"\xC3\xA9t\xE2\x82\xAC", L"\u00e9t\u20ac"},
        {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"},
        {"quota for user5 on vol1\xC3\xA9", L"quota for user5 on vol1\u00e9"},  // ASCII words first
        {"abcdefghij\xC3\xA9", L"abcdefghij\u00e9"},                            // in the last word
    };
    const std::string invalid[] = {
        "\xC0\xAF",
        "\xF0\x80\x80\xAF",
        "a\xED\xBF\xBF",
        "\xF4\x90\x80\x80",  // overlong, surrogate, too large
        "ab\xE2\x82",
        "\x80",
        std::string("a\0b", 3),
        std::string("exceeded blocks\0", 16),  // a NUL and a stray byte behind whole words
        "exceeded blocks\x80",
        "abcdefghij\x80",
        std::string("abcdefghij\0", 11),
    };
    for (const auto &c : valid) {
        char *narrow = nullptr;
        wchar_t *wide = nullptr;
        EXPECT_EQ(utf8check(c.bytes.data(), c.bytes.size()), 0u) << c.bytes;
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
        EXPECT_EQ(utf8check(bytes.data(), bytes.size()), ZELKLOG_RC_INVALID_UTF8) << bytes;
        EXPECT_EQ(utf82mbs(bytes.data(), bytes.size(), &narrow), ZELKLOG_RC_INVALID_UTF8) << bytes;
        EXPECT_EQ(utf82wcs(bytes.data(), bytes.size(), &wide), ZELKLOG_RC_INVALID_UTF8) << bytes;
        EXPECT_EQ(narrow, nullptr);
        EXPECT_EQ(wide, nullptr);
    }
    // The bytes beyond the length are neither validated nor copied.
    char *narrow = nullptr;
    ASSERT_EQ(utf82mbs("ab\xE2\x82\xAC\xFF", 5, &narrow), 0u);
    EXPECT_STREQ(narrow, "ab\xE2\x82\xAC");
    zelkLogFree(narrow);
    EXPECT_EQ(utf82mbs(nullptr, 1, &narrow), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(utf82wcs("a", 1, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
}

// Each kind owns only its own strings: a level in the shared slot is no pointer.  The
// record is cleared, so a second release finds nothing.
TEST(FreeMessage, ReleasesPerKindAndClears)
{
    zelkLogFreeMsg(nullptr);
    static const ZelkLogMsg zero{};
    for (uint32_t kind : {0u, 3u, 4u, 5u}) {
        ZelkLogMsg record{};
        record.kind = kind;
        record.contextToken = zelkLogSafeStrdup("token");
        if (kind == 0)
            record.kindData.first.level = 0x7FFF1234, record.kindData.second.who = zelkLogSafeStrdup("who");
        if (kind == 3)
            record.kindData.first.contextText = zelkLogSafeStrdup("title");
        if (kind == 4)
            record.kindData.second.subject = zelkLogSafeStrdup("subject");
        zelkLogFreeMsg(&record);
        EXPECT_EQ(std::memcmp(&record, &zero, sizeof record), 0) << kind;
        zelkLogFreeMsg(&record);
    }
    ZelkLogMsgArg arg{};
    ZelkLogMsgArgList list{};
    EXPECT_EQ(zelkLisAddArg(&list, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLisAddArg(nullptr, &arg), ZELKLOG_RC_BAD_ARGUMENT);
}

// The comparison the core exports for query trees: signed values, truth values 0 and 1.
TEST(CoreCompare, EveryOperatorAtItsBoundary)
{
    const struct {
        int32_t op;
        int64_t left, right;
        int expected;
    } cases[] = {
        {LESS, -1, 0, 1},    {LESS, 0, 0, 0},     {LESSEQ, 0, 0, 1},    {LESSEQ, 1, 0, 0},
        {GREATER, 0, -1, 1}, {GREATER, 0, 0, 0},  {GREATEREQ, 0, 0, 1}, {GREATEREQ, -1, 0, 0},
        {EQUAL, 5, 5, 1},    {NOTEQUAL, 5, 5, 0}, {AND, 2, 0, 0},       {AND, 2, -1, 1},
        {OR, 0, 0, 0},       {OR, 0, 3, 1},       {KEYWORDS, 1, 1, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(eval(c.op, c.left, c.right), c.expected) << c.op << " " << c.left << " " << c.right;
}

}  // namespace
