// Number syntaxes.  Plain digit strings, the usual case, go through std::from_chars;
// anything else (space, sign) takes the C library conversion so that its acceptance
// rules apply unchanged.  On overflow both saturate like the C library does.
#include "src/message/number_rules.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>

namespace zelk::message {

namespace {

bool startsWithNonZeroDigit(const char *begin, const char *end)
{
    return begin != end && *begin >= '1' && *begin <= '9';
}

uint64_t unsignedValue(const char *begin, const char *end)
{
    if (startsWithNonZeroDigit(begin, end)) {
        uint64_t value = 0;
        auto result = std::from_chars(begin, end, value);
        return result.ec == std::errc::result_out_of_range ? std::numeric_limits<uint64_t>::max() : value;
    }
    static_assert(sizeof(unsigned long) == sizeof(uint64_t), "64-bit unsigned long");
    return std::strtoul(begin, nullptr, 10);
}

}  // namespace

bool readUnsigned(const char *begin, const char *end, uint64_t *value)
{
    if (begin != end && *begin == '0') {
        *value = 0;
        return true;
    }
    *value = unsignedValue(begin, end);
    return *value != 0;
}

bool readUnsigned64(const char *begin, const char *end, uint64_t *value)
{
    return readUnsigned(begin, end, value);
}

bool readSigned64(const char *begin, const char *end, int64_t *value)
{
    if (begin != end && *begin == '0') {
        *value = 0;
        return true;
    }
    bool negative = begin != end && *begin == '-' && startsWithNonZeroDigit(begin + 1, end);
    if (negative || startsWithNonZeroDigit(begin, end)) {
        int64_t parsed = 0;
        auto result = std::from_chars(begin, end, parsed);
        if (result.ec == std::errc::result_out_of_range)
            parsed = negative ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
        *value = parsed;
    } else {
        *value = std::strtoll(begin, nullptr, 10);
    }
    return *value != 0;
}

int32_t readPlainInteger(const char *begin, const char *end)
{
    constexpr size_t kMaxChars = 22;
    char field[kMaxChars + 1];
    size_t length = std::min(static_cast<size_t>(end - begin), kMaxChars);
    std::copy(begin, begin + length, field);
    field[length] = '\0';
    // atoi is strtol narrowed to int; narrowing explicitly keeps out-of-range values defined.
    return static_cast<int32_t>(std::strtol(field, nullptr, 10));
}

double readFloating(const char *token)
{
    return std::strtod(token, nullptr);
}

}  // namespace zelk::message
