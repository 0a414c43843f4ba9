// Textual zone names of the form GMT, GMT+5:30, GMT-3:30 from an offset in seconds.
#include "zelkLogRead.h"

#include <charconv>
#include <cstring>

namespace {

constexpr uint64_t kHalfHour = 1800;
// The caller's buffer holds 18 bytes: "GMT", sign, hours, ":", two minute digits and
// the terminator leave room for ten hour digits.
constexpr uint64_t kMaxHours = 9999999999ULL;
constexpr size_t kZoneBufferSize = 18;

}  // namespace

extern "C" {

ZELKLOG_API uint32_t OffsetToTimeZone(int64_t offset, char **zoneText)
{
    if (zoneText == nullptr || *zoneText == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // Magnitude in unsigned arithmetic: well defined for INT64_MIN too.
    const uint64_t magnitude = offset < 0 ? 0 - static_cast<uint64_t>(offset) : static_cast<uint64_t>(offset);
    if (magnitude % kHalfHour != 0)
        return ZELKLOG_RC_FAILURE;
    const uint64_t hours = magnitude / 3600;
    if (hours > kMaxHours)
        return ZELKLOG_RC_BAD_ARGUMENT;

    char text[kZoneBufferSize];
    char *cursor = text;
    std::memcpy(cursor, "GMT", 3);
    cursor += 3;
    if (offset != 0) {
        *cursor++ = offset < 0 ? '-' : '+';
        cursor = std::to_chars(cursor, text + sizeof text, hours).ptr;
        *cursor++ = ':';
        *cursor++ = (magnitude % 3600) != 0 ? '3' : '0';
        *cursor++ = '0';
    }
    *cursor++ = '\0';
    std::memcpy(*zoneText, text, static_cast<size_t>(cursor - text));
    return ZELKLOG_RC_OK;
}

}  // extern "C"
