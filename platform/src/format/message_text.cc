// Message texts: ICU MessageFormat over the typed arguments of a record.
//
// Unknown identifiers are shown as "#<id> (<arg>, <arg>)"; a nested argument list is
// formatted as a message of its own where a catalogue knows it, and otherwise shown
// in brackets, "[#<id> (<arg>)]".  Arguments shown without a catalogue text are
// written plainly (decimal numbers without grouping), so that they read the same in
// every locale.
#include "platform/src/format/message_text.h"

#include <unicode/fmtable.h>
#include <unicode/fieldpos.h>

#include <charconv>
#include <climits>
#include <cstring>
#include <cwchar>
#include <vector>

namespace zelk::core {

namespace {

// Deeper nesting is shown as "[...]" (the decoder already bounds it; this guards the stack).
constexpr int kMaxDepth = 16;
constexpr int32_t kFewArguments = 8;

icu::UnicodeString fromWide(const wchar_t *text, size_t length)
{
    if (text == nullptr)
        return icu::UnicodeString();
    static_assert(sizeof(wchar_t) == sizeof(UChar32), "wide strings hold UTF-32");
    if (length > static_cast<size_t>(INT32_MAX))
        length = INT32_MAX;
    return icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32 *>(text),
                                         static_cast<int32_t>(length));
}

template <typename Number> icu::UnicodeString decimal(Number value)
{
    char digits[32];
    auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return icu::UnicodeString(digits, static_cast<int32_t>(end - digits), icu::UnicodeString::kInvariant);
}

icu::UnicodeString realNumber(double value)
{
    char digits[64];
    auto result = std::to_chars(digits, digits + sizeof digits, value);
    if (result.ec != std::errc())
        return icu::UnicodeString(u"?");
    return icu::UnicodeString(digits, static_cast<int32_t>(result.ptr - digits),
                              icu::UnicodeString::kInvariant);
}

void appendList(ZelkLogMsgArgList const &list, uint64_t productId, int depth,
                ZelkLogLocalizerList &localizers, Localizer &localizer, icu::UnicodeString &out);

// The text of a nested list: its message where known, otherwise in brackets.
icu::UnicodeString nestedText(const ZelkLogMsgArgList *nested, uint64_t productId, int depth,
                              ZelkLogLocalizerList &localizers, Localizer &localizer)
{
    icu::UnicodeString text;
    if (nested == nullptr)
        return icu::UnicodeString(u"[]");
    if (depth >= kMaxDepth)
        return icu::UnicodeString(u"[...]");
    if (nested->msgId != 0 && messageFormatFor(localizers, localizer, productId, nested->msgId) != nullptr) {
        appendList(*nested, productId, depth + 1, localizers, localizer, text);
        return text;
    }
    text += u'[';
    appendList(*nested, productId, depth + 1, localizers, localizer, text);
    text += u']';
    return text;
}

// An argument as plain text, for messages without a catalogue text.
icu::UnicodeString plainText(const ZelkLogMsgArg &arg, uint64_t productId, int depth,
                             ZelkLogLocalizerList &localizers, Localizer &localizer)
{
    switch (arg.type) {
    case ZELKLOG_ARG_WCHAR:
        return fromWide(&arg.value.wideChar, 1);
    case ZELKLOG_ARG_INT:
    case ZELKLOG_ARG_DINT:
        return decimal(arg.value.sizedInt.value);
    case ZELKLOG_ARG_UINT:
        return decimal(arg.value.sizedUInt.value);
    case ZELKLOG_ARG_DOUBLE:
        return realNumber(arg.value.real);
    case ZELKLOG_ARG_UINT64:
        return decimal(arg.value.uint64);
    case ZELKLOG_ARG_INT64:
        return decimal(arg.value.int64);
    case ZELKLOG_ARG_WSTRING:
        return arg.value.wideString == nullptr
                   ? icu::UnicodeString()
                   : fromWide(arg.value.wideString, std::wcslen(arg.value.wideString));
    case ZELKLOG_ARG_LIST:
        return nestedText(arg.value.list, productId, depth, localizers, localizer);
    case ZELKLOG_ARG_XSTRING:
    case ZELKLOG_ARG_STRING:
        return fromBytes(arg.value.string);
    default:
        return icu::UnicodeString(u"?");
    }
}

icu::Formattable unsignedValue(uint64_t value)
{
    if (value <= static_cast<uint64_t>(INT64_MAX))
        return icu::Formattable(static_cast<int64_t>(value));
    char digits[24];
    auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    UErrorCode status = U_ZERO_ERROR;
    icu::Formattable number(icu::StringPiece(digits, static_cast<int32_t>(end - digits)), status);
    if (U_FAILURE(status))
        return icu::Formattable(static_cast<double>(value));
    return number;
}

// An argument as a MessageFormat value: numbers stay numbers so that patterns can
// format them ({0,number}, {0,date}, plural and select forms).
icu::Formattable formattable(const ZelkLogMsgArg &arg, uint64_t productId, int depth,
                             ZelkLogLocalizerList &localizers, Localizer &localizer)
{
    switch (arg.type) {
    case ZELKLOG_ARG_INT:
    case ZELKLOG_ARG_DINT:
        return icu::Formattable(static_cast<int64_t>(arg.value.sizedInt.value));
    case ZELKLOG_ARG_UINT:
        return unsignedValue(arg.value.sizedUInt.value);
    case ZELKLOG_ARG_DOUBLE:
        return icu::Formattable(arg.value.real);
    case ZELKLOG_ARG_UINT64:
        return unsignedValue(arg.value.uint64);
    case ZELKLOG_ARG_INT64:
        return icu::Formattable(static_cast<int64_t>(arg.value.int64));
    default:
        return icu::Formattable(plainText(arg, productId, depth, localizers, localizer));
    }
}

void appendPlainArguments(ZelkLogMsgArg *const *args, uint64_t productId, int depth,
                          ZelkLogLocalizerList &localizers, Localizer &localizer, icu::UnicodeString &out)
{
    bool first = true;
    for (ZelkLogMsgArg *const *slot = args; slot != nullptr && *slot != nullptr; ++slot) {
        if (!first)
            out += u", ";
        first = false;
        out += plainText(**slot, productId, depth, localizers, localizer);
    }
}

bool hasArguments(const ZelkLogMsgArgList &list)
{
    return list.args != nullptr && list.args[0] != nullptr;
}

// Appends the message of `list`: the catalogue text with the arguments, or the
// identifier (when not 0) and the arguments in parentheses.
void appendList(ZelkLogMsgArgList const &list, uint64_t productId, int depth,
                ZelkLogLocalizerList &localizers, Localizer &localizer, icu::UnicodeString &out)
{
    if (list.msgId != 0) {
        if (icu::MessageFormat *format = messageFormatFor(localizers, localizer, productId, list.msgId)) {
            // The values of the usual few arguments live on the stack.
            icu::Formattable few[kFewArguments];
            std::vector<icu::Formattable> many;
            int32_t count = 0;
            for (ZelkLogMsgArg *const *slot = list.args; slot != nullptr && *slot != nullptr;
                 ++slot, ++count) {
                if (count < kFewArguments) {
                    few[count] = formattable(**slot, productId, depth, localizers, localizer);
                } else {
                    if (many.empty())
                        many.assign(few, few + kFewArguments);
                    many.push_back(formattable(**slot, productId, depth, localizers, localizer));
                }
            }
            icu::UnicodeString text;
            icu::FieldPosition ignored;
            UErrorCode status = U_ZERO_ERROR;
            format->format(many.empty() ? few : many.data(), count, text, ignored, status);
            if (U_SUCCESS(status)) {
                out += text;
                return;
            }
        }
        out += u'#';
        out += decimal(list.msgId);
        if (!hasArguments(list))
            return;
        out += u" (";
        appendPlainArguments(list.args, productId, depth, localizers, localizer, out);
        out += u')';
        return;
    }
    appendPlainArguments(list.args, productId, depth, localizers, localizer, out);
}

// An integer argument in plain decimal digits, for a format known to write it so; false
// (nothing written) for other arguments and for unsigned values above the signed range,
// which ICU formats as decimal numbers.
// The digits of an integer argument as appendPlainInteger writes them, into `digits`;
// their count, or 0 when the argument is not written so.
size_t plainIntegerDigits(const ZelkLogMsgArg &arg, char (&digits)[24])
{
    int64_t value;
    switch (arg.type) {
    case ZELKLOG_ARG_INT:
    case ZELKLOG_ARG_DINT:
        value = arg.value.sizedInt.value;
        break;
    case ZELKLOG_ARG_INT64:
        value = arg.value.int64;
        break;
    case ZELKLOG_ARG_UINT:
    case ZELKLOG_ARG_UINT64: {
        const uint64_t number = arg.type == ZELKLOG_ARG_UINT ? arg.value.sizedUInt.value : arg.value.uint64;
        if (number > static_cast<uint64_t>(INT64_MAX))
            return false;
        value = static_cast<int64_t>(number);
        break;
    }
    default:
        return 0;
    }
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return static_cast<size_t>(end - digits);
}

bool appendPlainInteger(const ZelkLogMsgArg &arg, std::string &out)
{
    char digits[24];
    const size_t length = plainIntegerDigits(arg, digits);
    if (length == 0)
        return false;
    out.append(digits, length);
    return true;
}

// The usual message: every argument an ASCII string without a format, or an integer that
// its format writes in plain digits.  Its pieces are measured first and written into the
// line grown once.  False, with `out` as it was, for any other message.
bool appendSimplePieces(const MessageEntry &entry, ZelkLogMsgArgList const &list, int32_t count,
                        std::string &out)
{
    constexpr size_t kMaxPieces = 16;
    if (entry.pieces.size() > kMaxPieces)
        return false;
    // The argument written behind each piece's literal (none: size 0), left uninitialised
    // until measured.
    const char *values[kMaxPieces];
    size_t sizes[kMaxPieces];
    char digits[kMaxPieces][24];
    size_t pieces = 0;
    size_t total = 0;
    for (const MessageEntry::Piece &piece : entry.pieces) {
        const size_t i = pieces++;
        total += piece.literal.size();
        sizes[i] = 0;
        if (piece.argument < 0)
            break;
        if (piece.argument >= count)
            return false;
        const ZelkLogMsgArg &arg = *list.args[piece.argument];
        if (piece.format == nullptr && (arg.type == ZELKLOG_ARG_STRING || arg.type == ZELKLOG_ARG_XSTRING)) {
            const char *text = arg.value.string;
            if (text != nullptr) {
                const char *end = text;
                while (*end != '\0' && static_cast<unsigned char>(*end) < 0x80)
                    ++end;
                if (*end != '\0')
                    return false;  // converted by ICU
                values[i] = text;
                sizes[i] = static_cast<size_t>(end - text);
            }
        } else if (const size_t length = piece.plainIntegers ? plainIntegerDigits(arg, digits[i]) : 0;
                   length != 0) {
            values[i] = digits[i];
            sizes[i] = length;
        } else {
            return false;
        }
        total += sizes[i];
    }
    // A short message is put together on the stack and appended at once (growing the line
    // first would fill it with zeros); a longer one is written into the grown line.
    char local[256];
    const size_t start = out.size();
    if (total > sizeof local)
        out.resize(start + total);
    char *const first = total > sizeof local ? &out[start] : local;
    char *next = first;
    for (size_t i = 0; i < pieces; ++i) {
        const std::string &literal = entry.pieces[i].literal;
        std::memcpy(next, literal.data(), literal.size());
        next += literal.size();
        if (sizes[i] != 0)
            std::memcpy(next, values[i], sizes[i]);
        next += sizes[i];
    }
    if (first == local)
        out.append(local, total);
    return true;
}

// Writes the message of `list` from the pieces of its catalogue text straight into
// UTF-8.  False, with `out` as it was, when an argument needs the whole of ICU's
// formatter (missing, or refused by its format): the caller then formats through ICU.
bool appendPieces(const MessageEntry &entry, ZelkLogMsgArgList const &list, uint64_t productId,
                  ZelkLogLocalizerList &localizers, Localizer &localizer, std::string &out)
{
    const size_t start = out.size();
    int32_t count = 0;
    while (list.args != nullptr && list.args[count] != nullptr)
        ++count;
    if (appendSimplePieces(entry, list, count, out))
        return true;
    for (const MessageEntry::Piece &piece : entry.pieces) {
        out += piece.literal;
        if (piece.argument < 0)
            break;
        if (piece.argument >= count) {
            out.resize(start);
            return false;
        }
        const ZelkLogMsgArg &arg = *list.args[piece.argument];
        const bool text = arg.type == ZELKLOG_ARG_STRING || arg.type == ZELKLOG_ARG_XSTRING;
        if (piece.format == nullptr && text) {
            appendBytes(out, arg.value.string);
            continue;
        }
        if (piece.plainIntegers && appendPlainInteger(arg, out))
            continue;
        const icu::Formattable value = formattable(arg, productId, 0, localizers, localizer);
        icu::UnicodeString formatted;
        if (piece.format != nullptr) {
            UErrorCode status = U_ZERO_ERROR;
            piece.format->format(value, formatted, status);
            if (U_FAILURE(status)) {
                out.resize(start);
                return false;
            }
        } else if (value.isNumeric()) {
            const icu::NumberFormat *number = defaultNumberFormat(localizer);
            UErrorCode status = U_ZERO_ERROR;
            if (number != nullptr)
                number->format(value, formatted, status);
            if (number == nullptr || U_FAILURE(status)) {
                out.resize(start);
                return false;
            }
        } else {
            formatted = value.getString();
        }
        formatted.toUTF8String(out);
    }
    return true;
}

}  // namespace

