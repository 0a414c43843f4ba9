// Dates and times: zone names, formatting and parsing in several locales, the last-days range.
#include "zelkLogRead.h"
#include "tests/support/config_fixture.h"
#include "tests/support/zone_guard.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <string>

namespace {

// Formats with zelkLogstrftime; empty text on failure.
std::u16string format(int32_t timeStyle, int32_t dateStyle, double time, const char *locale)
{
    ZELKLOG_UCHAR *text = nullptr;
    if (zelkLogstrftime(timeStyle, dateStyle, time, locale, &text) != ZELKLOG_RC_OK)
        return u"";
    std::u16string result(text);
    zelkLogFree(text);
    return result;
}

// The parser reads the default code page; formatted dates are ASCII but for no-break
// spaces, which a plain space matches when parsing.
std::string ascii(const std::u16string &text)
{
    std::string out;
    for (char16_t c : text)
        out += c < 0x80 ? static_cast<char>(c) : ' ';
    return out;
}

// 2023-11-14 22:13:20 UTC; in the zone +05:30 it is 2023-11-15 03:43:20.
constexpr int64_t kMoment = 1700000000;
constexpr const char *kIndia = "<+0530>-5:30";

// A name is at most 18 bytes with its NUL; a refused offset leaves the buffer untouched.
TEST(OffsetToTimeZone, NamesOffsetsWithinTheBuffer)
{
    const struct {
        int64_t offset;
        uint32_t rc;
        const char *expected;
    } cases[] = {
        {0, 0, "GMT"},
        {19800, 0, "GMT+5:30"},
        {-1800, 0, "GMT-0:30"},
        {50400, 0, "GMT+14:00"},
        {-int64_t{9999999999} * 3600 - 1800, 0, "GMT-9999999999:30"},
        {900, ZELKLOG_RC_FAILURE, ""},
        {INT64_MIN, ZELKLOG_RC_FAILURE, ""},
        {int64_t{10000000000} * 3600, ZELKLOG_RC_BAD_ARGUMENT, ""},
    };
    for (const auto &c : cases) {
        char buffer[32];
        std::memset(buffer, '#', sizeof buffer);
        char *pointer = buffer;
        ASSERT_EQ(OffsetToTimeZone(c.offset, &pointer), c.rc) << c.offset;
        EXPECT_EQ(pointer, buffer);
        size_t written = c.rc == 0 ? 18 : 0;
        EXPECT_EQ(std::string(buffer + written, sizeof buffer - written),
                  std::string(sizeof buffer - written, '#'))
            << c.offset << ": written past " << written << " bytes";
        EXPECT_STREQ(c.rc == 0 ? buffer : "", c.expected);
    }
    char *none = nullptr;
    EXPECT_EQ(OffsetToTimeZone(0, &none), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(OffsetToTimeZone(0, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST(DateFormat, ParsesWhatItFormatted)
{
    // `resolution`: the seconds the styles show.
    const struct {
        const char *zone, *locale;
        int32_t timeStyle, dateStyle;
        int64_t resolution;
    } cases[] = {
        {kIndia, "en_US", 2, 3, 1},    {"UTC0", "de_DE", 0, 0, 1}, {"EST5EDT", "en_US", 3, 3, 60},
        {"EST5EDT", "de_DE", 2, 2, 1}, {"UTC0", nullptr, 2, 3, 1},
    };
    for (const auto &c : cases) {
        ZoneGuard zone(c.zone);
        for (int64_t moment : {kMoment + 59, int64_t{1688888888}}) {
            std::string text = ascii(format(c.timeStyle, c.dateStyle, static_cast<double>(moment), c.locale));
            ASSERT_FALSE(text.empty());
            int64_t parsed = 0;
            ASSERT_EQ(zelkLogGetDateFromFormat(c.timeStyle, c.dateStyle, c.locale, text.c_str(), &parsed),
                      ZELKLOG_RC_OK)
                << text;
            EXPECT_EQ(parsed, moment - moment % c.resolution) << text;
        }
    }
}

TEST(DateFormat, ZeroMeansNowAndOldTimesWork)
{
    ZoneGuard zone(kIndia);
    // time() reads the coarse clock, which may still show the last second when ICU's
    // clock has passed into the next: both ends come from the precise clock ICU reads.
    const auto seconds = [] {
        return std::chrono::duration_cast<std::chrono::seconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    const int64_t before = seconds();
    std::string now = ascii(format(2, 3, 0.0, "en_US"));
    const int64_t after = seconds();
    int64_t parsed = 0;
    ASSERT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", now.c_str(), &parsed), ZELKLOG_RC_OK) << now;
    EXPECT_GE(parsed, before);
    EXPECT_LE(parsed, after);

    // The clock shown is local, the zone named is GMT.
    EXPECT_EQ(ascii(format(0, -1, static_cast<double>(kMoment), "en_US")), "3:43:20 AM Greenwich Mean Time");
    std::string old = ascii(format(2, 1, -86400.0 * 365, "de_DE"));
    EXPECT_EQ(old, "1. Januar 1969 um 05:30:00");  // 1969-01-01 00:00 UTC, shown at +05:30
    ASSERT_EQ(zelkLogGetDateFromFormat(2, 1, "de_DE", old.c_str(), &parsed), ZELKLOG_RC_OK);
    EXPECT_EQ(parsed, -86400 * 365);
}

TEST(DateFormat, ParseIgnoresTrailingTextAndRefusesGarbage)
{
    ZoneGuard zone("UTC0");
    int64_t parsed = 0;
    EXPECT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", "11/14/23, 10:13:20 PM and more", &parsed),
              ZELKLOG_RC_OK);
    EXPECT_EQ(parsed, kMoment);
    for (const char *text : {"", "13:00", "\xff\xfe\x80"})
        EXPECT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", text, &parsed), ZELKLOG_RC_FAILURE) << text;
    // Longer than any date a locale writes: refused before it is parsed, and so in a filter.
    const std::string overlong = "11/14/23, 10:13:20 PM" + std::string(1100, ' ');
    EXPECT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", overlong.c_str(), &parsed), ZELKLOG_RC_FAILURE);
    QueryNode *root = nullptr;
    EXPECT_EQ(parseQueryString(("STDATE > '" + overlong + "'").c_str(), "en_US", &root), ZELKLOG_RC_BAD_DATE);
}

TEST(DateFormat, BadArgumentsLeaveNothingToRelease)
{
    int64_t parsed = 42;
    EXPECT_EQ(zelkLogGetDateFromFormat(-2, 3, "en_US", "11/14/23", &parsed), ZELKLOG_RC_FAILURE);
    EXPECT_EQ(parsed, 42);
    const struct {
        int32_t timeStyle, dateStyle;
        double time;
    } failing[] = {{-2, 3, 1.0}, {4, 3, 1.0}, {2, -3, 1.0}, {2, 3, NAN}};
    for (const auto &c : failing) {
        ZelkLogUDateFormat *formatter = reinterpret_cast<ZelkLogUDateFormat *>(&parsed);
        ZELKLOG_UCHAR *text = reinterpret_cast<ZELKLOG_UCHAR *>(&parsed);
        EXPECT_EQ(GetDateTimeFormat(c.timeStyle, c.dateStyle, c.time, "en_US", &formatter, &text),
                  ZELKLOG_RC_FAILURE)
            << c.timeStyle << "/" << c.dateStyle;
        EXPECT_EQ(formatter, nullptr);
        EXPECT_EQ(text, nullptr);
    }
}

TEST(WideStrings, CopyKeepsTheTerminator)
{
    wchar_t *copy = zelkLogSafeWcsdup(L"wide \u00e9");
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(std::wstring(copy), L"wide \u00e9");
    zelkLogFree(copy);
    EXPECT_EQ(zelkLogSafeWcsdup(nullptr), nullptr);
}

// Locale ids that ICU marks bogus crash its date formatter: every entry point taking a
// locale refuses them with its failure code, and none becomes the process default.
TEST(DateFormat, UnusableLocalesAreRefused)
{
    zelk::test::ConfigFixture config(zelk::test::billingProduct());
    for (const char *locale : {"abcdefghijkl", "en@calendar=", "12345678901234", "en@a=b;c="}) {
        ZELKLOG_UCHAR *text = nullptr;
        EXPECT_EQ(zelkLogstrftime(2, 3, 1.0, locale, &text), ZELKLOG_RC_FAILURE) << locale;
        int64_t parsed = 0;
        EXPECT_EQ(zelkLogGetDateFromFormat(2, 3, locale, "11/14/23, 10:13:20 PM", &parsed),
                  ZELKLOG_RC_FAILURE);
        LogQuery query;
        EXPECT_EQ(zelkLogCreateQuery("STDATE >= '11/14/23, 10:13:20 PM'", locale, &query),
                  ZELKLOG_RC_BAD_ARGUMENT);
        ASSERT_EQ(zelkLogCreateQuery("PID = 1", "en_US", &query), ZELKLOG_RC_OK);
        char *line = nullptr;
        EXPECT_EQ(zelkLogFetchNextFormattedMessage(&query, 0, locale, 0, &line), ZELKLOG_RC_BAD_ARGUMENT);
        zelkLogDestroyQuery(&query);
        EXPECT_NE(format(2, 3, 1.0, nullptr), u"") << "the default locale stays usable after " << locale;
    }
}

// The start of the local day that `time` falls in, by the C library.
int64_t localMidnight(int64_t time)
{
    time_t t = static_cast<time_t>(time);
    struct tm local {};
    localtime_r(&t, &local);
    local.tm_hour = local.tm_min = local.tm_sec = 0;
    local.tm_isdst = -1;
    return mktime(&local);
}

TEST(LogDates, RunFromLocalMidnightToNow)
{
    for (const char *name : {kIndia, "<-10>10"}) {
        ZoneGuard zone(name);
        for (int32_t days : {0, 1, 24855, 100000}) {
            int64_t from = 0, to = 0;
            const int64_t before = time(nullptr);
            ASSERT_EQ(zelkLogGetLogDates(days, &from, &to), ZELKLOG_RC_OK);
            EXPECT_GE(to, before);
            EXPECT_LE(to, time(nullptr));
            // Fixed zones have no clock changes: `from` is exactly that day's midnight.
            EXPECT_EQ(from, localMidnight(to - int64_t{days} * 86400)) << name << " " << days;
        }
    }
    int64_t from = 7, to = 8;  // refusals write nothing
    EXPECT_EQ(zelkLogGetLogDates(-1, &from, &to), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogGetLogDates(1, nullptr, &to), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogGetLogDates(1, &from, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(from, 7);
    EXPECT_EQ(to, 8);
}

}  // namespace
