// The in-place reading of the usual record in one straight pass: every field in its
// plainest spelling (numbers as bare digits, strings with a digits-only length, the
// common argument tags).  Each step accepts only text for which the general reader
// (readInPlace) is sure to give the same values and to succeed; anything else, damaged
// text included, is left to the general reader, which then decides the code.
#include "src/message/in_place.h"

#include "src/message/number_rules.h"
#include "src/core/zelkLogCore.h"

#include <emmintrin.h>

#include <cstring>

namespace zelk::message {

namespace {

constexpr size_t kMaxPrefixDigits = 10;  // string lengths, counts, sizes, message ids
constexpr size_t kMaxNumberChars = 20;   // "u" and "9" values
constexpr uint64_t kMaxWidth = 64;       // "9" and "C" widths

// Reads on the digits from `q` into `number` for a run that began at `p`, with one
// subtraction per digit for both its test and its value; ends the run as shortDigitRun
// does (a longer run wraps around harmlessly: it is refused once its length is known).
inline const char *endOfRun(const char *p, const char *q, uint64_t number, size_t maxDigits, uint64_t *value)
{
    for (uint64_t digit; (digit = static_cast<unsigned char>(*q) - uint64_t{'0'}) < 10; ++q)
        number = number * 10 + digit;
    if (static_cast<size_t>(q - p) > maxDigits)
        return nullptr;
    *value = number;
    return q;
}

// shortDigitRun.
inline const char *digitRun(const char *p, size_t maxDigits, uint64_t *value)
{
    const uint64_t first = static_cast<unsigned char>(*p) - uint64_t{'0'};
    return first - 1 < 9 ? endOfRun(p, p + 1, first, maxDigits, value) : nullptr;
}

// shortDigitRun for a long run (a time): its first eight digits at once.
inline const char *longDigitRun(const char *p, const char *end, size_t maxDigits, uint64_t *value)
{
    uint64_t number = 0;
    if (end - p <= 8 || *p < '1' || *p > '9' || !eightDigits(p, &number))
        return digitRun(p, maxDigits, value);
    return endOfRun(p, p + 8, number, maxDigits, value);
}

// A run of 1 to `maxDigits` digits led by 1 to 9 and ended by `separator`: its value and
// the separator's position, or null.
inline char *digitsThen(char *p, size_t maxDigits, char separator, uint64_t *value)
{
    const char *q = digitRun(p, maxDigits, value);
    return q != nullptr && *q == separator ? const_cast<char *>(q) : nullptr;
}

// A numeric comma field that is "0" or plain digits, ended by ",": the "," or null.
inline char *plainField(char *p, size_t maxDigits, uint64_t *value)
{
    if (*p == '0') {
        *value = 0;
        return p[1] == ',' ? p + 1 : nullptr;
    }
    return digitsThen(p, maxDigits, ',', value);
}

// The time field: "0", or up to 18 digits, ended by ",".
inline char *timeField(char *p, const char *end, int64_t *time)
{
    uint64_t value = 0;
    const char *q = *p == '0' ? p + 1 : longDigitRun(p, end, 18, &value);  // 18 digits fit
    if (q == nullptr || *q != ',')
        return nullptr;
    *time = static_cast<int64_t>(value);
    return const_cast<char *>(q);
}

// `length` bytes that hold no NUL (they lie before the text's end) and are valid UTF-8.
// Pure ASCII is decided sixteen bytes at a time (a short text is read as one block when
// the text goes on long enough behind it); anything else goes to the full check.
inline bool validText(const char *data, size_t length, const char *end)
{
    const auto block = [](const char *at) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(at)); };
    bool ascii;
    if (length >= 16) {
        __m128i any = _mm_setzero_si128();
        for (size_t i = 0; i + 16 <= length; i += 16)
            any = _mm_or_si128(any, block(data + i));
        ascii = _mm_movemask_epi8(_mm_or_si128(any, block(data + length - 16))) == 0;
    } else if (end - data >= 16) {
        ascii = (_mm_movemask_epi8(block(data)) & ((1u << length) - 1)) == 0;
    } else {
        unsigned char any = 0;
        for (size_t i = 0; i < length; ++i)
            any |= static_cast<unsigned char>(data[i]);
        ascii = any < 0x80;
    }
    return ascii || utf8check(data, length) == ZELKLOG_RC_OK;
}

