// Fuzzes the message decoder: the first byte picks the record's format (including codes
// no layout accepts), the rest is the serialized text as a raw record would hold it.
// Every record is released afterwards, so leaks and double releases surface as well.
// The in-place reading that the fetches test records with is held against the decoder:
// it must accept exactly the texts the decoder accepts, read the same values, and give
// the text back unchanged; its one-pass reading of the usual record may accept only
// texts the general reading accepts, with the same values.
#include "src/core/zelkLogCore.h"
#include "src/message/in_place.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

bool sameText(const char *a, const char *b)
{
    return (a == nullptr && b == nullptr) || (a != nullptr && b != nullptr && std::strcmp(a, b) == 0);
}

// The members the evaluator reads (the kind's own strings only: the others share slots
// with numbers).
bool sameValues(const ZelkLogMsg &view, const ZelkLogMsg &record)
{
    bool same = view.kind == record.kind && view.productId == record.productId &&
                view.originatorId == record.originatorId && view.fileId == record.fileId &&
                view.auxNumber == record.auxNumber && view.timeMs == record.timeMs &&
                view.pid == record.pid && view.tid == record.tid && view.args.msgId == record.args.msgId &&
                sameText(view.contextToken, record.contextToken) && sameText(view.auxText, record.auxText) &&
                view.kindData.returnValue == record.kindData.returnValue;
    if (record.kind == ZELKLOG_MSG_CTX)
        return same && sameText(view.kindData.first.contextText, record.kindData.first.contextText);
    return same && view.kindData.first.severity == record.kindData.first.severity &&
           sameText(view.kindData.second.who, record.kindData.second.who);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    static textMessage message;
    static textMessage inPlace;
    init_text_msg(&message);
    init_text_msg(&inPlace);
    size_t length = size - 1 < sizeof message.buffer - 1 ? size - 1 : sizeof message.buffer - 1;
    std::memcpy(message.buffer, data + 1, length);
    message.buffer[length] = '\0';
    std::memcpy(inPlace.buffer, message.buffer, length + 1);

    ZelkLogMsg record;
    std::memset(&record, 0, sizeof record);
    record.format = 0x10003u + data[0] % 7u;  // 0x10003 .. 0x10009
    static ZelkLogMsg view;
    std::memset(&view, 0, sizeof view);
    view.format = record.format;
    zelk::message::InPlaceStrings strings;
    const uint32_t viewed = zelk::message::readInPlace(&inPlace, &view, &strings);
    static textMessage quick;
    init_text_msg(&quick);
    std::memcpy(quick.buffer, message.buffer, length + 1);
    static ZelkLogMsg quickView;
    std::memset(&quickView, 0, sizeof quickView);
    quickView.format = record.format;
    zelk::message::InPlaceStrings quickStrings;
    if (zelk::message::readInPlaceQuick(&quick, &quickView, &quickStrings) &&
        (viewed != ZELKLOG_RC_OK || !sameValues(quickView, view)))
        std::abort();
    quickStrings.restore();
    if (std::memcmp(quick.buffer, data + 1, length) != 0 || quick.buffer[length] != '\0')
        std::abort();

    const uint32_t decoded = zelkLogMsgUnserialize(&message, &record);
    if ((viewed == ZELKLOG_RC_OK) != (decoded == ZELKLOG_RC_OK))
        std::abort();
    if (decoded == ZELKLOG_RC_OK) {
        if (!sameValues(view, record))
            std::abort();
        free_text_msg(&message);
    }
    strings.restore();
    if (std::memcmp(inPlace.buffer, data + 1, length) != 0 || inPlace.buffer[length] != '\0')
        std::abort();
    zelkLogFreeMsg(&record);
    return 0;
}
