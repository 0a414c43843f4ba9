// Number syntaxes of serialized messages.  The first three rules share the zero-first
// rule: a field whose first character is "0" is 0 and nothing after it is looked at;
// otherwise the C library conversion applies (leading space and sign accepted, trailing
// text ignored) and a result of 0 is a failure.  Each field is [begin, end) where the
// character at `end` is never a digit (a separator or the text's terminator), so a
// conversion that runs on behind `end` stops there.
#ifndef SRC_MESSAGE_NUMBER_RULES_H_
#define SRC_MESSAGE_NUMBER_RULES_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zelk::message {

// strtoul-based: identifiers, counts, kind, severity, prefixes, message ids.
bool readUnsigned(const char *begin, const char *end, uint64_t *value);
// strtoll-based: times and signed argument values.
bool readSigned64(const char *begin, const char *end, int64_t *value);
// strtoull-based: unsigned argument values (same conversion width as readUnsigned here).
bool readUnsigned64(const char *begin, const char *end, uint64_t *value);
// atoi over at most the first 22 characters of the field; never fails.
int32_t readPlainInteger(const char *begin, const char *end);
// atof over a NUL-terminated token; never fails.
double readFloating(const char *token);
// atol over a string field's length prefix [begin, end) of 1 to 10 characters.
long readLength(const char *begin, const char *end);

inline bool isDigit(char c)
{
    return static_cast<unsigned char>(c - '0') < 10;
}

// The fast path of the field readers: a run of at most `maxDigits` (at most 19) digits
// starting at `p` with a digit from 1 to 9, read without a bound (whatever follows the
// run, the text's terminator at the latest, ends it).  Returns the position behind the
// run, or null when `p` does not start such a run or the run is longer (the caller then
// takes the general path).  A run of up to 19 digits cannot overflow 64 bits.
inline const char *shortDigitRun(const char *p, size_t maxDigits, uint64_t *value)
{
    if (*p < '1' || *p > '9')
        return nullptr;
    // A longer run wraps around harmlessly: it is refused once its length is known.
    uint64_t number = static_cast<uint64_t>(*p - '0');
    const char *q = p + 1;
    while (isDigit(*q)) {
        number = number * 10 + static_cast<uint64_t>(*q - '0');
        ++q;
    }
    if (static_cast<size_t>(q - p) > maxDigits)
        return nullptr;
    *value = number;
    return q;
}

// Eight characters loaded into a word, the first in the low byte: a non-zero byte where
// the character is no digit.  The +6 may carry out of a byte of 0xFA or more, but only
// into the bytes behind it, whose verdict then no longer counts.
inline uint64_t nonDigitBytes(uint64_t x)
{
    return ((x & 0xF0F0F0F0F0F0F0F0ull) | (((x + 0x0606060606060606ull) & 0xF0F0F0F0F0F0F0F0ull) >> 4)) ^
           0x3333333333333333ull;
}

// Eight digit values (0 to 9), the most significant in the low byte, as one number.
inline uint64_t eightDigitValue(uint64_t x)
{
    x = x * 10 + (x >> 8);
    return ((x & 0x000000FF000000FFull) * (100 + (1000000ull << 32)) +
            ((x >> 16) & 0x000000FF000000FFull) * (1 + (10000ull << 32))) >>
           32;
}

inline uint64_t loadEight(const char *p)
{
    uint64_t x;
    std::memcpy(&x, p, 8);
    if constexpr (__BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__)
        x = __builtin_bswap64(x);
    return x;
}

// The eight characters at `p` (all readable) as a number when every one is a digit.
inline bool eightDigits(const char *p, uint64_t *value)
{
    const uint64_t x = loadEight(p);
    if (nonDigitBytes(x) != 0)
        return false;
    *value = eightDigitValue(x - 0x3030303030303030ull);
    return true;
}

// The digits that start the eight characters at `p` (all readable): how many (0 to 8),
// and their value in `*value`.
inline size_t leadingDigits(const char *p, uint64_t *value)
{
    const uint64_t x = loadEight(p);
    const uint64_t other = nonDigitBytes(x);
    const size_t count = other == 0 ? 8 : static_cast<size_t>(__builtin_ctzll(other)) / 8;
    if (count == 0)
        return 0;
    // The digits move to the top bytes and zeros lead them, which leaves their value.
    *value = eightDigitValue((x - 0x3030303030303030ull) << (8 * (8 - count)));
    return count;
}

}  // namespace zelk::message

#endif  // SRC_MESSAGE_NUMBER_RULES_H_