// A string field behind the separator at `separator`: "0:" (empty, *out untouched) or
// digits ":" bytes ",".  Returns the position the next field steps over, or null.
[[gnu::always_inline]] inline char *stringField(char *separator, char *end, char **out,
                                                InPlaceStrings *strings)
{
    char *prefix = separator + 1;
    if (prefix[0] == '0')
        return prefix[1] == ':' && prefix[2] == ',' ? prefix + 2 : nullptr;
    uint64_t length = 0;
    char *colon = digitsThen(prefix, kMaxPrefixDigits, ':', &length);
    if (colon == nullptr)
        return nullptr;
    char *data = colon + 1;
    if (length >= static_cast<uint64_t>(end - data) || data[length] != ',' || !validText(data, length, end) ||
        !strings->remember(data + length))
        return nullptr;
    data[length] = '\0';
    *out = data;
    return data + length;
}

// A level or return value: 1 to 18 digits ended by ",", read as atoi reads them.
inline char *plainIntegerField(char *p, int32_t *value)
{
    if (!isDigit(*p))
        return nullptr;
    uint64_t number = 0;  // a longer run wraps around harmlessly: it is refused below
    char *q = p;
    for (uint64_t digit; (digit = static_cast<unsigned char>(*q) - uint64_t{'0'}) < 10; ++q)
        number = number * 10 + digit;
    if (q - p > 18 || *q != ',')
        return nullptr;
    *value = static_cast<int32_t>(static_cast<long>(number));
    return q;
}

// A counted field's prefix and data at `p`; returns the position behind the data and its
// unexamined byte, or null.  *data and *length describe the data.
inline char *countedField(char *p, char *end, const char **data, size_t *length)
{
    uint64_t count = 0;
    char *colon = p[0] == '0' && p[1] == ':' ? p + 1 : digitsThen(p, kMaxPrefixDigits, ':', &count);
    if (colon == nullptr)
        return nullptr;
    char *start = colon + 1;
    if (count >= static_cast<uint64_t>(end - start))
        return nullptr;
    *data = start;
    *length = static_cast<size_t>(count);
    return start + count + 1;
}

// A typed number "size:number|" whose number is digits (led by "-" when `sign`), non-zero
// by the number rules.  Returns the position behind the "|", or null.
inline char *sizedNumber(char *p, bool sign, uint64_t maxSize, size_t maxChars)
{
    uint64_t size = 0;
    char *colon = digitsThen(p, kMaxPrefixDigits, ':', &size);
    if (colon == nullptr || size > maxSize)
        return nullptr;
    char *number = colon + 1;
    char *q = number + (sign && *number == '-' ? 1 : 0);
    // "0..." reads as 0 under the zero-first rule; "-0..." would take the C library.
    if (!isDigit(*q) || (q != number && *q == '0'))
        return nullptr;
    while (isDigit(*q))
        ++q;
    if (*q != '|' || static_cast<size_t>(q - number) > maxChars)
        return nullptr;
    return q + 1;
}

// The argument section at `p` ("("): the message id into `list`; every argument checked.
inline bool argumentSection(char *p, char *end, ZelkLogMsgArgList *list)
{
    if (*p != '(')
        return false;
    ++p;
    uint64_t msgId = 0;
    char *bar = p[0] == '0' && p[1] == '|' ? p + 1 : digitsThen(p, kMaxPrefixDigits, '|', &msgId);
    if (bar == nullptr)
        return false;
    list->msgId = msgId;
    list->listInfo = 0;
    list->args = nullptr;
    p = bar + 1;
    for (;;) {
        const char tag = *p++;
        const char *data = nullptr;
        size_t length = 0;
        switch (tag) {
        case ')':
            return true;
        case 'S':
        case 'X':
            p = countedField(p, end, &data, &length);
            break;
        case 'A':
        case '1':
            p = countedField(p, end, &data, &length);
            if (p != nullptr && !validText(data, length, end))
                return false;
            break;
        case 'i':
        case 'D':
            p = sizedNumber(p, true, UINT64_MAX, SIZE_MAX);
            break;
        case 'C':
            p = sizedNumber(p, true, kMaxWidth, SIZE_MAX);
            break;
        case 'u':
            p = sizedNumber(p, false, UINT64_MAX, kMaxNumberChars);
            break;
        case '9':
            p = sizedNumber(p, false, kMaxWidth, kMaxNumberChars);
            break;
        default:  // "8", nested lists, the end of the text, unknown tags
            return false;
        }
        if (p == nullptr)
            return false;
    }
}

}  // namespace

