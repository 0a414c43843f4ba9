// The serializer: a message record as the serialized text that log records carry,
// field by field in the order and encodings the decoder reads.
#include "platform/src/logfile/log_format.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <charconv>
#include <cwchar>

namespace zelk::core::logfile {
namespace {

constexpr int kMaxNesting = 32;                    // levels of argument lists, the top list counting as one
constexpr uint64_t kMaxMessageId = 9999999999ull;  // the identifier field holds 10 digits

// Bounded output: every append checks the room left; once full, it stays failed.
class Text {
public:
    Text(char *buffer, size_t capacity) : buffer_(buffer), capacity_(capacity) {}

    void put(char c)
    {
        if (room(1))
            buffer_[length_++] = c;
    }
    void put(const char *bytes, size_t count)
    {
        if (count > 0 && room(count)) {
            std::memcpy(buffer_ + length_, bytes, count);
            length_ += count;
        }
    }
    template <typename Number> void number(Number value)
    {
        char digits[32];
        auto result = std::to_chars(digits, digits + sizeof digits, value);
        put(digits, size_t(result.ptr - digits));
    }
    // length ":" bytes: a string field of the head or a counted field of an argument.
    void counted(const char *bytes)
    {
        size_t count = bytes == nullptr ? 0 : std::strlen(bytes);
        number(count);
        put(':');
        put(bytes, count);
    }
    bool full() const { return full_; }
    size_t length() const { return length_; }

private:
    bool room(size_t count)
    {
        if (full_ || capacity_ - length_ < count) {
            full_ = true;
            return false;
        }
        return true;
    }

