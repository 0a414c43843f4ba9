// The localiser list: catalogue loading with locale fallback, and formatter caches.
#include "platform/src/format/localizer_list.h"

#include <unicode/uloc.h>
#include <unicode/ustring.h>

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

icu::MessageFormat *messageFormatFor(ZelkLogLocalizerList &list, Localizer &localizer, uint64_t productId,
                                     uint64_t messageId)
{
    const std::pair<uint64_t, uint64_t> key{productId, messageId};
    auto cached = localizer.messageFormats.find(key);
    if (cached != localizer.messageFormats.end())
        return cached->second.get();

    const std::string *pattern = nullptr;
    for (Localizer *step = &localizer; step != nullptr && pattern == nullptr; step = parentOf(list, *step)) {
        if (step->catalogue != nullptr)
            pattern = step->catalogue->find(productId, messageId);
    }
    std::unique_ptr<icu::MessageFormat> format;
    if (pattern != nullptr) {
        UErrorCode status = U_ZERO_ERROR;
        UParseError where;
        format = std::make_unique<icu::MessageFormat>(icu::UnicodeString::fromUTF8(*pattern),
                                                      icu::Locale(localizer.locale.c_str()), where, status);
        if (U_FAILURE(status))
            format.reset();  // a broken text is treated as no text
    }
    icu::MessageFormat *result = format.get();
    localizer.messageFormats.emplace(key, std::move(format));
    return result;
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
