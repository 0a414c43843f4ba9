#include "tools/dates.h"

#include "tools/commands.h"
#include "tools/errors.h"
#include "zelkLogRead.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

namespace zelktool {

namespace {

const char *localeOrNull(const std::string &locale)
{
    return locale.empty() ? nullptr : locale.c_str();
}

// "2h", "30 m", "3d ago": seconds back from now, or -1 when the text is not of that form.
int64_t relativeSeconds(std::string text)
{
    if (text.size() > 4 && text.compare(text.size() - 4, 4, " ago") == 0)
        text.resize(text.size() - 4);
    size_t i = 0;
    if (!text.empty() && text[0] == '-')
        ++i;
    size_t digitsStart = i;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])))
        ++i;
    if (i == digitsStart || i - digitsStart > 12)
        return -1;
    int64_t amount = std::strtoll(text.c_str() + digitsStart, nullptr, 10);
    while (i < text.size() && text[i] == ' ')
        ++i;
    std::string unit = text.substr(i);
    int64_t scale;
    if (unit == "s" || unit == "sec" || unit == "seconds")
        scale = 1;
    else if (unit == "m" || unit == "min" || unit == "minutes")
        scale = 60;
    else if (unit == "h" || unit == "hours")
        scale = 3600;
    else if (unit == "d" || unit == "days")
        scale = 86400;
    else if (unit == "w" || unit == "weeks")
        scale = 7 * 86400;
    else
        return -1;
    return amount * scale;
}

bool parseIsoLocal(const std::string &text, int64_t *seconds)
{
    for (const char *format : {"%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        struct tm fields {};
        const char *end = strptime(text.c_str(), format, &fields);
        if (end != nullptr && *end == '\0') {
            fields.tm_isdst = -1;
            *seconds = static_cast<int64_t>(mktime(&fields));
            return true;
        }
    }
    return false;
}

}  // namespace

int64_t parseTimeArgument(const std::string &option, const std::string &text, const std::string &locale)
{
    int64_t now = static_cast<int64_t>(std::time(nullptr));
    if (text == "now")
        return now;
    if (text == "today" || text == "yesterday") {
        int64_t from = 0, to = 0;
        uint32_t rc = zelkLogGetLogDates(text == "today" ? 0 : 1, &from, &to);
        if (rc != 0)
            failWithCode(option + " " + text, rc);
        return from;
    }
    if (text.size() > 1 && text[0] == '@') {
        char *end = nullptr;
        long long value = std::strtoll(text.c_str() + 1, &end, 10);
        if (end != nullptr && *end == '\0')
            return value;
    }
    int64_t back = relativeSeconds(text);
    if (back >= 0)
        return now - back;
    int64_t seconds = 0;
    if (parseIsoLocal(text, &seconds))
        return seconds;
    if (zelkLogGetDateFromFormat(2, 3, localeOrNull(locale), text.c_str(), &seconds) == 0)
        return seconds;
    failUsage(option + ": '" + text +
              "' is not a time (now, today, yesterday, 2h, 30m, @SECONDS, YYYY-MM-DD HH:MM:SS, or a date in "
              "the locale such as " +
              formatTime(0, 2, 3, locale) + ")");
}

int64_t parseZoneOffset(const std::string &text)
{
    if (text.size() > 1 && text.back() == 's') {
        char *end = nullptr;
        long long value = std::strtoll(text.c_str(), &end, 10);
        if (end == text.c_str() + text.size() - 1)
            return value;
    }
    int sign = 1;
    size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        sign = text[i++] == '-' ? -1 : 1;
    int hours = 0, minutes = 0;
    size_t start = i;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])) && i - start < 2)
        hours = hours * 10 + (text[i++] - '0');
    if (i == start)
        failUsage("--tz: '" + text + "' is not an offset such as +02:00, -5:30 or 3600s");
    if (i < text.size() && text[i] == ':') {
        ++i;
        size_t minuteStart = i;
        while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])) && i - minuteStart < 2)
            minutes = minutes * 10 + (text[i++] - '0');
        if (i - minuteStart != 2 || minutes >= 60)
            failUsage("--tz: '" + text + "' is not an offset such as +02:00, -5:30 or 3600s");
    }
    if (i != text.size())
        failUsage("--tz: '" + text + "' is not an offset such as +02:00, -5:30 or 3600s");
    return sign * (hours * 3600 + minutes * 60);
}

std::string formatTime(double seconds, int timeStyle, int dateStyle, const std::string &locale)
{
    ZELKLOG_UCHAR *text = nullptr;
    uint32_t rc = zelkLogstrftime(timeStyle, dateStyle, seconds, localeOrNull(locale), &text);
    if (rc != 0)
        failWithCode("date", rc, " while formatting in locale '" + locale + "'");
    // UTF-16 to UTF-8.
    std::string utf8;
    for (const ZELKLOG_UCHAR *at = text; *at != 0; ++at) {
        uint32_t code = *at;
        if (code >= 0xD800 && code <= 0xDBFF && at[1] >= 0xDC00 && at[1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (at[1] - 0xDC00);
            ++at;
        }
        if (code < 0x80) {
            utf8.push_back(static_cast<char>(code));
        } else if (code < 0x800) {
            utf8.push_back(static_cast<char>(0xC0 | (code >> 6)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else if (code < 0x10000) {
            utf8.push_back(static_cast<char>(0xE0 | (code >> 12)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else {
            utf8.push_back(static_cast<char>(0xF0 | (code >> 18)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
    }
    zelkLogFree(text);
    return utf8;
}

int64_t parseDateText(const std::string &text, int timeStyle, int dateStyle, const std::string &locale)
{
    int64_t seconds = 0;
    uint32_t rc =
        zelkLogGetDateFromFormat(timeStyle, dateStyle, localeOrNull(locale), text.c_str(), &seconds);
    if (rc != 0)
        failWithCode("date '" + text + "'", rc,
                     " (the form in this locale is like '" + formatTime(0, timeStyle, dateStyle, locale) +
                         "')");
    return seconds;
}

int styleCode(const std::string &word)
{
    if (word == "full")
        return 0;
    if (word == "long")
        return 1;
    if (word == "medium")
        return 2;
    if (word == "short")
        return 3;
    if (word == "none")
        return -1;
    failUsage("'" + word + "' is not a style (full, long, medium, short, none)");
}

}  // namespace zelktool

namespace zelktool {

int runDate(const DateOptions &options)
{
    int timeStyle = styleCode(options.timeStyle);
    int dateStyle = styleCode(options.dateStyle);
    if (!options.zone.empty()) {
        char buffer[32] = {};
        char *zone = buffer;
        int64_t offset = parseZoneOffset(options.zone);
        uint32_t rc = OffsetToTimeZone(offset, &zone);
        if (rc != 0)
            failWithCode("date --zone " + options.zone, rc, " (offsets are whole half hours)");
        std::printf("%s\n", buffer);
        return kExitOk;
    }
    if (!options.parse.empty()) {
        std::printf("%lld\n", static_cast<long long>(
                                  parseDateText(options.parse, timeStyle, dateStyle, options.locale)));
        return kExitOk;
    }
    double seconds = 0;
    if (!options.time.empty() && options.time != "now")
        seconds = static_cast<double>(parseTimeArgument("date", options.time, options.locale));
    std::printf("%s\n", formatTime(seconds, timeStyle, dateStyle, options.locale).c_str());
    return kExitOk;
}

}  // namespace zelktool
