// The localiser list of a query: loaded message catalogues and ready formatters, per
// catalogue directory and locale, kept for the life of the query.
//
// ZelkLogLocalizerList::first points to the first Localizer of a singly linked list and
// `count` is the number of entries; the all-zero list is empty.  A Localizer stands for
// one (directory, locale) pair: the catalogue file of that locale, the next locale of
// the fallback chain (de_AT -> de -> root), and for the locale asked for, the date
// formatter and the message formatters built so far.
#ifndef PLATFORM_SRC_FORMAT_LOCALIZER_LIST_H_
#define PLATFORM_SRC_FORMAT_LOCALIZER_LIST_H_

#include "platform/src/format/message_catalog.h"
#include "src/core/zelkLogCore.h"

#include <unicode/msgfmt.h>
#include <unicode/udat.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace zelk::core {

struct Localizer {
    Localizer *next = nullptr;
    std::string directory;                        // empty: no catalogues
    std::string locale;                           // ICU base name, "root" for the root locale
    std::unique_ptr<MessageCatalogue> catalogue;  // null when the locale has no file
    Localizer *parent = nullptr;                  // next locale of the chain, null after root
    bool parentKnown = false;
    UDateFormat *dateFormats[2] = {nullptr, nullptr};  // [with milliseconds]
    // Message formatters by (product, message id); null for ids without a usable text.
    std::map<std::pair<uint64_t, uint64_t>, std::unique_ptr<icu::MessageFormat>> messageFormats;

    Localizer() = default;
    Localizer(const Localizer &) = delete;
    Localizer &operator=(const Localizer &) = delete;
    ~Localizer();
};

// The entry for `directory` (may be null or empty) and `locale` (an ICU locale id; null
// means ICU's default), created and its catalogue loaded on first use.  Throws
// std::bad_alloc only.
Localizer *localizerFor(ZelkLogLocalizerList &list, const char *directory, const char *locale);

// The formatter of a message in the localiser's locale, with its text from the first
// locale of the chain that has one; null when no catalogue has a usable text.
icu::MessageFormat *messageFormatFor(ZelkLogLocalizerList &list, Localizer &localizer, uint64_t productId,
                                     uint64_t messageId);

// ICU's medium date and time formatter of the locale, in the zone GMT (the caller
// shifts instants to local time); null when ICU cannot make one.
UDateFormat *dateFormatFor(Localizer &localizer, bool milliseconds);

}  // namespace zelk::core

#endif  // PLATFORM_SRC_FORMAT_LOCALIZER_LIST_H_
