// The localiser list: catalogue loading with locale fallback, and formatter caches.
#include "platform/src/format/localizer_list.h"

#include <unicode/choicfmt.h>
#include <unicode/messagepattern.h>
#include <unicode/plurfmt.h>
#include <unicode/selfmt.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

namespace zelk::core {

namespace {

constexpr const char *kRootLocale = "root";

// ICU base name of a locale id ("de-AT@currency=EUR" -> "de_AT"); "root" for the root.
// The name is written into `buffer` (no allocation: this runs for every record).
std::string_view baseLocale(const char *locale, char (&buffer)[ULOC_FULLNAME_CAPACITY])
{
    if (locale == nullptr)
        locale = uloc_getDefault();
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = uloc_getBaseName(locale, buffer, ULOC_FULLNAME_CAPACITY, &status);
    if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING || length <= 0 ||
        std::strcmp(buffer, kRootLocale) == 0)
        return kRootLocale;
    return std::string_view(buffer, static_cast<size_t>(length));
}

// Only plain locale names become file names: letters, digits and "_".
bool safeFileName(const std::string &locale)
{
    if (locale.empty())
        return false;
    for (char c : locale) {
        bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
        if (!ok)
            return false;
    }
    return true;
}

std::string parentLocale(const std::string &locale)
{
    if (locale == kRootLocale)
        return std::string();
    char parent[ULOC_FULLNAME_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = uloc_getParent(locale.c_str(), parent, sizeof parent, &status);
    if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING || length <= 0)
        return kRootLocale;
    return std::string(parent, static_cast<size_t>(length));
}

Localizer *findOrAdd(ZelkLogLocalizerList &list, std::string_view directory, std::string_view locale)
{
    for (auto *entry = static_cast<Localizer *>(list.first); entry != nullptr; entry = entry->next) {
        if (entry->locale == locale && entry->directory == directory)
            return entry;
    }
    auto entry = std::make_unique<Localizer>();
    entry->directory = directory;
    entry->locale = locale;
    if (!directory.empty() && safeFileName(entry->locale)) {
        auto catalogue = std::make_unique<MessageCatalogue>();
        if (catalogue->load(entry->directory + "/" + entry->locale + ".ini"))
            entry->catalogue = std::move(catalogue);
    }
    entry->next = static_cast<Localizer *>(list.first);
    list.first = entry.get();
    ++list.count;
    return entry.release();
}

Localizer *parentOf(ZelkLogLocalizerList &list, Localizer &localizer)
{
    if (!localizer.parentKnown) {
        std::string parent = parentLocale(localizer.locale);
        localizer.parent = parent.empty() ? nullptr : findOrAdd(list, localizer.directory, parent);
        localizer.parentKnown = true;
    }
    return localizer.parent;
}

}  // namespace

Localizer::~Localizer()
{
    for (UDateFormat *format : dateFormats) {
        if (format != nullptr)
            udat_close(format);
    }
}

Localizer *localizerFor(ZelkLogLocalizerList &list, const char *directory, const char *locale)
{
    char buffer[ULOC_FULLNAME_CAPACITY];
    return findOrAdd(list, directory == nullptr ? std::string_view() : std::string_view(directory),
                     baseLocale(locale, buffer));
}

namespace {

// Whether `format` writes 64-bit integers exactly as std::to_chars does.  Grouping,
// native digits, significant digits, rounding, scaling, padding, exponents, affixes and
// a cap on the integer digits each change at least one of these values.
bool writesPlainIntegers(const icu::Format &format)
{
    static const int64_t probes[] = {0,
                                     1,
                                     7,
                                     -1,
                                     -7,
                                     10,
                                     45,
                                     100,
                                     999,
                                     1000,
                                     1234,
                                     12345,
                                     123456,
                                     1234567,
                                     -9876543,
                                     1000000000,
                                     9876543210,
                                     1234567890123456789,
                                     -1234567890123456789,
                                     INT64_MAX,
                                     INT64_MIN};
    for (int64_t probe : probes) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, probe).ptr;
        const icu::UnicodeString expected(digits, static_cast<int32_t>(end - digits),
                                          icu::UnicodeString::kInvariant);
        icu::UnicodeString written;
        UErrorCode status = U_ZERO_ERROR;
        format.format(icu::Formattable(probe), written, status);
        if (U_FAILURE(status) || written != expected)
            return false;
    }
    return true;
}

