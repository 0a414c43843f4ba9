// The time range of the last N days: from the local midnight N days back to now.
#include "src/core/zelkLogCore.h"

#include <ctime>

extern "C" {

ZELKLOG_API uint32_t zelkLogGetLogDates(int32_t days, int64_t *from, int64_t *to)
{
    const time_t now = time(nullptr);
    if (from == nullptr || to == nullptr || days < 0)
        return ZELKLOG_RC_BAD_ARGUMENT;

    struct tm local;
    if (zelkLogOs_localtime_r(&now, &local) == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    const time_t end = mktime(&local);
    if (end == static_cast<time_t>(-1))
        return ZELKLOG_RC_BAD_ARGUMENT;

    // The span is formed in 64 bits, so every non-negative count gives the real day.
    const time_t dayStart = end - static_cast<time_t>(days) * 86400;
    if (zelkLogOs_localtime_r(&dayStart, &local) == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // The clock time of that day is subtracted: on a day whose clock was moved between
    // midnight and that moment, the start differs from midnight by the shift.
    const time_t start = dayStart - (local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec);

    *to = static_cast<int64_t>(end);
    *from = static_cast<int64_t>(start);
    return ZELKLOG_RC_OK;
}

}  // extern "C"
