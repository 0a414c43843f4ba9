// Dates and times: zone names, formatting and parsing in two locales, the last-days range.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

// Runs each test in a fixed zone and restores the process's zone afterwards.
class ZoneGuard {
public:
    explicit ZoneGuard(const char *zone)
    {
        const char *old = std::getenv("TZ");
        hadZone_ = old != nullptr;
        if (hadZone_)
            saved_ = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneGuard()
    {
        if (hadZone_)
            setenv("TZ", saved_.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool hadZone_ = false;
    std::string saved_;
};

// UTF-16 to UTF-8 (the formatter's output is well formed).
std::string toUtf8(const ZELKLOG_UCHAR *text)
{
    std::string out;
    for (; *text != 0; ++text) {
        uint32_t c = *text;
        if (c >= 0xD800 && c < 0xDC00 && text[1] >= 0xDC00 && text[1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[1] - 0xDC00);
            ++text;
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

// Formats with zelkLogstrftime; empty text on failure.
std::string format(int32_t timeStyle, int32_t dateStyle, double time, const char *locale)
{
    ZELKLOG_UCHAR *text = nullptr;
    if (zelkLogstrftime(timeStyle, dateStyle, time, locale, &text) != ZELKLOG_RC_OK)
        return "";
    std::string result = toUtf8(text);
    zelkLogFree(text);
    return result;
}

// 2023-11-14 22:13:20 UTC; in the zone +05:30 it is 2023-11-15 03:43:20.
constexpr int64_t kMoment = 1700000000;
constexpr const char *kIndia = "<+0530>-5:30";

TEST(OffsetToTimeZone, NamesWholeAndHalfHourOffsets)
{
    struct Case {
        int64_t offset;
        const char *expected;
    } cases[] = {
        {0, "GMT"},
        {19800, "GMT+5:30"},
        {-18000, "GMT-5:00"},
        {1800, "GMT+0:30"},
        {-1800, "GMT-0:30"},
        {-12600, "GMT-3:30"},
        {50400, "GMT+14:00"},
        // Ten hour digits still fit the 18-byte buffer.
        {int64_t{9999999999} * 3600, "GMT+9999999999:00"},
        {-int64_t{9999999999} * 3600 - 1800, "GMT-9999999999:30"},
    };
    for (const Case &c : cases) {
        char buffer[32];
        std::memset(buffer, '#', sizeof buffer);
        char *pointer = buffer;
        ASSERT_EQ(OffsetToTimeZone(c.offset, &pointer), ZELKLOG_RC_OK) << c.offset;
        EXPECT_STREQ(buffer, c.expected);
        EXPECT_EQ(pointer, buffer);
        for (size_t i = 18; i < sizeof buffer; ++i)
            ASSERT_EQ(buffer[i], '#') << "written past 18 bytes for " << c.offset;
    }
}

TEST(OffsetToTimeZone, RefusesWithoutWriting)
{
    struct Case {
        int64_t offset;
        uint32_t expected;
    } cases[] = {
        {900, ZELKLOG_RC_FAILURE},
        {-1799, ZELKLOG_RC_FAILURE},
        {INT64_MIN, ZELKLOG_RC_FAILURE},  // not a multiple of 1800
        {int64_t{10000000000} * 3600, ZELKLOG_RC_BAD_ARGUMENT},
        {INT64_MAX - INT64_MAX % 1800, ZELKLOG_RC_BAD_ARGUMENT},
    };
    for (const Case &c : cases) {
        char buffer[18] = "untouched";
        char *pointer = buffer;
        EXPECT_EQ(OffsetToTimeZone(c.offset, &pointer), c.expected) << c.offset;
        EXPECT_STREQ(buffer, "untouched");
    }
    char *none = nullptr;
    EXPECT_EQ(OffsetToTimeZone(0, &none), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(OffsetToTimeZone(0, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST(DateFormat, ShowsLocalClockInEachLocale)
{
    ZoneGuard zone(kIndia);
    struct Case {
        const char *locale;
        int32_t timeStyle, dateStyle;
        const char *expectedPieces[3];
    } cases[] = {
        {"en_US", 2, 3, {"11/15/23", "3:43:20", "AM"}},
        {"de_DE", 2, 3, {"15.11.23", "03:43:20", nullptr}},
        {"de_DE", 2, 1, {"15. November 2023", "03:43:20", nullptr}},
        // The zone shown is the formatter's GMT while the clock is local.
        {"en_US", 0, -1, {"3:43:20", "Greenwich Mean Time", nullptr}},
        {"de_DE", -1, 3, {"15.11.23", nullptr, nullptr}},
    };
    for (const Case &c : cases) {
        std::string text = format(c.timeStyle, c.dateStyle, static_cast<double>(kMoment), c.locale);
        ASSERT_FALSE(text.empty()) << c.locale;
        for (const char *piece : c.expectedPieces) {
            if (piece != nullptr) {
                EXPECT_NE(text.find(piece), std::string::npos) << c.locale << ": '" << text << "' lacks " << piece;
            }
        }
        EXPECT_EQ(text.find("+05"), std::string::npos) << text;
    }
}

TEST(DateFormat, ParsesWhatItFormatted)
{
    struct Case {
        const char *zone;
        const char *locale;
        int32_t timeStyle, dateStyle;
        int64_t resolution;  // seconds the styles show
    } cases[] = {
        {kIndia, "en_US", 2, 3, 1},   {kIndia, "de_DE", 2, 3, 1},  {"UTC0", "en_US", 1, 1, 1},
        {"UTC0", "de_DE", 0, 0, 1},   {"EST5EDT", "en_US", 3, 3, 60}, {"EST5EDT", "de_DE", 2, 2, 1},
        {"EST5EDT", "fr_FR", 2, 3, 1}, {"UTC0", nullptr, 2, 3, 1},
    };
    const int64_t moments[] = {kMoment, kMoment + 59, 1688888888, 1893456000 - 1};
    for (const Case &c : cases) {
        ZoneGuard zone(c.zone);
        for (int64_t moment : moments) {
            std::string text = format(c.timeStyle, c.dateStyle, static_cast<double>(moment), c.locale);
            ASSERT_FALSE(text.empty());
            int64_t parsed = 0;
            ASSERT_EQ(zelkLogGetDateFromFormat(c.timeStyle, c.dateStyle, c.locale, text.c_str(), &parsed),
                      ZELKLOG_RC_OK)
                << (c.locale ? c.locale : "default") << " '" << text << "'";
            EXPECT_EQ(parsed, moment - moment % c.resolution) << text;
        }
    }
}

TEST(DateFormat, ZeroMeansNow)
{
    ZoneGuard zone(kIndia);
    const int64_t before = time(nullptr);
    std::string text = format(2, 3, 0.0, "en_US");
    const int64_t after = time(nullptr);
    int64_t parsed = 0;
    ASSERT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", text.c_str(), &parsed), ZELKLOG_RC_OK) << text;
    EXPECT_GE(parsed, before);
    EXPECT_LE(parsed, after);
}

TEST(DateFormat, BeforeNineteenSeventy)
{
    ZoneGuard zone("UTC0");
    std::string text = format(2, 1, -86400.0 * 365, "en_US");
    EXPECT_NE(text.find("1969"), std::string::npos) << text;
    int64_t parsed = 0;
    ASSERT_EQ(zelkLogGetDateFromFormat(2, 1, "en_US", text.c_str(), &parsed), ZELKLOG_RC_OK);
    EXPECT_EQ(parsed, -86400 * 365);
}

TEST(DateFormat, ParseIgnoresTrailingTextAndRefusesGarbage)
{
    ZoneGuard zone("UTC0");
    int64_t parsed = 0;
    EXPECT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", "11/14/23, 10:13:20 PM and more", &parsed), ZELKLOG_RC_OK);
    EXPECT_EQ(parsed, kMoment);
    const char *garbage[] = {"", "garbage", "13:00", "\xff\xfe\x80", "99/99/99, 99:99:99 XM"};
    for (const char *text : garbage)
        EXPECT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", text, &parsed), ZELKLOG_RC_FAILURE) << text;
}

TEST(DateFormat, BadArguments)
{
    int64_t parsed = 42;
    EXPECT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", nullptr, &parsed), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogGetDateFromFormat(2, 3, "en_US", "11/14/23", nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(parsed, 42);
    EXPECT_EQ(zelkLogstrftime(2, 3, 1.0, "en_US", nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogGetDateFromFormat(-2, 3, "en_US", "11/14/23", &parsed), ZELKLOG_RC_FAILURE);

    // A failing call hands out nothing that would need releasing.
    struct Case {
        int32_t timeStyle, dateStyle;
        double time;
    } failing[] = {{-2, 3, 1.0}, {2, 77, 1.0}, {4, 3, 1.0}, {2, 3, NAN}, {2, 3, INFINITY}};
    for (const Case &c : failing) {
        void *formatter = &parsed;
        ZELKLOG_UCHAR *text = reinterpret_cast<ZELKLOG_UCHAR *>(&parsed);
        EXPECT_EQ(GetDateTimeFormat(c.timeStyle, c.dateStyle, c.time, "en_US", &formatter, &text),
                  ZELKLOG_RC_FAILURE)
            << c.timeStyle << "/" << c.dateStyle;
        EXPECT_EQ(formatter, nullptr);
        EXPECT_EQ(text, nullptr);
    }
    void *formatter = nullptr;
    EXPECT_EQ(GetDateTimeFormat(2, 3, 1.0, "en_US", &formatter, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    ReleaseDateTimeFormat(nullptr, nullptr);
}

TEST(DateFormat, FormatterStaysUsable)
{
    void *formatter = nullptr;
    ZELKLOG_UCHAR *text = nullptr;
    ASSERT_EQ(GetDateTimeFormat(2, 3, 1.0, "de_DE", &formatter, &text), ZELKLOG_RC_OK);
    ASSERT_NE(formatter, nullptr);
    ASSERT_NE(text, nullptr);
    ReleaseDateTimeFormat(formatter, text);
}

// The start of the local day that `time` falls in, by the C library.
int64_t localMidnight(int64_t time)
{
    time_t t = static_cast<time_t>(time);
    struct tm local;
    localtime_r(&t, &local);
    local.tm_hour = local.tm_min = local.tm_sec = 0;
    local.tm_isdst = -1;
    return mktime(&local);
}

TEST(LogDates, RunFromLocalMidnightToNow)
{
    for (const char *zoneName : {"UTC0", kIndia, "<-10>10"}) {
        ZoneGuard zone(zoneName);
        for (int32_t days : {0, 1, 7, 400, 24855, 100000}) {
            int64_t from = 0, to = 0;
            const int64_t before = time(nullptr);
            ASSERT_EQ(zelkLogGetLogDates(days, &from, &to), ZELKLOG_RC_OK);
            const int64_t after = time(nullptr);
            EXPECT_GE(to, before);
            EXPECT_LE(to, after);
            // Fixed zones have no clock changes: `from` is exactly that day's midnight.
            EXPECT_EQ(from, localMidnight(to - int64_t{days} * 86400)) << zoneName << " " << days;
            EXPECT_LE(to - from, int64_t{days} * 86400 + 86399);
            EXPECT_GE(to - from, int64_t{days} * 86400);
        }
    }
}

TEST(LogDates, RefusesWithoutWriting)
{
    int64_t from = 7, to = 8;
    EXPECT_EQ(zelkLogGetLogDates(-1, &from, &to), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogGetLogDates(INT32_MIN, &from, &to), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogGetLogDates(1, nullptr, &to), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogGetLogDates(1, &from, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(from, 7);
    EXPECT_EQ(to, 8);
}

TEST(SafeWcsdup, CopiesIntoNewStorage)
{
    EXPECT_EQ(zelkLogSafeWcsdup(nullptr), nullptr);
    for (const wchar_t *text : {L"", L"x", L"Gr\u00fc\u00dfe \U0001F600"}) {
        wchar_t *copy = zelkLogSafeWcsdup(text);
        ASSERT_NE(copy, nullptr);
        EXPECT_NE(copy, text);
        EXPECT_EQ(std::wcscmp(copy, text), 0);
        zelkLogFree(copy);
    }
}

}  // namespace
