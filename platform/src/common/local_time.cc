// Local time services: the zone offset, broken-down local time and look-back texts.
#include "src/core/zelkLogCore.h"

#include <charconv>
#include <cstring>
#include <ctime>

extern "C" {

// Seconds to subtract from a UTC time to get local wall-clock time written as UTC
// (the negated zone offset of the current moment, daylight saving included).
ZELKLOG_API int64_t getLocalTZOffsetFromGMT(void)
{
    tzset();
    time_t now = time(nullptr);
    struct tm local;
    if (localtime_r(&now, &local) == nullptr)
        return 0;
    return -static_cast<int64_t>(local.tm_gmtoff);
}

ZELKLOG_API struct tm *zelkLogOs_localtime_r(const time_t *time, struct tm *out)
{
    if (time == nullptr || out == nullptr)
        return nullptr;
    return localtime_r(time, out);
}

// Accepted look-back forms: "H:MM:SS" (any number of hours), "M:SS" or "MM:SS", and plain
// seconds "S...".  Fields are decimal digits only; minutes and seconds after a colon
// must be below 60.  Returns 1 when read, 0 otherwise.
ZELKLOG_API int zelkLogGetTime(const char *text, int32_t *hours, int32_t *minutes, int32_t *seconds)
{
    if (text == nullptr || hours == nullptr || minutes == nullptr || seconds == nullptr)
        return 0;
    int32_t fields[3] = {0, 0, 0};
    int count = 0;
    const char *cursor = text;
    const char *end = text + std::strlen(text);
    while (true) {
        if (count == 3 || cursor == end || *cursor < '0' || *cursor > '9')
            return 0;
        auto [next, error] = std::from_chars(cursor, end, fields[count]);
        if (error != std::errc())
            return 0;
        ++count;
        cursor = next;
        if (cursor == end)
            break;
        if (*cursor != ':')
            return 0;
        ++cursor;
    }
    for (int i = 1; i < count; ++i) {
        if (fields[i] >= 60)
            return 0;
    }
    *hours = count == 3 ? fields[0] : 0;
    *minutes = count == 3 ? fields[1] : (count == 2 ? fields[0] : 0);
    *seconds = fields[count - 1];
    return 1;
}

}  // extern "C"
