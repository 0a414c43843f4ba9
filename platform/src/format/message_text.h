// The message text of a record: its catalogue text filled with its arguments, or, for an
// identifier that no catalogue knows, the identifier and the arguments.
#ifndef PLATFORM_SRC_FORMAT_MESSAGE_TEXT_H_
#define PLATFORM_SRC_FORMAT_MESSAGE_TEXT_H_

#include "platform/src/format/localizer_list.h"

#include <unicode/unistr.h>

#include <string>

namespace zelk::core {

// Appends the message text of `record` to `out`.  Throws std::bad_alloc only.
void appendMessageText(ZelkLogLocalizerList &list, Localizer &localizer, const ZelkLogMsg &record,
                       icu::UnicodeString &out);

// The same, appended to UTF-8 text: catalogue texts of plain and simply typed arguments
// are written without going through UTF-16.
void appendMessageText(ZelkLogLocalizerList &list, Localizer &localizer, const ZelkLogMsg &record,
                       std::string &out);

// A record's string appended as UTF-8: ASCII as it is, anything else as fromBytes() reads it.
void appendBytes(std::string &out, const char *text);

// Text of a UTF-8 (or arbitrary byte) string; ill-formed bytes become U+FFFD.
icu::UnicodeString fromBytes(const char *text);

}  // namespace zelk::core

#endif  // PLATFORM_SRC_FORMAT_MESSAGE_TEXT_H_
