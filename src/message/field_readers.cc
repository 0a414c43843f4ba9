// Comma fields, string fields and counted fields.
#include "src/message/field_readers.h"

#include "src/message/number_rules.h"
#include "src/message/record_storage.h"
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace zelk::message {

namespace {
constexpr size_t kMaxPrefixChars = 10;

char *findChar(char *begin, char *end, char wanted)
{
    return static_cast<char *>(std::memchr(begin, wanted, static_cast<size_t>(end - begin)));
}
}  // namespace

template <Pass P> bool cutCommaField(TextCursor &cursor, bool first, const char **begin, const char **end)
{
    if (!first) {
        if (cursor.pos >= cursor.end)  // the field before ended at the end of the text
            return false;
        ++cursor.pos;
    }
    char *separator = findChar(cursor.pos, cursor.end, ',');
    *begin = cursor.pos;
    if (separator != nullptr) {
        // The number rules read [begin, end) and stop at the "," as at a NUL, so Check
        // can leave it in place.
        if constexpr (P == Pass::Store)
            *separator = '\0';
        cursor.pos = separator;
    } else {
        cursor.pos = cursor.end;
    }
    *end = cursor.pos;
    return true;
}

namespace {

// The usual comma field: "0", or plain digits (at most `maxDigits`, the first not 0),
// ended by "," or by the end of the text, read in one pass with no search.  False, with
// the cursor unmoved, for anything else.
template <Pass P>
bool readPlainDigitsField(TextCursor &cursor, size_t maxDigits, uint64_t *value, bool longRun = false)
{
    if (cursor.pos[0] == '0' && cursor.pos[1] == ',') {  // the zero field alone
        if constexpr (P == Pass::Store)
            cursor.pos[1] = '\0';
        ++cursor.pos;
        *value = 0;
        return true;
    }
    char *after = nullptr;
    uint64_t number = 0;
    if (longRun && cursor.end - cursor.pos > 8 && *cursor.pos != '0' && eightDigits(cursor.pos, &number)) {
        // A long field (a time) starts with eight digits taken at once, and so are the next
        // up to eight when eight characters are there to read; the rest one by one.
        static constexpr uint64_t kPowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
        char *q = cursor.pos + 8;
        if (cursor.end - q >= 7) {  // [q, q + 8) is readable: the NUL at `end` included
            uint64_t tail = 0;
            const size_t digits = leadingDigits(q, &tail);
            number = number * kPowers[digits] + tail;
            q += digits;
        }
        while (isDigit(*q))
            number = number * 10 + static_cast<uint64_t>(*q++ - '0');
        if (static_cast<size_t>(q - cursor.pos) > maxDigits)
            return false;
        *value = number;
        after = q;
    } else {
        after = const_cast<char *>(shortDigitRun(cursor.pos, maxDigits, value));
    }
    if (after == nullptr || (*after != ',' && after != cursor.end))
        return false;
    if constexpr (P == Pass::Store)
        *after = '\0';  // the "," or the terminator itself
    cursor.pos = after;
    return true;
}

// Steps behind the separator that ended the field before.
bool stepToNextField(TextCursor &cursor)
{
    if (cursor.pos >= cursor.end)  // the field before ended at the end of the text
        return false;
    ++cursor.pos;
    return true;
}

}  // namespace

template <Pass P> uint32_t readUnsignedField(TextCursor &cursor, bool first, uint64_t *value)
{
    if (!first && !stepToNextField(cursor))
        return ZELKLOG_RC_FAILURE;
    if (readPlainDigitsField<P>(cursor, 19, value))
        return ZELKLOG_RC_OK;
    const char *begin;
    const char *end;
    if (!cutCommaField<P>(cursor, true, &begin, &end) || !readUnsigned(begin, end, value))
        return ZELKLOG_RC_FAILURE;
    return ZELKLOG_RC_OK;
}

template <Pass P> uint32_t readSignedField(TextCursor &cursor, int64_t *value)
{
    if (!stepToNextField(cursor))
        return ZELKLOG_RC_FAILURE;
    uint64_t quick = 0;
    if (readPlainDigitsField<P>(cursor, 18, &quick, true)) {  // 18 digits fit a signed value
        *value = static_cast<int64_t>(quick);
        return ZELKLOG_RC_OK;
    }
    const char *begin;
    const char *end;
    if (!cutCommaField<P>(cursor, true, &begin, &end) || !readSigned64(begin, end, value))
        return ZELKLOG_RC_FAILURE;
    return ZELKLOG_RC_OK;
}

template <Pass P> uint32_t readPlainIntegerField(TextCursor &cursor, int32_t *value)
{
    const char *begin;
    const char *end;
    if (!cutCommaField<P>(cursor, false, &begin, &end))
        return ZELKLOG_RC_FAILURE;
    *value = readPlainInteger(begin, end);
    return ZELKLOG_RC_OK;
}

template <Pass P> uint32_t readStringField(TextCursor &cursor, char **out)
{
    if (cursor.pos >= cursor.end)
        return ZELKLOG_RC_FAILURE;
    char *prefix = cursor.pos + 1;
    // A prefix of plain digits ends at its ":" without a search.
    uint64_t quick = 0;
    const char *run = shortDigitRun(prefix, kMaxPrefixChars, &quick);
    char *colon = run != nullptr && *run == ':' ? const_cast<char *>(run) : findChar(prefix, cursor.end, ':');
    if (colon == nullptr)
        return ZELKLOG_RC_FAILURE;
    size_t prefixChars = static_cast<size_t>(colon - prefix);
    if (prefixChars < 1 || prefixChars > kMaxPrefixChars)
        return ZELKLOG_RC_FAILURE;
    char *data = colon + 1;
    if (*prefix == '0') {
        // Only "0" itself is the empty field; its "," stays for the next field to step over.
        if (prefixChars != 1 || *data != ',')
            return ZELKLOG_RC_FAILURE;
        cursor.pos = data;
        return ZELKLOG_RC_OK;
    }
    // A plain-digit prefix was read on the way to its ":"; anything else is read again.
    const long length = run == colon ? static_cast<long>(quick) : readLength(prefix, colon);
    if (length <= 0)
        return ZELKLOG_RC_FAILURE;
    size_t bytes = static_cast<size_t>(length);
    if (bytes >= static_cast<size_t>(cursor.end - data) || data[bytes] != ',')
        return ZELKLOG_RC_FAILURE;
    if constexpr (P == Pass::Store) {
        data[bytes] = '\0';
        cursor.pos = data + bytes;
        // utf82mbs's checks and copy, into storage that released records leave behind.
        if (uint32_t rc = utf8check(data, bytes); rc != ZELKLOG_RC_OK)
            return rc;
        char *copy = takeString(*cursor.storage, bytes + 1);
        if (copy == nullptr)
            return ZELKLOG_RC_NO_MEMORY;
        std::memcpy(copy, data, bytes + 1);
        *out = copy;
        return ZELKLOG_RC_OK;
    } else {
        if (uint32_t rc = utf8check(data, bytes); rc != ZELKLOG_RC_OK)
            return rc;
        if (cursor.inPlace == nullptr || !cursor.inPlace->remember(data + bytes))
            return ZELKLOG_RC_FAILURE;
        data[bytes] = '\0';
        cursor.pos = data + bytes;
        *out = data;
        return ZELKLOG_RC_OK;
    }
}

bool readCountPrefix(const char *begin, const char *end, uint64_t *value, const char **colon)
{
    // The usual prefix, plain digits and its ":", needs no search and no second reading.
    if (const char *run = shortDigitRun(begin, kMaxPrefixChars, value); run != nullptr && *run == ':') {
        *colon = run;
        return true;
    }
    const auto *found = static_cast<const char *>(std::memchr(begin, ':', static_cast<size_t>(end - begin)));
    if (found == nullptr)
        return false;
    size_t prefixChars = static_cast<size_t>(found - begin);
    if (prefixChars < 1 || prefixChars > kMaxPrefixChars || !readUnsigned(begin, found, value))
        return false;
    *colon = found;
    return true;
}

uint32_t readCountedField(TextCursor &cursor, const char **data, size_t *length)
{
    uint64_t count = 0;
    const char *colon = nullptr;
    if (!readCountPrefix(cursor.pos, cursor.end, &count, &colon))
        return ZELKLOG_RC_FAILURE;
    char *start = cursor.pos + (colon - cursor.pos) + 1;
    // The data and the separator byte behind it must both lie inside the text.
    if (count >= static_cast<uint64_t>(cursor.end - start))
        return ZELKLOG_RC_FAILURE;
    *data = start;
    *length = static_cast<size_t>(count);
    cursor.pos = start + count + 1;
    return ZELKLOG_RC_OK;
}

#define ZELK_INSTANTIATE(P)                                                                                  \
    template bool cutCommaField<P>(TextCursor &, bool, const char **, const char **);                        \
    template uint32_t readUnsignedField<P>(TextCursor &, bool, uint64_t *);                                  \
    template uint32_t readSignedField<P>(TextCursor &, int64_t *);                                           \
    template uint32_t readPlainIntegerField<P>(TextCursor &, int32_t *);                                     \
    template uint32_t readStringField<P>(TextCursor &, char **);
ZELK_INSTANTIATE(Pass::Store)
ZELK_INSTANTIATE(Pass::Check)
#undef ZELK_INSTANTIATE

}  // namespace zelk::message
