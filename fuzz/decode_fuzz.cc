// Fuzzes the message decoder: the first byte picks the record's format (including codes
// no layout accepts), the rest is the serialized text as a raw record would hold it.
// Every record is released afterwards, so leaks and double releases surface as well.
#include "src/core/zelkLogCore.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    static textMessage message;
    init_text_msg(&message);
    size_t length = size - 1 < sizeof message.buffer - 1 ? size - 1 : sizeof message.buffer - 1;
    std::memcpy(message.buffer, data + 1, length);
    message.buffer[length] = '\0';

    ZelkLogMsg record;
    std::memset(&record, 0, sizeof record);
    record.format = 0x10003u + data[0] % 7u;  // 0x10003 .. 0x10009
    if (zelkLogMsgUnserialize(&message, &record) == ZELKLOG_RC_OK)
        free_text_msg(&message);
    zelkLogFreeMsg(&record);
    return 0;
}