void appendBytes(std::string &out, const char *text)
{
    if (text == nullptr)
        return;
    const char *end = text;
    while (*end != '\0' && static_cast<unsigned char>(*end) < 0x80)
        ++end;
    if (*end == '\0')
        out.append(text, static_cast<size_t>(end - text));
    else
        fromBytes(text).toUTF8String(out);
}

void appendMessageText(ZelkLogLocalizerList &list, Localizer &localizer, const ZelkLogMsg &record,
                       std::string &out)
{
    if (record.args.msgId != 0) {
        const MessageEntry *entry = messageEntryFor(list, localizer, record.productId, record.args.msgId);
        if (!entry->pieces.empty() &&
            appendPieces(*entry, record.args, record.productId, list, localizer, out))
            return;
    }
    icu::UnicodeString text;
    appendMessageText(list, localizer, record, text);
    text.toUTF8String(out);
}

icu::UnicodeString fromBytes(const char *text)
{
    return text == nullptr ? icu::UnicodeString() : icu::UnicodeString::fromUTF8(icu::StringPiece(text));
}

void appendMessageText(ZelkLogLocalizerList &list, Localizer &localizer, const ZelkLogMsg &record,
                       icu::UnicodeString &out)
{
    if (record.args.msgId != 0) {
        appendList(record.args, record.productId, 0, list, localizer, out);
        return;
    }
    // Without an identifier the record's own text is the message: a context record's
    // text, or the free text that other records may carry; arguments follow in parentheses.
    const char *own = record.kind == ZELKLOG_MSG_CTX ? record.kindData.first.contextText : record.auxText;
    const bool haveText = own != nullptr && *own != '\0';
    if (haveText)
        out += fromBytes(own);
    if (!hasArguments(record.args))
        return;
    if (haveText) {
        out += u" (";
        appendList(record.args, record.productId, 0, list, localizer, out);
        out += u')';
    } else {
        appendList(record.args, record.productId, 0, list, localizer, out);
    }
}

}  // namespace zelk::core
