// Formatting a record into one line of localised UTF-8 text (see docs/formatting.md).
#include "platform/src/format/localizer_list.h"
#include "platform/src/format/message_text.h"
#include "src/core/zelkLogCore.h"

#include <unicode/uloc.h>

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

constexpr const char16_t *kSeparator = u" | ";

template <typename Number> void appendNumber(icu::UnicodeString &out, Number value)
{
    char digits[24];
    auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(
        icu::UnicodeString(digits, static_cast<int32_t>(end - digits), icu::UnicodeString::kInvariant));
}

void appendOrDash(icu::UnicodeString &out, const char *text)
{
    if (text == nullptr || *text == '\0')
        out += u'-';
    else
        out += zelk::core::fromBytes(text);
}

// Local wall-clock time of the record in the locale; the zone rule in force at that
// moment (daylight saving included) is applied.
void appendTime(icu::UnicodeString &out, Localizer &localizer, int64_t timeMs, bool milliseconds)
{
    UDateFormat *format = zelk::core::dateFormatFor(localizer, milliseconds);
    int64_t seconds = timeMs / 1000 - (timeMs % 1000 < 0 ? 1 : 0);
    time_t moment = static_cast<time_t>(seconds);
    struct tm local;
    long offset = localtime_r(&moment, &local) != nullptr ? local.tm_gmtoff : 0;
    UChar buffer[96];
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    if (format != nullptr) {
        const UDate instant = static_cast<double>(timeMs) + static_cast<double>(offset) * 1000.0;
        length = udat_format(format, instant, buffer, 96, nullptr, &status);
    }
    if (format == nullptr || U_FAILURE(status) || length > 96) {
        out += u'-';
        return;
    }
    out.append(buffer, length);
}

void appendKind(icu::UnicodeString &out, const ZelkLogMsg &record)
{
    static const char16_t *const severities[] = {u"INFO", u"WARNING", u"ERR", u"CRIT", u"EMERG"};
    static const char16_t *const kinds[] = {u"DEBUG", u"DIAG", u"APP", u"CONTEXT", u"AUDIT"};
    if (record.kind == ZELKLOG_MSG_APP && record.kindData.first.severity <= ZELKLOG_SEV_EMERG) {
        out += severities[record.kindData.first.severity];
    } else if (record.kind == ZELKLOG_MSG_APP) {
        out += u"SEV";
        appendNumber(out, record.kindData.first.severity);
    } else if (record.kind <= ZELKLOG_MSG_AUDIT) {
        out += kinds[record.kind];
    } else {
        out += u"KIND";
        appendNumber(out, record.kind);
    }
}

void appendDetail(icu::UnicodeString &out, const ZelkLogMsg &record)
{
    switch (record.kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
        out += u"level ";
        appendNumber(out, record.kindData.first.level);
        out += u" who ";
        appendOrDash(out, record.kindData.second.who);
        break;
    case ZELKLOG_MSG_APP:
        out += u"who ";
        appendOrDash(out, record.kindData.second.who);
        break;
    case ZELKLOG_MSG_AUDIT:
        out += u"subject ";
        appendOrDash(out, record.kindData.second.subject);
        out += u" return ";
        appendNumber(out, record.kindData.returnValue);
        break;
    default:
        out += u'-';
        break;
    }
}

void appendContext(icu::UnicodeString &out, const ZelkLogMsg &record, ContextTitleEntry **titles,
                   bool withToken)
{
    const char *token = nullptr;
    zelkLogGetMsgContextAttrToken(&record, &token);
    const ContextTitleEntry *entry = SearchContextTitleInList(&record, nullptr, token, titles);
    if (entry != nullptr && entry->title != nullptr) {
        out += zelk::core::fromBytes(entry->title);
        if (withToken) {
            out += u" (";
            out += zelk::core::fromBytes(token);
            out += u')';
        }
        return;
    }
    appendOrDash(out, token);  // no title known: the token stands for the context
}

void buildLine(icu::UnicodeString &out, ZelkLogLocalizerList &list, Localizer &localizer,
               ContextTitleEntry **titles, uint32_t flags, const ZelkLogMsg &record)
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
        out += u"prod ";
        appendNumber(out, record.productId);
        out += u" orig ";
        appendNumber(out, record.originatorId);
        if (flags & kFileId) {
            out += u" file ";
            appendNumber(out, record.fileId);
        }
    } else if (flags & kFileId) {
        field();
        out += u"file ";
        appendNumber(out, record.fileId);
    }
    if (flags & kProcess) {
        field();
        out += u"pid ";
        appendNumber(out, record.pid);
        out += u" tid ";
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
        out += u"aux ";
        appendNumber(out, record.auxNumber);
        out += u' ';
        appendOrDash(out, record.auxText);
    }
    if (flags & kSource) {
        field();
        appendOrDash(out, record.logsetName[0] != '\0' ? record.logsetName : record.fileHeaderText);
    }
    if (flags & kMessage) {
        field();
        zelk::core::appendMessageText(list, localizer, record, out);
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
        Localizer *localizer = zelk::core::localizerFor(list, formatResource, locale);
        icu::UnicodeString line;
        if (flags == 0)
            zelk::core::appendMessageText(list, *localizer, *record, line);
        else
            buildLine(line, list, *localizer, titles, flags, *record);
        std::string utf8;
        line.toUTF8String(utf8);
        size_t length = maxLength == 0 ? utf8.size() : utf8Prefix(utf8, maxLength);
        char *copy = static_cast<char *>(zelkLogMalloc(length + 1));
        if (copy == nullptr) {
            rc = ZELKLOG_RC_NO_MEMORY;
        } else {
            std::memcpy(copy, utf8.data(), length);
            copy[length] = '\0';
            *text = copy;
        }
    } catch (...) {
        rc = ZELKLOG_RC_NO_MEMORY;
    }
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