// Cuts the text of `entry` into pieces when every top-level argument is plain or of a
// simple type; leaves `pieces` empty otherwise (named arguments, choice, plural, select).
void makePieces(MessageEntry &entry)
{
    icu::UnicodeString pattern;
    entry.format->toPattern(pattern);
    UErrorCode status = U_ZERO_ERROR;
    icu::MessagePattern parsed(pattern, nullptr, status);
    if (U_FAILURE(status) || parsed.countParts() < 2)
        return;
    int32_t formatCount = 0;
    const icu::Format **formats = entry.format->getFormats(formatCount);
    std::vector<MessageEntry::Piece> pieces;
    MessageEntry::Piece piece;
    int32_t argumentIndex = 0;
    int32_t previous = parsed.getPart(0).getLimit();
    for (int32_t i = 1; i < parsed.countParts(); ++i) {
        const icu::MessagePattern::Part &part = parsed.getPart(i);
        const UMessagePatternPartType type = part.getType();
        pattern.tempSubStringBetween(previous, part.getIndex()).toUTF8String(piece.literal);
        if (type == UMSGPAT_PART_TYPE_MSG_LIMIT) {
            pieces.push_back(std::move(piece));
            entry.pieces = std::move(pieces);
            return;
        }
        previous = part.getLimit();
        if (type == UMSGPAT_PART_TYPE_SKIP_SYNTAX)
            continue;
        if (type != UMSGPAT_PART_TYPE_ARG_START || i + 1 >= parsed.countParts())
            return;
        const icu::MessagePattern::Part &number = parsed.getPart(i + 1);
        if (number.getType() != UMSGPAT_PART_TYPE_ARG_NUMBER)
            return;
        const icu::Format *format = argumentIndex < formatCount ? formats[argumentIndex] : nullptr;
        ++argumentIndex;
        const UMessagePatternArgType argType = part.getArgType();
        if (argType == UMSGPAT_ARG_TYPE_NONE) {
            if (format != nullptr)
                return;
        } else if (argType != UMSGPAT_ARG_TYPE_SIMPLE || format == nullptr ||
                   dynamic_cast<const icu::ChoiceFormat *>(format) != nullptr ||
                   dynamic_cast<const icu::PluralFormat *>(format) != nullptr ||
                   dynamic_cast<const icu::SelectFormat *>(format) != nullptr) {
            return;
        }
        piece.argument = number.getValue();
        piece.format = format;
        piece.plainIntegers = format != nullptr && writesPlainIntegers(*format);
        pieces.push_back(std::move(piece));
        piece = MessageEntry::Piece();
        i = parsed.getLimitPartIndex(i);
        previous = parsed.getPart(i).getLimit();
    }
}

}  // namespace

MessageEntry *messageEntryFor(ZelkLogLocalizerList &list, Localizer &localizer, uint64_t productId,
                              uint64_t messageId)
{
    const std::pair<uint64_t, uint64_t> key{productId, messageId};
    if (localizer.lastEntry != nullptr && localizer.lastKey == key)
        return localizer.lastEntry;
    auto cached = localizer.messageFormats.find(key);
    if (cached != localizer.messageFormats.end()) {
        localizer.lastKey = key;
        localizer.lastEntry = &cached->second;
        return &cached->second;
    }

    const std::string *pattern = nullptr;
    for (Localizer *step = &localizer; step != nullptr && pattern == nullptr; step = parentOf(list, *step)) {
        if (step->catalogue != nullptr)
            pattern = step->catalogue->find(productId, messageId);
    }
    MessageEntry entry;
    if (pattern != nullptr) {
        UErrorCode status = U_ZERO_ERROR;
        UParseError where;
        entry.format = std::make_unique<icu::MessageFormat>(
            icu::UnicodeString::fromUTF8(*pattern), icu::Locale(localizer.locale.c_str()), where, status);
        if (U_FAILURE(status))
            entry.format.reset();  // a broken text is treated as no text
        else
            makePieces(entry);
    }
    MessageEntry *made = &localizer.messageFormats.emplace(key, std::move(entry)).first->second;
    localizer.lastKey = key;
    localizer.lastEntry = made;
    return made;
}

icu::MessageFormat *messageFormatFor(ZelkLogLocalizerList &list, Localizer &localizer, uint64_t productId,
                                     uint64_t messageId)
{
    return messageEntryFor(list, localizer, productId, messageId)->format.get();
}

const icu::NumberFormat *defaultNumberFormat(Localizer &localizer)
{
    if (localizer.numberFormat == nullptr) {
        UErrorCode status = U_ZERO_ERROR;
        localizer.numberFormat.reset(
            icu::NumberFormat::createInstance(icu::Locale(localizer.locale.c_str()), status));
        if (U_FAILURE(status))
            localizer.numberFormat.reset();
    }
    return localizer.numberFormat.get();
}

UDateFormat *dateFormatFor(Localizer &localizer, bool milliseconds)
{
    UDateFormat *&slot = localizer.dateFormats[milliseconds ? 1 : 0];
    if (slot != nullptr)
        return slot;
    UErrorCode status = U_ZERO_ERROR;
    const UChar zone[] = {u'G', u'M', u'T', 0};
    UDateFormat *format =
        udat_open(UDAT_MEDIUM, UDAT_MEDIUM, localizer.locale.c_str(), zone, 3, nullptr, -1, &status);
    if (U_SUCCESS(status) && milliseconds) {
        // The locale's own pattern with fractions after the seconds field.
        UChar pattern[128];
        int32_t length = udat_toPattern(format, false, pattern, 128, &status);
        if (U_SUCCESS(status) && length < 120) {
            icu::UnicodeString text(pattern, length);
            int32_t seconds = text.indexOf(icu::UnicodeString(u"ss"));
            if (seconds >= 0) {
                text.insert(seconds + 2, icu::UnicodeString(u".SSS"));
                udat_applyPattern(format, false, text.getBuffer(), text.length());
            }
        }
    }
    if (U_FAILURE(status)) {
        if (format != nullptr)
            udat_close(format);
        return nullptr;
    }
    slot = format;
    return slot;
}

}  // namespace zelk::core

extern "C" {

ZELKLOG_API void InitializeLocalizerList(ZelkLogLocalizerList *list)
{
    if (list == nullptr)
        return;
    list->first = nullptr;
    list->count = 0;
}

ZELKLOG_API void RemoveAllLocalizers(ZelkLogLocalizerList *list)
{
    if (list == nullptr)
        return;
    auto *entry = static_cast<zelk::core::Localizer *>(list->first);
    while (entry != nullptr) {
        auto *next = entry->next;
        delete entry;
        entry = next;
    }
    list->first = nullptr;
    list->count = 0;
}

}  // extern "C"
