// Number syntaxes of serialized messages.  The first three rules share the zero-first
// rule: a field whose first character is "0" is 0 and nothing after it is looked at;
// otherwise the C library conversion applies (leading space and sign accepted, trailing
// text ignored) and a result of 0 is a failure.  Each field is [begin, end) where the
// character at `end` is never a digit (a separator or the text's terminator).
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

}  // namespace zelk::message

#endif  // SRC_MESSAGE_NUMBER_RULES_H_
