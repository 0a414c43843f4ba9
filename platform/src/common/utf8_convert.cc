// Conversions of UTF-8 text into owned NUL-terminated strings: a validated UTF-8 copy
// (utf82mbs) and a UTF-32 wide string (utf82wcs), and the same validation alone
// (utf8check).  Validation is strict and covers
// exactly `length` bytes: overlong forms, surrogates, code points above U+10FFFF,
// stray or missing trail bytes are refused with ZELKLOG_RC_INVALID_UTF8.  U+0000 is
// refused as well, since a NUL-terminated result could not carry it.
#include "src/core/zelkLogCore.h"

#include <unicode/utf8.h>

#include <cstring>

namespace {

constexpr uint64_t kHighBits = 0x8080808080808080ull;
constexpr uint64_t kLowBits = 0x0101010101010101ull;

// Eight bytes that are all ASCII and none of them NUL.
inline bool plainAscii8(const uint8_t *text)
{
    uint64_t word;
    std::memcpy(&word, text, sizeof word);
    // A byte is NUL exactly when (byte - 1) borrows into its high bit while the byte's own
    // high bit is clear; with no high bit set in any byte there is no cross-byte borrow
    // to mislead the test.
    return (word & kHighBits) == 0 && ((word - kLowBits) & kHighBits) == 0;
}

// Walks the text with ICU's checked UTF-8 iteration.  Returns false on any ill-formed
// sequence or U+0000; otherwise stores the number of code points.
bool validateUtf8(const uint8_t *text, int64_t length, size_t *codePoints)
{
    size_t count = 0;
    int64_t index = 0;
    // A text of at least eight bytes that is all ASCII: whole words, the last one
    // overlapping the one before where the length is not a multiple of eight.
    if (length >= 8) {
        while (index + 8 <= length && plainAscii8(text + index))
            index += 8;
        if (index + 8 > length && plainAscii8(text + length - 8)) {
            *codePoints = static_cast<size_t>(length);
            return true;
        }
        count = static_cast<size_t>(index);
    }
    while (index < length) {
        // ASCII runs are by far the most common: eight bytes at a time, then one by one.
        if (length - index >= 8 && plainAscii8(text + index)) {
            index += 8;
            count += 8;
            continue;
        }
        if (text[index] < 0x80) {
            if (text[index] == 0)
                return false;
            ++index;
            ++count;
            continue;
        }
        UChar32 c;
        U8_NEXT(text, index, length, c);
        if (c < 0)
            return false;
        ++count;
    }
    *codePoints = count;
    return true;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t utf8check(const char *utf8, size_t length)
{
    if (utf8 == nullptr && length != 0)
        return ZELKLOG_RC_BAD_ARGUMENT;
    if (length > INT64_MAX / sizeof(wchar_t) - 1)
        return ZELKLOG_RC_BAD_ARGUMENT;  // beyond what either conversion takes
    size_t codePoints = 0;
    if (!validateUtf8(reinterpret_cast<const uint8_t *>(utf8), static_cast<int64_t>(length), &codePoints))
        return ZELKLOG_RC_INVALID_UTF8;
    return ZELKLOG_RC_OK;
}

ZELKLOG_API uint32_t utf82mbs(const char *utf8, size_t length, char **out)
{
    if (out == nullptr || (utf8 == nullptr && length != 0) || length > INT64_MAX - 1)
        return ZELKLOG_RC_BAD_ARGUMENT;
    size_t codePoints = 0;
    if (!validateUtf8(reinterpret_cast<const uint8_t *>(utf8), static_cast<int64_t>(length), &codePoints))
        return ZELKLOG_RC_INVALID_UTF8;
    char *copy = static_cast<char *>(zelkLogMalloc(length + 1));
    if (copy == nullptr)
        return ZELKLOG_RC_NO_MEMORY;
    if (length != 0)
        std::memcpy(copy, utf8, length);
    copy[length] = '\0';
    *out = copy;
    return ZELKLOG_RC_OK;
}

ZELKLOG_API uint32_t utf82wcs(const char *utf8, size_t length, wchar_t **out)
{
    static_assert(sizeof(wchar_t) == 4, "wide strings hold UTF-32");
    if (out == nullptr || (utf8 == nullptr && length != 0) || length > INT64_MAX / sizeof(wchar_t) - 1)
        return ZELKLOG_RC_BAD_ARGUMENT;
    const auto *text = reinterpret_cast<const uint8_t *>(utf8);
    const auto bytes = static_cast<int64_t>(length);
    size_t codePoints = 0;
    if (!validateUtf8(text, bytes, &codePoints))
        return ZELKLOG_RC_INVALID_UTF8;
    auto *wide = static_cast<wchar_t *>(zelkLogMalloc((codePoints + 1) * sizeof(wchar_t)));
    if (wide == nullptr)
        return ZELKLOG_RC_NO_MEMORY;
    size_t written = 0;
    int64_t index = 0;
    while (index < bytes) {
        UChar32 c;
        U8_NEXT_UNSAFE(text, index, c);  // validated above
        wide[written++] = static_cast<wchar_t>(c);
    }
    wide[written] = L'\0';
    *out = wide;
    return ZELKLOG_RC_OK;
}

}  // extern "C"
