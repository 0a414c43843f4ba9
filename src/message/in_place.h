// Reading a serialized message in place: the fields a query tests, without building the
// record.  The record fetches use it to skip records that do not match without copying
// a single field.
#ifndef ZELKLOG_MESSAGE_IN_PLACE_H
#define ZELKLOG_MESSAGE_IN_PLACE_H

#include "src/message/text_cursor.h"
#include "zelkLogRead.h"

#include <cstdint>

namespace zelk::message {

// Reads the text of `message` by the rules of zelkLogMsgUnserialize and fails wherever
// it would fail (for want of memory aside, since nothing is allocated); the code then
// differs from the decoder's at most in value.  `view` is filled like a record by the
// decoder (its `format`, and for 0x10008 its logset, set by the caller beforehand), but
// its string members point into the text: each string is terminated in place, and
// `strings` remembers where so that restore() gives the text back unchanged, ready for
// the real decoder.  The argument section is checked, not kept: `view->args` holds the
// message id only.  On failure the text is already restored.  The buffer is never
// released.
uint32_t readInPlace(textMessage *message, ZelkLogMsg *view, InPlaceStrings *strings);

// The same for the usual record in one straight pass: true when it has read the record
// (the view filled and the strings terminated as readInPlace leaves them on success);
// false when the text takes the general reading above (the text is restored, the view
// may be partly filled and is prepared again before readInPlace).
bool readInPlaceQuick(textMessage *message, ZelkLogMsg *view, InPlaceStrings *strings);

}  // namespace zelk::message

#endif
