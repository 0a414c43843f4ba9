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

}  // namespace zelk::message

#endif  // SRC_MESSAGE_NUMBER_RULES_H_
