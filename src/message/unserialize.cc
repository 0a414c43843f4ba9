// zelkLogMsgUnserialize: rebuilds a message record from the serialized text of one raw
// log record.  The layout (which head fields the text carries, whether kind 2 carries a
// who-text) follows from the record's format code; the tail from the message kind.
#include "src/message/argument_list.h"
#include "src/message/field_readers.h"
#include "src/message/text_cursor.h"
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace zelk::message {

namespace {

struct Layout {
    bool productId;  // the text carries the product identifier
    bool fileId;     // the text carries the file identifier
    bool appWho;     // kind 2 carries a who-text before its severity
};

bool layoutFor(uint64_t format, Layout *layout)
{
    switch (format) {
    case ZELKLOG_FORMAT_10004:
        *layout = {true, false, false};
        return true;
    case ZELKLOG_FORMAT_10005:
        *layout = {true, true, false};
        return true;
    case ZELKLOG_FORMAT_10006:
    case ZELKLOG_FORMAT_10007:
        *layout = {true, true, true};
        return true;
    case ZELKLOG_FORMAT_10008:
        *layout = {false, false, true};
        return true;
    default:
        return false;
    }
}

// Runs each step in turn until one fails; the failing step's code is the result.
#define ZELK_READ(step)                                                                                      \
    do {                                                                                                     \
        uint32_t rc_ = (step);                                                                               \
        if (rc_ != ZELKLOG_RC_OK)                                                                            \
            return rc_;                                                                                      \
    } while (0)

uint32_t readHead(TextCursor &cursor, const Layout &layout, ZelkLogMsg *record)
{
    uint64_t kind = 0;
    ZELK_READ(readUnsignedField(cursor, true, &kind));
    record->kind = static_cast<uint32_t>(kind);
    if (record->kind > ZELKLOG_MSG_AUDIT)
        return ZELKLOG_RC_FAILURE;
    if (layout.productId)
        ZELK_READ(readUnsignedField(cursor, false, &record->productId));
    ZELK_READ(readUnsignedField(cursor, false, &record->originatorId));
    if (layout.fileId)
        ZELK_READ(readUnsignedField(cursor, false, &record->fileId));
    ZELK_READ(readUnsignedField(cursor, false, &record->auxNumber));
    ZELK_READ(readSignedField(cursor, &record->timeMs));
    ZELK_READ(readUnsignedField(cursor, false, &record->pid));
    ZELK_READ(readUnsignedField(cursor, false, &record->tid));
    ZELK_READ(readStringField(cursor, &record->contextToken));
    ZELK_READ(readStringField(cursor, &record->auxText));
    return ZELKLOG_RC_OK;
}

uint32_t readSeverity(TextCursor &cursor, ZelkLogMsg *record)
{
    uint64_t severity = 0;
    ZELK_READ(readUnsignedField(cursor, false, &severity));
    record->kindData.first.severity = static_cast<uint32_t>(severity);
    return ZELKLOG_RC_OK;
}

// The argument section starts behind the separator that ended the tail's last field.
uint32_t readArguments(TextCursor &cursor, ZelkLogMsg *record)
{
    if (cursor.pos >= cursor.end)
        return ZELKLOG_RC_FAILURE;
    ++cursor.pos;
    return readArgumentList(cursor, &record->args, 1);
}

uint32_t readTail(TextCursor &cursor, const Layout &layout, ZelkLogMsg *record)
{
    ZelkLogMsgKindData &data = record->kindData;
    switch (record->kind) {
    case ZELKLOG_MSG_DEBUG:
        ZELK_READ(readStringField(cursor, &data.second.who));
        return readPlainIntegerField(cursor, &data.first.level);
    case ZELKLOG_MSG_DIAG:
        ZELK_READ(readStringField(cursor, &data.second.who));
        ZELK_READ(readPlainIntegerField(cursor, &data.first.level));
        return readArguments(cursor, record);
    case ZELKLOG_MSG_APP:
        if (layout.appWho)
            ZELK_READ(readStringField(cursor, &data.second.who));
        ZELK_READ(readSeverity(cursor, record));
        return readArguments(cursor, record);
    case ZELKLOG_MSG_CTX:
        ZELK_READ(readStringField(cursor, &data.first.contextText));
        return readArguments(cursor, record);
    default:  // ZELKLOG_MSG_AUDIT; the head refused every other kind
        ZELK_READ(readStringField(cursor, &data.second.subject));
        ZELK_READ(readPlainIntegerField(cursor, &data.returnValue));
        return readArguments(cursor, record);
    }
}

#undef ZELK_READ

uint32_t unserialize(textMessage *message, ZelkLogMsg *record)
{
    if (record == nullptr || message->text == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    Layout layout;
    if (!layoutFor(record->format, &layout))
        return ZELKLOG_RC_FAILURE;
    record->marker = 1;
    TextCursor cursor{message->text, message->text + std::strlen(message->text)};
    uint32_t rc = readHead(cursor, layout, record);
    if (rc == ZELKLOG_RC_OK)
        rc = readTail(cursor, layout, record);
    return rc;
}

}  // namespace

}  // namespace zelk::message

extern "C" ZELKLOG_API uint32_t zelkLogMsgUnserialize(textMessage *message, ZelkLogMsg *record)
{
    if (message == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    uint32_t rc = zelk::message::unserialize(message, record);
    if (rc != ZELKLOG_RC_OK)
        free_text_msg(message);
    return rc;
}
