// The reading position inside a serialized message text, and the two passes that read
// it.  The text is NUL-terminated at `end`; the reader writes NUL characters only at or
// behind `pos`, so [pos, end) never holds a NUL and the bounded searches below may run
// to `end`.
#ifndef SRC_MESSAGE_TEXT_CURSOR_H_
#define SRC_MESSAGE_TEXT_CURSOR_H_

#include <cstddef>

namespace zelk::message {

// Store builds the record: owned strings, arguments, nested lists, and every separator
// that ends a field becomes NUL.  Check reads the same text by the same rules and fails
// exactly where Store fails (allocation aside), but allocates nothing and writes only
// the NUL behind each string field, which InPlaceStrings remembers and puts back.
enum class Pass { Store, Check };

// The string fields that a Check pass terminated inside the text: a message has at most
// three (context token, aux text, and one string of its kind's tail).
class InPlaceStrings {
public:
    static constexpr int kCapacity = 3;

    // False when no room is left (the pass then fails and the caller decodes for real).
    bool remember(char *separator)
    {
        if (count_ == kCapacity)
            return false;
        separators_[count_++] = separator;
        return true;
    }

    // Puts the "," back behind every string, so that the text reads again from the start.
    void restore()
    {
        for (int i = 0; i < count_; ++i)
            *separators_[i] = ',';
        count_ = 0;
    }

private:
    char *separators_[kCapacity] = {};
    int count_ = 0;
};

class RecordStorage;

struct TextCursor {
    char *pos;
    char *end;
    InPlaceStrings *inPlace = nullptr;  // Check pass only
    RecordStorage *storage = nullptr;   // Store pass: kept blocks to decode into

    size_t remaining() const { return static_cast<size_t>(end - pos); }
};

}  // namespace zelk::message

#endif  // SRC_MESSAGE_TEXT_CURSOR_H_
