// Formatting a record into one line of localised UTF-8 text (see docs/formatting.md).
#include "platform/src/format/localizer_list.h"
#include "platform/src/format/message_text.h"
#include "src/core/zelkLogCore.h"

#include <unicode/uloc.h>
#include <unicode/utf16.h>

#include <charconv>
#include <cstring>
#include <ctime>
#include <new>
#include <string>

namespace {

using zelk::core::Localizer;

// What the bits of the flags select, in the order the fields appear on the line.
enum FormatFlag : uint32_t {
    kTime = 0x001,
    kKind = 0x002,
    kMilliseconds = 0x004,
    kDetail = 0x008,
    kFileId = 0x010,
    kAux = 0x020,
    kContextToken = 0x040,
    kSource = 0x080,
    kProduct = 0x100,
    kProcess = 0x200,
    kContext = 0x400,
    kMessage = 0x800,
};

constexpr const char *kSeparator = " | ";

// The line is built as UTF-8 in one buffer of the thread, kept between calls so that a
// line costs no allocation but the caller's copy.
// The buffer once made is reached through a plain pointer, which needs no guard to be read.
thread_local std::string *threadLine = nullptr;

__attribute__((noinline)) std::string &makeLineBuffer()
{
    thread_local std::string buffer;
    threadLine = &buffer;
    return buffer;
}

std::string &lineBuffer()
{
    std::string &buffer = threadLine != nullptr ? *threadLine : makeLineBuffer();
    buffer.clear();
    return buffer;
}

template <typename Number> void appendNumber(std::string &out, Number value)
{
    char digits[24];
    auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, static_cast<size_t>(end - digits));
}

void appendUnicode(std::string &out, const UChar *text, int32_t length)
{
    icu::UnicodeString(false, text, length).toUTF8String(out);
}

void appendText(std::string &out, const char *text)
{
    zelk::core::appendBytes(out, text);
}

void appendOrDash(std::string &out, const char *text)
{
    if (text == nullptr || *text == '\0')
        out += '-';
    else
        appendText(out, text);
}

