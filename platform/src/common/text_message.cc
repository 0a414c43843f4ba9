// The raw-record buffer: a record's text lives in the buffer's own storage.
#include "src/core/zelkLogCore.h"

extern "C" {

ZELKLOG_API void init_text_msg(textMessage *message)
{
    if (message == nullptr)
        return;
    message->buffer[0] = '\0';
    message->text = message->buffer;
}

ZELKLOG_API void free_text_msg(textMessage *message)
{
    if (message == nullptr)
        return;
    message->buffer[0] = '\0';
    message->text = nullptr;
}

}  // extern "C"