namespace {

bool readUsual(textMessage *message, ZelkLogMsg *view, InPlaceStrings *strings)
{
    bool productId = true;
    bool fileId = true;
    bool appWho = true;
    switch (view->format) {
    case ZELKLOG_FORMAT_10004:
        fileId = appWho = false;
        break;
    case ZELKLOG_FORMAT_10005:
        appWho = false;
        break;
    case ZELKLOG_FORMAT_10006:
    case ZELKLOG_FORMAT_10007:
        break;
    case ZELKLOG_FORMAT_10008:
        productId = fileId = false;
        break;
    default:
        return false;
    }
    char *text = message->text;
    if (text == nullptr)
        return false;
    char *const end = text + std::strlen(text);
    // The kind: one digit from 0 to 4.
    if (text[0] < '0' || text[0] > '4' || text[1] != ',')
        return false;
    view->marker = 1;
    view->kind = static_cast<uint32_t>(text[0] - '0');
    char *p = text + 1;
    if (productId && (p = plainField(p + 1, 19, &view->productId)) == nullptr)
        return false;
    if ((p = plainField(p + 1, 19, &view->originatorId)) == nullptr)
        return false;
    if (fileId && (p = plainField(p + 1, 19, &view->fileId)) == nullptr)
        return false;
    if ((p = plainField(p + 1, 19, &view->auxNumber)) == nullptr ||
        (p = timeField(p + 1, end, &view->timeMs)) == nullptr)
        return false;
    if ((p = plainField(p + 1, 19, &view->pid)) == nullptr ||
        (p = plainField(p + 1, 19, &view->tid)) == nullptr ||
        (p = stringField(p, end, &view->contextToken, strings)) == nullptr ||
        (p = stringField(p, end, &view->auxText, strings)) == nullptr)
        return false;

    ZelkLogMsgKindData &data = view->kindData;
    switch (view->kind) {
    case ZELKLOG_MSG_DEBUG:
        if ((p = stringField(p, end, &data.second.who, strings)) == nullptr)
            return false;
        // The level runs to the next "," or the end; nothing behind it is read.
        data.first.level = readPlainInteger(p + 1, p + 1 + std::strcspn(p + 1, ","));
        return true;
    case ZELKLOG_MSG_DIAG:
        if ((p = stringField(p, end, &data.second.who, strings)) == nullptr ||
            (p = plainIntegerField(p + 1, &data.first.level)) == nullptr)
            return false;
        break;
    case ZELKLOG_MSG_APP: {
        if (appWho && (p = stringField(p, end, &data.second.who, strings)) == nullptr)
            return false;
        uint64_t severity = 0;
        if ((p = plainField(p + 1, 19, &severity)) == nullptr)
            return false;
        data.first.severity = static_cast<uint32_t>(severity);
        break;
    }
    case ZELKLOG_MSG_AUDIT:
        if ((p = stringField(p, end, &data.second.subject, strings)) == nullptr ||
            (p = plainIntegerField(p + 1, &data.returnValue)) == nullptr)
            return false;
        break;
    default:  // context records are decoded in full anyway
        return false;
    }
    return argumentSection(p + 1, end, &view->args);
}

}  // namespace

bool readInPlaceQuick(textMessage *message, ZelkLogMsg *view, InPlaceStrings *strings)
{
    if (readUsual(message, view, strings))
        return true;
    strings->restore();
    return false;
}

}  // namespace zelk::message
