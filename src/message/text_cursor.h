// The reading position inside a serialized message text.  The text is NUL-terminated at
// `end`; the reader writes NUL characters only at or behind `pos`, so [pos, end) never
// holds a NUL and the bounded searches below may run to `end`.
#ifndef SRC_MESSAGE_TEXT_CURSOR_H_
#define SRC_MESSAGE_TEXT_CURSOR_H_

#include <cstddef>

namespace zelk::message {

struct TextCursor {
    char *pos;
    char *end;

    size_t remaining() const { return static_cast<size_t>(end - pos); }
};

}  // namespace zelk::message

#endif  // SRC_MESSAGE_TEXT_CURSOR_H_
