// Decodes a serialized message text the way record fetching does: the text goes into a
// raw-record buffer, the record is cleared and given its format, then decoded.
#ifndef ZELKLOG_TEST_DECODE_HELPER_H
#define ZELKLOG_TEST_DECODE_HELPER_H

#include "zelkLogCore.h"

#include <cstring>
#include <string_view>

namespace zelk::test {

// Copies `text` (cut to the buffer) into `message`, ready for the decoder.
inline void loadText(textMessage *message, std::string_view text)
{
    init_text_msg(message);
    size_t length = text.size() < sizeof message->buffer - 1 ? text.size() : sizeof message->buffer - 1;
    std::memcpy(message->buffer, text.data(), length);
    message->buffer[length] = '\0';
}

// Clears `record`, sets its format and decodes `text`; the buffer is released either way.
// `presetProductId` stands for the identifier record fetching takes from a file name.
inline uint32_t decodeText(std::string_view text, uint64_t format, ZelkLogMsg *record,
                           uint64_t presetProductId = 0)
{
    static textMessage message;
    loadText(&message, text);
    std::memset(record, 0, sizeof *record);
    record->format = format;
    record->productId = presetProductId;
    uint32_t rc = zelkLogMsgUnserialize(&message, record);
    if (rc == ZELKLOG_RC_OK)
        free_text_msg(&message);
    return rc;
}

}  // namespace zelk::test

#endif
