// The tagged arguments of an argument list: counted strings, typed numbers and nested
// lists.
#include "src/message/argument_list.h"

#include "src/message/field_readers.h"
#include "src/message/number_rules.h"
#include "src/message/record_storage.h"
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace zelk::message {

namespace {

constexpr size_t kMaxPrefixChars = 10;    // sizes and widths
constexpr size_t kMaxNumberChars = 20;    // "u" and "9" values
constexpr uint64_t kMaxWidth = 64;        // "9" and "C" widths
constexpr size_t kMaxDecimalChars = 200;  // "8" tokens

// A typed-number token runs to the next "|" (Store makes it NUL); the cursor moves behind.
template <Pass P> bool cutToken(TextCursor &cursor, const char **begin, const char **end)
{
    char *bar = static_cast<char *>(std::memchr(cursor.pos, '|', cursor.remaining()));
    if (bar == nullptr)
        return false;
    if constexpr (P == Pass::Store)
        *bar = '\0';
    *begin = cursor.pos;
    *end = bar;
    cursor.pos = bar + 1;
    return true;
}

// A sized token: prefix ":" number.  The number runs from behind the ":" to the token's end.
struct SizedToken {
    uint64_t prefix;
    const char *number;
    const char *numberEnd;
    // The number's value when it is 1 to 18 digits starting with 1 to 9 (read while
    // measuring the token), else 0: it then still has to be read.
    uint64_t plainValue = 0;

    size_t numberChars() const { return static_cast<size_t>(numberEnd - number); }
};

template <Pass P> uint32_t cutSizedToken(TextCursor &cursor, SizedToken *token)
{
    // The usual token, digits ":" [-]digits "|", is measured in one pass: its "|" is the
    // first one ahead and its ":" the first one in it.
    if (const char *colon = shortDigitRun(cursor.pos, kMaxPrefixChars, &token->prefix);
        colon != nullptr && *colon == ':') {
        char *bar = const_cast<char *>(colon) + 1;
        if (const char *run = shortDigitRun(bar, 18, &token->plainValue); run != nullptr && *run == '|') {
            bar = const_cast<char *>(run);
        } else {
            token->plainValue = 0;
            bar += *bar == '-' ? 1 : 0;
            while (isDigit(*bar))
                ++bar;
        }
        if (*bar == '|') {
            if constexpr (P == Pass::Store)
                *bar = '\0';
            token->number = colon + 1;
            token->numberEnd = bar;
            cursor.pos = bar + 1;
            return ZELKLOG_RC_OK;
        }
    }
    const char *begin;
    const char *end;
    const char *colon;
    if (!cutToken<P>(cursor, &begin, &end) || !readCountPrefix(begin, end, &token->prefix, &colon))
        return ZELKLOG_RC_FAILURE;
    token->number = colon + 1;
    token->numberEnd = end;
    return ZELKLOG_RC_OK;
}

template <Pass P> uint32_t readSignedSized(TextCursor &cursor, uint32_t type, ZelkLogMsgArg *arg)
{
    SizedToken token;
    if (cutSizedToken<P>(cursor, &token) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_FAILURE;
    if (token.plainValue != 0)
        arg->value.sizedInt.value = static_cast<int64_t>(token.plainValue);
    else if (!readSigned64(token.number, token.numberEnd, &arg->value.sizedInt.value))
        return ZELKLOG_RC_FAILURE;
    arg->type = type;
    arg->value.sizedInt.size = static_cast<uint16_t>(token.prefix);
    return ZELKLOG_RC_OK;
}

// "u" and "9" alike: the number's length (1 to 20) is judged before anything else of
// it.  "9" (wide) then needs a width of at most 64 and keeps no size.
template <Pass P> uint32_t readUnsignedNumber(TextCursor &cursor, bool wide, ZelkLogMsgArg *arg)
{
    SizedToken token;
    if (cutSizedToken<P>(cursor, &token) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_FAILURE;
    if (token.numberChars() < 1 || token.numberChars() > kMaxNumberChars)
        return ZELKLOG_RC_BAD_ARGUMENT;
    uint64_t value = 0;
    if ((wide && token.prefix > kMaxWidth) || !readUnsigned64(token.number, token.numberEnd, &value))
        return ZELKLOG_RC_FAILURE;
    if (wide) {
        arg->type = ZELKLOG_ARG_UINT64;
        arg->value.uint64 = value;
    } else {
        arg->type = ZELKLOG_ARG_UINT;
        arg->value.sizedUInt.size = static_cast<uint16_t>(token.prefix);
        arg->value.sizedUInt.value = value;
    }
    return ZELKLOG_RC_OK;
}

template <Pass P> uint32_t readSignedWide(TextCursor &cursor, ZelkLogMsgArg *arg)
{
    SizedToken token;
    if (cutSizedToken<P>(cursor, &token) != ZELKLOG_RC_OK || token.prefix > kMaxWidth ||
        !readSigned64(token.number, token.numberEnd, &arg->value.int64))
        return ZELKLOG_RC_FAILURE;
    arg->type = ZELKLOG_ARG_INT64;
    return ZELKLOG_RC_OK;
}

// The value never fails, and Check has no NUL behind the token to read it by: Check
// only measures the token.
template <Pass P> uint32_t readDecimal(TextCursor &cursor, ZelkLogMsgArg *arg)
{
    const char *begin;
    const char *end;
    if (!cutToken<P>(cursor, &begin, &end))
        return ZELKLOG_RC_FAILURE;
    size_t chars = static_cast<size_t>(end - begin);
    if (chars < 1 || chars > kMaxDecimalChars)
        return ZELKLOG_RC_FAILURE;
    arg->type = ZELKLOG_ARG_DOUBLE;
    if constexpr (P == Pass::Store)
        arg->value.real = readFloating(begin);
    return ZELKLOG_RC_OK;
}

// A counted field converted from UTF-8 into an owned wide string (Check: only
// validated, *wide stays null); any failure is code 1.
template <Pass P> bool readWideText(TextCursor &cursor, wchar_t **wide)
{
    const char *data;
    size_t length;
    if (readCountedField(cursor, &data, &length) != ZELKLOG_RC_OK)
        return false;
    if constexpr (P == Pass::Store)
        return utf82wcs(data, length, wide) == ZELKLOG_RC_OK;
    else
        return utf8check(data, length) == ZELKLOG_RC_OK;
}

template <Pass P> uint32_t readWideChar(TextCursor &cursor, ZelkLogMsgArg *arg)
{
    wchar_t *wide = nullptr;
    if (!readWideText<P>(cursor, &wide))
        return ZELKLOG_RC_FAILURE;
    arg->type = ZELKLOG_ARG_WCHAR;
    if constexpr (P == Pass::Store) {
        arg->value.wideChar = wide[0];
        zelkLogFree(wide);
    }
    return ZELKLOG_RC_OK;
}

template <Pass P> uint32_t readWideString(TextCursor &cursor, ZelkLogMsgArg *arg)
{
    wchar_t *wide = nullptr;
    if (!readWideText<P>(cursor, &wide))
        return ZELKLOG_RC_FAILURE;
    arg->type = ZELKLOG_ARG_WSTRING;
    if constexpr (P == Pass::Store) {
        arg->ownsValue = 1;
        arg->value.wideString = wide;
    }
    return ZELKLOG_RC_OK;
}

// "S" and "X": the bytes unchanged, as an owned NUL-terminated copy.
template <Pass P> uint32_t readNarrowString(TextCursor &cursor, uint32_t type, ZelkLogMsgArg *arg)
{
    const char *data;
    size_t length;
    if (readCountedField(cursor, &data, &length) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_FAILURE;
    if constexpr (P == Pass::Check) {
        arg->type = type;
        return ZELKLOG_RC_OK;
    }
    char *copy = takeString(*cursor.storage, length + 1);
    if (copy == nullptr)
        return ZELKLOG_RC_NO_MEMORY;
    std::memcpy(copy, data, length);
    copy[length] = '\0';
    arg->type = type;
    arg->ownsValue = 1;
    arg->value.string = copy;
    return ZELKLOG_RC_OK;
}

// "(": the nested list starts at the tag itself and must be followed by ",".
template <Pass P> uint32_t readNestedList(TextCursor &cursor, ZelkLogMsgArg *arg, int depth)
{
    --cursor.pos;
    if (depth >= kMaxListDepth)
        return ZELKLOG_RC_FAILURE;
    if constexpr (P == Pass::Check) {
        ZelkLogMsgArgList holder{};
        uint32_t rc = readArgumentList<P>(cursor, &holder, depth + 1);
        if (rc == ZELKLOG_RC_OK && (cursor.pos >= cursor.end || *cursor.pos != ','))
            rc = ZELKLOG_RC_FAILURE;
        if (rc != ZELKLOG_RC_OK)
            return rc;
        ++cursor.pos;
        arg->type = ZELKLOG_ARG_LIST;
        return ZELKLOG_RC_OK;
    }
    auto *holder = static_cast<ZelkLogMsgArgList *>(zelkLogMalloc(sizeof(ZelkLogMsgArgList)));
    if (holder == nullptr)
        return ZELKLOG_RC_NO_MEMORY;
    std::memset(holder, 0, sizeof *holder);
    uint32_t rc = readArgumentList<P>(cursor, holder, depth + 1);
    if (rc == ZELKLOG_RC_OK && (cursor.pos >= cursor.end || *cursor.pos != ','))
        rc = ZELKLOG_RC_FAILURE;
    if (rc != ZELKLOG_RC_OK) {
        releaseArgumentList(holder);
        zelkLogFree(holder);
        return rc;
    }
    ++cursor.pos;
    arg->type = ZELKLOG_ARG_LIST;
    arg->ownsValue = 1;
    arg->value.list = holder;
    return ZELKLOG_RC_OK;
}

}  // namespace

template <Pass P> uint32_t readArgumentValue(TextCursor &cursor, char tag, ZelkLogMsgArg *arg, int depth)
{
    switch (tag) {
    case '1':
        return readWideChar<P>(cursor, arg);
    case 'A':
        return readWideString<P>(cursor, arg);
    case 'S':
        return readNarrowString<P>(cursor, ZELKLOG_ARG_STRING, arg);
    case 'X':
        return readNarrowString<P>(cursor, ZELKLOG_ARG_XSTRING, arg);
    case 'i':
        return readSignedSized<P>(cursor, ZELKLOG_ARG_INT, arg);
    case 'D':
        return readSignedSized<P>(cursor, ZELKLOG_ARG_DINT, arg);
    case 'u':
        return readUnsignedNumber<P>(cursor, false, arg);
    case '9':
        return readUnsignedNumber<P>(cursor, true, arg);
    case 'C':
        return readSignedWide<P>(cursor, arg);
    case '8':
        return readDecimal<P>(cursor, arg);
    case '(':
        return readNestedList<P>(cursor, arg, depth);
    default:
        return ZELKLOG_RC_FAILURE;
    }
}

template uint32_t readArgumentValue<Pass::Store>(TextCursor &, char, ZelkLogMsgArg *, int);
template uint32_t readArgumentValue<Pass::Check>(TextCursor &, char, ZelkLogMsgArg *, int);

}  // namespace zelk::message
