// Number syntaxes.  Plain digit strings, the usual case, are read by a digit loop that
// saturates on overflow as the C library does; anything else (space, sign) takes the C
// library conversion so that its acceptance rules apply unchanged.
#include "src/message/number_rules.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace zelk::message {

namespace {

bool startsWithNonZeroDigit(const char *begin, const char *end)
{
    return begin != end && *begin >= '1' && *begin <= '9';
}

// The digit run at `begin` (at least one digit, none beyond `end`) as an unsigned
// magnitude; false when it does not fit 64 bits.
bool digitRun(const char *begin, const char *end, uint64_t *magnitude)
{
    uint64_t value = 0;
    bool fits = true;
    for (const char *p = begin; p != end && isDigit(*p); ++p) {
        const auto digit = static_cast<uint64_t>(*p - '0');
        fits = fits && !__builtin_mul_overflow(value, uint64_t{10}, &value) &&
               !__builtin_add_overflow(value, digit, &value);
    }
    *magnitude = value;
    return fits;
}

uint64_t unsignedValue(const char *begin, const char *end)
{
    uint64_t quick = 0;
    if (begin != end && shortDigitRun(begin, 19, &quick) != nullptr)
        return quick;  // the run may end before `end` (trailing text is ignored)
    if (startsWithNonZeroDigit(begin, end)) {
        uint64_t value = 0;
        return digitRun(begin, end, &value) ? value : std::numeric_limits<uint64_t>::max();
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
    uint64_t quick = 0;
    if (begin != end && shortDigitRun(begin, 18, &quick) != nullptr) {  // 18 digits fit
        *value = static_cast<int64_t>(quick);
        return true;
    }
    const bool negative = begin != end && *begin == '-' && startsWithNonZeroDigit(begin + 1, end);
    if (negative || startsWithNonZeroDigit(begin, end)) {
        uint64_t magnitude = 0;
        const bool fits = digitRun(negative ? begin + 1 : begin, end, &magnitude);
        constexpr auto kMax = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
        if (negative)
            *value = !fits || magnitude > kMax + 1 ? std::numeric_limits<int64_t>::min()
                                                   : static_cast<int64_t>(0 - magnitude);
        else
            *value = !fits || magnitude > kMax ? std::numeric_limits<int64_t>::max()
                                               : static_cast<int64_t>(magnitude);
    } else {
        *value = std::strtoll(begin, nullptr, 10);
    }
    return *value != 0;
}

int32_t readPlainInteger(const char *begin, const char *end)
{
    constexpr size_t kMaxChars = 22;
    const size_t length = std::min(static_cast<size_t>(end - begin), kMaxChars);
    // Up to 18 digits and nothing else: no overflow of a long is possible.
    if (length >= 1 && length <= 18 && std::all_of(begin, begin + length, isDigit)) {
        long number = 0;
        for (const char *p = begin; p != begin + length; ++p)
            number = number * 10 + (*p - '0');
        return static_cast<int32_t>(number);
    }
    char field[kMaxChars + 1];
    std::copy(begin, begin + length, field);
    field[length] = '\0';
    // atoi is strtol narrowed to int; narrowing explicitly keeps out-of-range values defined.
    return static_cast<int32_t>(std::strtol(field, nullptr, 10));
}

double readFloating(const char *token)
{
    return std::strtod(token, nullptr);
}

long readLength(const char *begin, const char *end)
{
    // At most ten digits always fit a long.
    if (std::all_of(begin, end, isDigit)) {
        long number = 0;
        for (const char *p = begin; p != end; ++p)
            number = number * 10 + (*p - '0');
        return number;
    }
    return std::strtol(begin, nullptr, 10);
}

}  // namespace zelk::message
