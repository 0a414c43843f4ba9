// The argument section: "(" message-id "|" arguments ")", arguments possibly nesting
// further lists.
#ifndef SRC_MESSAGE_ARGUMENT_LIST_H_
#define SRC_MESSAGE_ARGUMENT_LIST_H_

#include "src/message/text_cursor.h"
#include "zelkLogRead.h"

#include <cstdint>

namespace zelk::message {

// Deepest nesting of argument lists, the top-level list counting as 1.  A deeper list
// is refused with code 1 so that corrupt text cannot exhaust the stack.
constexpr int kMaxListDepth = 32;

// Reads a list starting at the cursor ("(") into `list`, which the caller has cleared.
// On failure the arguments already added stay in `list`.  The Check pass sets only the
// list's message id and adds no argument.
template <Pass P> uint32_t readArgumentList(TextCursor &cursor, ZelkLogMsgArgList *list, int depth);

// Decodes the argument whose tag was just taken into `arg` (type, ownsValue, value).
// The Check pass leaves the value of a string or list argument unset and owns nothing.
template <Pass P> uint32_t readArgumentValue(TextCursor &cursor, char tag, ZelkLogMsgArg *arg, int depth);

// Releases what the list owns (arguments, their values, nested lists); the holder stays.
void releaseArgumentList(ZelkLogMsgArgList *list);
// Releases an argument's owned value and the argument itself.
void releaseArgument(ZelkLogMsgArg *arg);

}  // namespace zelk::message

#endif  // SRC_MESSAGE_ARGUMENT_LIST_H_
