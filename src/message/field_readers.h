// Readers of the fields outside the argument section (comma fields and string fields)
// and of counted fields inside it.  Each returns a result code (0 on success) and leaves
// the cursor where the next field expects it.  Those that depend on the pass are
// instantiated for both.
#ifndef SRC_MESSAGE_FIELD_READERS_H_
#define SRC_MESSAGE_FIELD_READERS_H_

#include "src/message/text_cursor.h"

#include <cstddef>
#include <cstdint>

namespace zelk::message {

// Cuts out the next comma field [*begin, *end): the first field of the text starts at the
// cursor, every later one behind the separator the cursor rests on.  The cursor rests on
// the "," that ends it (Store makes it NUL) or on the end of the text.
template <Pass P> bool cutCommaField(TextCursor &cursor, bool first, const char **begin, const char **end);

template <Pass P> uint32_t readUnsignedField(TextCursor &cursor, bool first, uint64_t *value);
template <Pass P> uint32_t readSignedField(TextCursor &cursor, int64_t *value);
template <Pass P> uint32_t readPlainIntegerField(TextCursor &cursor, int32_t *value);

// length ":" bytes ",": Store gives *out an owned UTF-8 copy, Check points it at the
// bytes in the text, terminated in place; the empty field "0:," leaves *out untouched.
// A failed conversion's status is returned unchanged.
template <Pass P> uint32_t readStringField(TextCursor &cursor, char **out);

// prefix ":" bytes and one unexamined byte; *data and *length describe the bytes.
uint32_t readCountedField(TextCursor &cursor, const char **data, size_t *length);

// The prefix of a counted field or typed number: 1 to 10 characters before the first ":"
// in [begin, end), read by the unsigned rule.  *colon receives the ":" position.
bool readCountPrefix(const char *begin, const char *end, uint64_t *value, const char **colon);

}  // namespace zelk::message

#endif  // SRC_MESSAGE_FIELD_READERS_H_