    char *buffer_;
    size_t capacity_;
    size_t length_ = 0;
    bool full_ = false;
};

// A wide string as a counted field of UTF-8 bytes.  False when a character is not a
// Unicode scalar value.
bool wideCounted(Text &out, const wchar_t *text, size_t count)
{
    size_t bytes = 0;
    for (size_t i = 0; i < count; ++i) {
        UChar32 c = UChar32(text[i]);
        if (c < 0 || U_IS_SURROGATE(c) || c > 0x10FFFF)
            return false;
        bytes += size_t(U8_LENGTH(c));
    }
    out.number(bytes);
    out.put(':');
    for (size_t i = 0; i < count; ++i) {
        uint8_t encoded[4];
        int32_t used = 0;
        U8_APPEND_UNSAFE(encoded, used, UChar32(text[i]));
        out.put(reinterpret_cast<const char *>(encoded), size_t(used));
    }
    return true;
}

uint32_t argumentList(Text &out, const ZelkLogMsgArgList &list, int depth);

uint32_t argument(Text &out, const ZelkLogMsgArg &arg, int depth)
{
    const ZelkLogMsgArgValue &v = arg.value;
    switch (arg.type) {
    case ZELKLOG_ARG_WCHAR: {
        out.put('1');
        wchar_t one = v.wideChar;
        if (!wideCounted(out, &one, one == 0 ? 0 : 1))
            return ZELKLOG_RC_BAD_ARGUMENT;
        out.put(',');
        return 0;
    }
    case ZELKLOG_ARG_INT:
    case ZELKLOG_ARG_DINT:
        out.put(arg.type == ZELKLOG_ARG_INT ? 'i' : 'D');
        out.number(v.sizedInt.size);
        out.put(':');
        out.number(v.sizedInt.value);
        out.put('|');
        return 0;
    case ZELKLOG_ARG_UINT:
        out.put('u');
        out.number(v.sizedUInt.size);
        out.put(':');
        out.number(v.sizedUInt.value);
        out.put('|');
        return 0;
    case ZELKLOG_ARG_DOUBLE:
        // The shortest text that reads back as the same double.
        out.put('8');
        out.number(v.real);
        out.put('|');
        return 0;
    case ZELKLOG_ARG_UINT64:
        out.put("964:", 4);
        out.number(v.uint64);
        out.put('|');
        return 0;
    case ZELKLOG_ARG_INT64:
        out.put("C64:", 4);
        out.number(v.int64);
        out.put('|');
        return 0;
    case ZELKLOG_ARG_WSTRING:
        out.put('A');
        if (!wideCounted(out, v.wideString, v.wideString == nullptr ? 0 : std::wcslen(v.wideString)))
            return ZELKLOG_RC_BAD_ARGUMENT;
        out.put(',');
        return 0;
    case ZELKLOG_ARG_XSTRING:
    case ZELKLOG_ARG_STRING:
        out.put(arg.type == ZELKLOG_ARG_STRING ? 'S' : 'X');
        out.counted(v.string);
        out.put(',');
        return 0;
    case ZELKLOG_ARG_LIST: {
        if (v.list == nullptr)
            return ZELKLOG_RC_BAD_ARGUMENT;
        uint32_t rc = argumentList(out, *v.list, depth + 1);
        out.put(',');
        return rc;
    }
    default:
        return ZELKLOG_RC_BAD_ARGUMENT;
    }
}

uint32_t argumentList(Text &out, const ZelkLogMsgArgList &list, int depth)
{
    if (depth >= kMaxNesting || list.msgId > kMaxMessageId)
        return ZELKLOG_RC_BAD_ARGUMENT;
    out.put('(');
    out.number(list.msgId);
    out.put('|');
    for (ZelkLogMsgArg *const *arg = list.args; arg != nullptr && *arg != nullptr; ++arg) {
        uint32_t rc = argument(out, **arg, depth);
        if (rc != ZELKLOG_RC_OK)
            return rc;
    }
    out.put(')');
    return 0;
}

uint32_t serialize(Text &out, const ZelkLogMsg &r, uint64_t format)
{
    const ZelkLogMsgKindData &k = r.kindData;
    bool whoInKind2 = format != ZELKLOG_FORMAT_10004 && format != ZELKLOG_FORMAT_10005;
    out.number(r.kind);
    if (format != ZELKLOG_FORMAT_10008) {
        out.put(',');
        out.number(r.productId);
    }
    out.put(',');
    out.number(r.originatorId);
    if (format != ZELKLOG_FORMAT_10004 && format != ZELKLOG_FORMAT_10008) {
        out.put(',');
        out.number(r.fileId);
    }
    out.put(',');
    out.number(r.auxNumber);
    out.put(',');
    out.number(r.timeMs);
    out.put(',');
    out.number(r.pid);
    out.put(',');
    out.number(r.tid);
    out.put(',');
    out.counted(r.contextToken);
    out.put(',');
    out.counted(r.auxText);
    out.put(',');
    switch (r.kind) {
    case ZELKLOG_MSG_DEBUG:
        out.counted(k.second.who);
        out.put(',');
        out.number(k.first.level);
        return 0;  // a debug message has no argument section
    case ZELKLOG_MSG_DIAG:
        out.counted(k.second.who);
        out.put(',');
        out.number(k.first.level);
        break;
    case ZELKLOG_MSG_APP:
        if (whoInKind2) {
            out.counted(k.second.who);
            out.put(',');
        }
        out.number(k.first.severity);
        break;
    case ZELKLOG_MSG_CTX:
        out.counted(k.first.contextText);
        break;
    case ZELKLOG_MSG_AUDIT:
        out.counted(k.second.subject);
        out.put(',');
        out.number(k.returnValue);
        break;
    default:
        return ZELKLOG_RC_BAD_ARGUMENT;
    }
    out.put(',');
    return argumentList(out, r.args, 0);
}

}  // namespace
}  // namespace zelk::core::logfile

extern "C" {

ZELKLOG_API uint32_t zelkLogSerializeMsg(const ZelkLogMsg *record, uint64_t format, char *text,
                                         size_t capacity, size_t *length)
{
    if (length != nullptr)
        *length = 0;
    if (record == nullptr || text == nullptr || length == nullptr || capacity == 0 ||
        !zelk::core::logfile::validFormat(format))
        return ZELKLOG_RC_BAD_ARGUMENT;
    text[0] = '\0';
    // Room for the terminator, and never more than one record holds.
    size_t room = std::min(capacity - 1, size_t(ZELKLOG_MAX_RECORD_TEXT));
    zelk::core::logfile::Text out(text, room);
    uint32_t rc = zelk::core::logfile::serialize(out, *record, format);
    if (rc != ZELKLOG_RC_OK) {
        text[0] = '\0';
        return rc;
    }
    if (out.full()) {
        text[0] = '\0';
        return ZELKLOG_RC_RECORD_TOO_LONG;
    }
    text[out.length()] = '\0';
    *length = out.length();
    return ZELKLOG_RC_OK;
}

}  // extern "C"
