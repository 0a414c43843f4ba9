// Localised date and time text through ICU's date formatter, and back.
//
// Every formatter works in the zone "GMT": local wall-clock time is shown by shifting
// the instant by the local offset before formatting, and a parsed instant is shifted
// back afterwards, so the formatter itself never applies a zone rule.
#include "src/core/zelkLogCore.h"
#include "src/time/locale_check.h"

#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/ustring.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>

namespace {

constexpr double kMsPerSecond = 1000.0;

// Longer than any date and time ICU writes in any locale and style (under 300 bytes of
// UTF-8); a longer text is refused before it reaches ICU's parser, whose time grows
// faster than the text.
constexpr size_t kMaxDateTextBytes = 1024;

// Styles udat_open accepts without a pattern: none, full..short, and the relative
// date styles.  UDAT_PATTERN (-2) would need a pattern, which these calls never pass.
bool usableStyle(int32_t style)
{
    if (style == UDAT_NONE)
        return true;
    int32_t base = style & ~UDAT_RELATIVE;
    return style >= 0 && base >= UDAT_FULL && base <= UDAT_SHORT;
}

void releaseOutputs(UDateFormat **formatter, ZELKLOG_UCHAR **text)
{
    if (*formatter != nullptr)
        udat_close(*formatter);
    zelkLogFree(*text);
    *formatter = nullptr;
    *text = nullptr;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t GetDateTimeFormat(int32_t timeStyle, int32_t dateStyle, double time, const char *locale,
                                       UDateFormat **formatter, ZELKLOG_UCHAR **text)
{
    if (formatter == nullptr || text == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    *formatter = nullptr;
    *text = nullptr;
    if (!usableStyle(timeStyle) || !usableStyle(dateStyle) || !std::isfinite(time) ||
        !zelk::time::usableLocale(locale))
        return ZELKLOG_RC_FAILURE;

    UErrorCode status = U_ZERO_ERROR;
    tzset();
    UChar zone[4];
    u_uastrcpy(zone, "GMT");

    const double offset = static_cast<double>(getLocalTZOffsetFromGMT());
    const UDate instant =
        time == 0.0 ? ucal_getNow() - offset * kMsPerSecond : kMsPerSecond * (time - offset);

    UDateFormat *format =
        udat_open(static_cast<UDateFormatStyle>(timeStyle), static_cast<UDateFormatStyle>(dateStyle), locale,
                  zone, 3, nullptr, -1, &status);
    *formatter = format;

    int32_t length = udat_format(format, instant, nullptr, 0, nullptr, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        auto *buffer = static_cast<UChar *>(zelkLogMalloc((static_cast<size_t>(length) + 1) * sizeof(UChar)));
        if (buffer == nullptr) {
            releaseOutputs(formatter, text);
            return ZELKLOG_RC_FAILURE;
        }
        *text = buffer;
        udat_format(format, instant, buffer, length + 1, nullptr, &status);
    }
    if (status != U_ZERO_ERROR || *text == nullptr) {
        // The callers release only after success, so nothing is left behind on failure.
        releaseOutputs(formatter, text);
        return ZELKLOG_RC_FAILURE;
    }
    return ZELKLOG_RC_OK;
}

ZELKLOG_API void ReleaseDateTimeFormat(UDateFormat *formatter, ZELKLOG_UCHAR *text)
{
    if (formatter != nullptr)
        udat_close(formatter);
    zelkLogFree(text);
}

ZELKLOG_API uint32_t zelkLogstrftime(int32_t timeStyle, int32_t dateStyle, double time, const char *locale,
                                     ZELKLOG_UCHAR **text)
{
    if (text == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    UDateFormat *formatter = nullptr;
    if (GetDateTimeFormat(timeStyle, dateStyle, time, locale, &formatter, text) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_FAILURE;
    udat_close(formatter);
    return ZELKLOG_RC_OK;
}

ZELKLOG_API uint32_t zelkLogGetDateFromFormat(int32_t timeStyle, int32_t dateStyle, const char *locale,
                                              const char *dateText, int64_t *time)
{
    if (dateText == nullptr || time == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    if (strnlen(dateText, kMaxDateTextBytes + 1) > kMaxDateTextBytes)
        return ZELKLOG_RC_FAILURE;

    UDateFormat *formatter = nullptr;
    ZELKLOG_UCHAR *unused = nullptr;
    if (GetDateTimeFormat(timeStyle, dateStyle, 0.0, locale, &formatter, &unused) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_FAILURE;

    const size_t textLength = std::strlen(dateText);
    if (textLength >= static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
        ReleaseDateTimeFormat(formatter, unused);
        return ZELKLOG_RC_FAILURE;
    }
    auto *buffer = static_cast<UChar *>(zelkLogMalloc((textLength + 1) * sizeof(UChar)));
    if (buffer == nullptr) {
        ReleaseDateTimeFormat(formatter, unused);
        return ZELKLOG_RC_NO_MEMORY;
    }
    // Bounded copy: the conversion never writes more than the buffer holds, whatever
    // the default code page; the terminator is set explicitly.
    const auto capacity = static_cast<int32_t>(textLength + 1);
    u_uastrncpy(buffer, dateText, capacity);
    buffer[textLength] = 0;
    const int32_t length = u_strlen(buffer);

    UErrorCode status = U_ZERO_ERROR;
    int32_t position = 0;
    const UDate parsed =
        udat_parse(static_cast<UDateFormat *>(formatter), buffer, length, &position, &status);

    uint32_t rc = status == U_ZERO_ERROR ? ZELKLOG_RC_OK : ZELKLOG_RC_FAILURE;
    const double seconds = std::trunc(parsed / kMsPerSecond);
    // Guard the conversion: an out-of-range double does not fit a 64-bit time.
    constexpr double kLimit = 9.2e18;
    if (std::isfinite(seconds) && seconds > -kLimit && seconds < kLimit)
        *time = static_cast<int64_t>(seconds) + getLocalTZOffsetFromGMT();
    else
        rc = ZELKLOG_RC_FAILURE;

    zelkLogFree(buffer);
    ReleaseDateTimeFormat(formatter, unused);
    return rc;
}

}  // extern "C"