// A digit of the Basic Multilingual Plane (never a surrogate) as UTF-8.
void appendCodePoint(std::string &out, UChar32 c)
{
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

bool sameZone(const zelk::core::DateCache &cache)
{
    return cache.zoneOffset == timezone && cache.zoneDaylight == daylight &&
           cache.zoneNames[0] == tzname[0] && cache.zoneNames[1] == tzname[1];
}

// Whether the fraction digits of `format` are ten contiguous BMP characters from a zero
// digit (the decimal digits of every numbering system except a few such as hanidec):
// formats .000, .111, ... .999 of the second at `base` once per formatter and style.
UChar32 contiguousZero(UDateFormat *format, UDate base)
{
    UChar32 zero = 0;
    for (int d = 0; d < 10; ++d) {
        UChar buffer[96];
        UErrorCode status = U_ZERO_ERROR;
        UFieldPosition fraction = {UDAT_FRACTIONAL_SECOND_FIELD, 0, 0};
        int32_t length = udat_format(format, base + d * 111, buffer, 96, &fraction, &status);
        if (U_FAILURE(status) || length > 96 || fraction.beginIndex < 0 || fraction.endIndex > length ||
            fraction.endIndex - fraction.beginIndex != 3)
            return 0;
        if (d == 0)
            zero = buffer[fraction.beginIndex];
        if (zero <= 0 || U16_IS_SURROGATE(zero) || U16_IS_SURROGATE(zero + 9))
            return 0;
        for (int i = 0; i < 3; ++i) {
            if (buffer[fraction.beginIndex + i] != zero + d)
                return 0;
        }
    }
    return zero;
}

// Formats the record's moment into the cache of its second: the whole text, or with
// milliseconds the texts around the fraction digits, so that the other records of that
// second only put in their own digits.
void fillDateCache(zelk::core::DateCache &cache, UDateFormat *format, int64_t second, int64_t timeMs,
                   bool milliseconds)
{
    cache.valid = true;
    cache.second = second;
    cache.text.clear();
    cache.suffix.clear();
    cache.zero = 0;
    time_t moment = static_cast<time_t>(second);
    struct tm local;
    long offset = localtime_r(&moment, &local) != nullptr ? local.tm_gmtoff : 0;
    cache.zoneOffset = timezone;
    cache.zoneDaylight = daylight;
    cache.zoneNames[0] = tzname[0];
    cache.zoneNames[1] = tzname[1];

    UChar buffer[96];
    UErrorCode status = U_ZERO_ERROR;
    UFieldPosition fraction = {UDAT_FRACTIONAL_SECOND_FIELD, 0, 0};
    const UDate instant = static_cast<double>(timeMs) + static_cast<double>(offset) * 1000.0;
    int32_t length = udat_format(format, instant, buffer, 96, milliseconds ? &fraction : nullptr, &status);
    if (U_FAILURE(status) || length > 96) {
        cache.text = "-";
        return;
    }
    if (milliseconds && cache.digits == 0) {
        const UDate secondStart = (static_cast<double>(second) + static_cast<double>(offset)) * 1000.0;
        const UChar32 zero = contiguousZero(format, secondStart);
        cache.digits = zero != 0 ? 1 : -1;
        cache.zeroDigit = zero;
    }
    if (milliseconds && cache.digits > 0 && fraction.beginIndex >= 0 && fraction.endIndex <= length &&
        fraction.endIndex - fraction.beginIndex == 3) {
        appendUnicode(cache.text, buffer, fraction.beginIndex);
        appendUnicode(cache.suffix, buffer + fraction.endIndex, length - fraction.endIndex);
        cache.zero = cache.zeroDigit;
        return;
    }
    appendUnicode(cache.text, buffer, length);
}

// Local wall-clock time of the record in the locale; the zone rule in force at that
// moment (daylight saving included) is applied.
void appendTime(std::string &out, Localizer &localizer, int64_t timeMs, bool milliseconds)
{
    UDateFormat *format = zelk::core::dateFormatFor(localizer, milliseconds);
    if (format == nullptr) {
        out += '-';
        return;
    }
    const int64_t second = timeMs / 1000 - (timeMs % 1000 < 0 ? 1 : 0);
    zelk::core::DateCache &cache = localizer.dates[milliseconds ? 1 : 0];
    if (!cache.valid || cache.second != second || !sameZone(cache) || (milliseconds && cache.zero == 0)) {
        // A new second, or milliseconds the cache cannot put in: this record's own text.
        fillDateCache(cache, format, second, timeMs, milliseconds);
        if (!milliseconds || cache.zero == 0) {
            out += cache.text;
            return;
        }
    } else if (!milliseconds) {
        out += cache.text;
        return;
    }
    const int ms = static_cast<int>(timeMs - second * 1000);
    out += cache.text;
    appendCodePoint(out, cache.zero + ms / 100);
    appendCodePoint(out, cache.zero + ms / 10 % 10);
    appendCodePoint(out, cache.zero + ms % 10);
    out += cache.suffix;
}

void appendKind(std::string &out, const ZelkLogMsg &record)
{
    static const char *const severities[] = {"INFO", "WARNING", "ERR", "CRIT", "EMERG"};
    static const char *const kinds[] = {"DEBUG", "DIAG", "APP", "CONTEXT", "AUDIT"};
    if (record.kind == ZELKLOG_MSG_APP && record.kindData.first.severity <= ZELKLOG_SEV_EMERG) {
        out += severities[record.kindData.first.severity];
    } else if (record.kind == ZELKLOG_MSG_APP) {
        out += "SEV";
        appendNumber(out, record.kindData.first.severity);
    } else if (record.kind <= ZELKLOG_MSG_AUDIT) {
        out += kinds[record.kind];
    } else {
        out += "KIND";
        appendNumber(out, record.kind);
    }
}

void appendDetail(std::string &out, const ZelkLogMsg &record)
{
    switch (record.kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
        out += "level ";
        appendNumber(out, record.kindData.first.level);
        out += " who ";
        appendOrDash(out, record.kindData.second.who);
        break;
    case ZELKLOG_MSG_APP:
        out += "who ";
        appendOrDash(out, record.kindData.second.who);
        break;
    case ZELKLOG_MSG_AUDIT:
        out += "subject ";
        appendOrDash(out, record.kindData.second.subject);
        out += " return ";
        appendNumber(out, record.kindData.returnValue);
        break;
    default:
        out += '-';
        break;
    }
}

void appendContext(std::string &out, const ZelkLogMsg &record, ContextTitleEntry **titles, bool withToken)
{
    const char *token = nullptr;
    zelkLogGetMsgContextAttrToken(&record, &token);
    const ContextTitleEntry *entry = SearchContextTitleInList(&record, nullptr, token, titles);
    if (entry != nullptr && entry->title != nullptr) {
        appendText(out, entry->title);
        if (withToken) {
            out += " (";
            appendText(out, token);
            out += ')';
        }
        return;
    }
    appendOrDash(out, token);  // no title known: the token stands for the context
}

void appendMessage(std::string &out, ZelkLogLocalizerList &list, Localizer &localizer,
                   const ZelkLogMsg &record)
{
    zelk::core::appendMessageText(list, localizer, record, out);
}

void buildLine(std::string &out, ZelkLogLocalizerList &list, Localizer &localizer, ContextTitleEntry **titles,
               uint32_t flags, const ZelkLogMsg &record)
{
    bool first = true;
    auto field = [&]() {
        if (!first)
            out += kSeparator;
        first = false;
    };
    if (flags & kTime) {
        field();
        appendTime(out, localizer, record.timeMs, (flags & kMilliseconds) != 0);
    }
    if (flags & kKind) {
        field();
        appendKind(out, record);
    }
    if (flags & kProduct) {
        field();
        out += "prod ";
        appendNumber(out, record.productId);
        out += " orig ";
        appendNumber(out, record.originatorId);
        if (flags & kFileId) {
            out += " file ";
            appendNumber(out, record.fileId);
        }
    } else if (flags & kFileId) {
        field();
        out += "file ";
        appendNumber(out, record.fileId);
    }
    if (flags & kProcess) {
        field();
        out += "pid ";
        appendNumber(out, record.pid);
        out += " tid ";
        appendNumber(out, record.tid);
    }
    if (flags & (kContext | kContextToken)) {
        field();
        appendContext(out, record, titles, (flags & kContextToken) != 0);
    }
    if (flags & kDetail) {
        field();
        appendDetail(out, record);
    }
    if (flags & kAux) {
        field();
        out += "aux ";
        appendNumber(out, record.auxNumber);
        out += ' ';
        appendOrDash(out, record.auxText);
    }
    if (flags & kSource) {
        field();
        appendOrDash(out, record.logsetName[0] != '\0' ? record.logsetName : record.fileHeaderText);
    }
    if (flags & kMessage) {
        field();
        appendMessage(out, list, localizer, record);
    }
}

// Length of the longest prefix of at most `limit` bytes that ends on a character boundary.
size_t utf8Prefix(const std::string &text, size_t limit)
{
    if (text.size() <= limit)
        return text.size();
    size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return end;
}

bool sameText(const std::string &kept, const char *text)
{
    return text == nullptr ? kept.empty() : std::strcmp(kept.c_str(), text) == 0;
}

// The localiser for the call.  Every record of a query asks with the same locale and
// directory, so the head of the list remembers its last answer.
Localizer *localizerForCall(ZelkLogLocalizerList &list, const char *directory, const char *locale)
{
    const char *id = locale != nullptr ? locale : uloc_getDefault();
    auto *head = static_cast<Localizer *>(list.first);
    if (head != nullptr && head->lastFound != nullptr && sameText(head->lastLocaleId, id) &&
        sameText(head->lastDirectory, directory))
        return head->lastFound;
    Localizer *found = zelk::core::localizerFor(list, directory, locale);
    head = static_cast<Localizer *>(list.first);
    head->lastLocaleId = id;
    head->lastDirectory = directory != nullptr ? directory : "";
    head->lastFound = found;
    return found;
}

uint32_t formatRecord(ZelkLogLocalizerList *localizers, ContextTitleEntry **titles, const char *locale,
                      uint32_t flags, uint32_t maxLength, const char *formatResource,
                      const ZelkLogMsg *record, char **text)
{
    if (text == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    *text = nullptr;
    if (record == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // Without a list of the caller's, catalogues are loaded for this call only.
    ZelkLogLocalizerList scratch = {nullptr, 0};
    ZelkLogLocalizerList &list = localizers != nullptr ? *localizers : scratch;
    uint32_t rc = ZELKLOG_RC_OK;
    try {
        Localizer *localizer = localizerForCall(list, formatResource, locale);
        std::string &line = lineBuffer();
        if (flags == 0)
            appendMessage(line, list, *localizer, *record);
        else
            buildLine(line, list, *localizer, titles, flags, *record);
        size_t length = maxLength == 0 ? line.size() : utf8Prefix(line, maxLength);
        char *copy = static_cast<char *>(zelkLogMalloc(length + 1));
        if (copy == nullptr) {
            rc = ZELKLOG_RC_NO_MEMORY;
        } else {
            std::memcpy(copy, line.data(), length);
            copy[length] = '\0';
            *text = copy;
        }
    } catch (...) {
        rc = ZELKLOG_RC_NO_MEMORY;
    }
    if (scratch.first != nullptr)
        RemoveAllLocalizers(&scratch);
    return rc;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t LogFormatMessage(ZelkLogLocalizerList *localizers, ContextTitleEntry **contextTitles,
                                      const char *locale, uint32_t flags, uint32_t maxLength,
                                      const char *formatResource, const ZelkLogMsg *record, uint32_t reserved,
                                      char **text)
{
    (void)reserved;
    return formatRecord(localizers, contextTitles, locale, flags, maxLength, formatResource, record, text);
}

ZELKLOG_API uint32_t zelkLogFormatMessageEx(LogQuery *query, const char *locale, uintptr_t formatArg,
                                            uint32_t flags, uint32_t reserved, const ZelkLogMsg *record,
                                            char **formatted)
{
    (void)reserved;
    if (formatted != nullptr)
        *formatted = nullptr;
    if (query == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    // formatArg is the longest text wanted, in bytes (0: no limit).
    const uint32_t maxLength = formatArg > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(formatArg);
    return formatRecord(&query->localizers, query->contextTitles, locale, flags, maxLength,
                        query->formatResource, record, formatted);
}

}  // extern "C"
