// zelkLogMsgUnserialize: rebuilds a message record from the serialized text of one raw
// log record.  The layout (which head fields the text carries, whether kind 2 carries a
// who-text) follows from the record's format code; the tail from the message kind.
#include "src/message/in_place.h"

#include "src/message/argument_list.h"
#include "src/message/field_readers.h"
#include "src/message/number_rules.h"
#include "src/message/record_storage.h"
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

// An unsigned field of the head: the usual short one ("0", or up to 19 plain digits not
// starting with 0, ended by ",") is read here when the record is built; every other
// field, and every field of the Check pass, by readUnsignedField, which reads these the
// same way.
template <Pass P> inline uint32_t readUnsigned(TextCursor &cursor, bool first, uint64_t *value)
{
    if constexpr (P == Pass::Store) {
        if (first || cursor.pos < cursor.end) {
            char *p = first ? cursor.pos : cursor.pos + 1;  // readable: [pos, end] holds the NUL
            if (p[0] == '0' && p[1] == ',') {
                p[1] = '\0';
                cursor.pos = p + 1;
                *value = 0;
                return ZELKLOG_RC_OK;
            }
            if (p[0] >= '1' && p[0] <= '9') {
                uint64_t number = static_cast<uint64_t>(p[0] - '0');
                char *q = p + 1;
                while (isDigit(*q) && q - p < 19)
                    number = number * 10 + static_cast<uint64_t>(*q++ - '0');
                if (*q == ',') {
                    *q = '\0';
                    cursor.pos = q;
                    *value = number;
                    return ZELKLOG_RC_OK;
                }
            }
        }
    }
    return readUnsignedField<P>(cursor, first, value);
}

template <Pass P> uint32_t readHead(TextCursor &cursor, const Layout &layout, ZelkLogMsg *record)
{
    uint64_t kind = 0;
    ZELK_READ(readUnsigned<P>(cursor, true, &kind));
    record->kind = static_cast<uint32_t>(kind);
    if (record->kind > ZELKLOG_MSG_AUDIT)
        return ZELKLOG_RC_FAILURE;
    if (layout.productId)
        ZELK_READ(readUnsigned<P>(cursor, false, &record->productId));
    ZELK_READ(readUnsigned<P>(cursor, false, &record->originatorId));
    if (layout.fileId)
        ZELK_READ(readUnsigned<P>(cursor, false, &record->fileId));
    ZELK_READ(readUnsigned<P>(cursor, false, &record->auxNumber));
    ZELK_READ(readSignedField<P>(cursor, &record->timeMs));
    ZELK_READ(readUnsigned<P>(cursor, false, &record->pid));
    ZELK_READ(readUnsigned<P>(cursor, false, &record->tid));
    ZELK_READ(readStringField<P>(cursor, &record->contextToken));
    ZELK_READ(readStringField<P>(cursor, &record->auxText));
    return ZELKLOG_RC_OK;
}

template <Pass P> uint32_t readSeverity(TextCursor &cursor, ZelkLogMsg *record)
{
    uint64_t severity = 0;
    ZELK_READ(readUnsigned<P>(cursor, false, &severity));
    record->kindData.first.severity = static_cast<uint32_t>(severity);
    return ZELKLOG_RC_OK;
}

// The argument section starts behind the separator that ended the tail's last field.
template <Pass P> uint32_t readArguments(TextCursor &cursor, ZelkLogMsg *record)
{
    if (cursor.pos >= cursor.end)
        return ZELKLOG_RC_FAILURE;
    ++cursor.pos;
    return readArgumentList<P>(cursor, &record->args, 1);
}

template <Pass P> uint32_t readTail(TextCursor &cursor, const Layout &layout, ZelkLogMsg *record)
{
    ZelkLogMsgKindData &data = record->kindData;
    switch (record->kind) {
    case ZELKLOG_MSG_DEBUG:
        ZELK_READ(readStringField<P>(cursor, &data.second.who));
        return readPlainIntegerField<P>(cursor, &data.first.level);
    case ZELKLOG_MSG_DIAG:
        ZELK_READ(readStringField<P>(cursor, &data.second.who));
        ZELK_READ(readPlainIntegerField<P>(cursor, &data.first.level));
        return readArguments<P>(cursor, record);
    case ZELKLOG_MSG_APP:
        if (layout.appWho)
            ZELK_READ(readStringField<P>(cursor, &data.second.who));
        ZELK_READ(readSeverity<P>(cursor, record));
        return readArguments<P>(cursor, record);
    case ZELKLOG_MSG_CTX:
        ZELK_READ(readStringField<P>(cursor, &data.first.contextText));
        return readArguments<P>(cursor, record);
    default:  // ZELKLOG_MSG_AUDIT; the head refused every other kind
        ZELK_READ(readStringField<P>(cursor, &data.second.subject));
        ZELK_READ(readPlainIntegerField<P>(cursor, &data.returnValue));
        return readArguments<P>(cursor, record);
    }
}

#undef ZELK_READ

template <Pass P> uint32_t unserialize(textMessage *message, ZelkLogMsg *record, InPlaceStrings *inPlace)
{
    if (record == nullptr || message->text == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    Layout layout;
    if (!layoutFor(record->format, &layout))
        return ZELKLOG_RC_FAILURE;
    record->marker = 1;
    TextCursor cursor{message->text, message->text + std::strlen(message->text), inPlace, nullptr};
    if constexpr (P == Pass::Store)
        cursor.storage = &threadStorage();
    uint32_t rc = readHead<P>(cursor, layout, record);
    if (rc == ZELKLOG_RC_OK)
        rc = readTail<P>(cursor, layout, record);
    return rc;
}

}  // namespace

uint32_t readInPlace(textMessage *message, ZelkLogMsg *view, InPlaceStrings *strings)
{
    if (message == nullptr || strings == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    const uint32_t rc = unserialize<Pass::Check>(message, view, strings);
    if (rc != ZELKLOG_RC_OK)
        strings->restore();
    return rc;
}

}  // namespace zelk::message

extern "C" ZELKLOG_API uint32_t zelkLogMsgUnserialize(textMessage *message, ZelkLogMsg *record)
{
    if (message == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    uint32_t rc = zelk::message::unserialize<zelk::message::Pass::Store>(message, record, nullptr);
    if (rc != ZELKLOG_RC_OK)
        free_text_msg(message);
    return rc;
}
