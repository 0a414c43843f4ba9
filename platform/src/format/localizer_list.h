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
#include <unicode/numfmt.h>
#include <unicode/udat.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zelk::core {

// The date text of the last second formatted in one style: a thousand consecutive
// records share one second, and formatting a date is the dearest part of a line.
struct DateCache {
    int64_t second = 0;
    bool valid = false;
    // The zone settings the text was made under: a tzset() with another zone starts anew.
    long zoneOffset = 0;
    int zoneDaylight = 0;
    const char *zoneNames[2] = {nullptr, nullptr};
    std::string text;    // whole text; with milliseconds: the part before the digits
    std::string suffix;  // with milliseconds: the part after the digits
    UChar32 zero = 0;    // with milliseconds: the locale's digit zero; 0: format in full
    // With milliseconds, whether the formatter writes digits as zero + d (known once per
    // formatter): 0 not yet known, 1 yes (zeroDigit), -1 no.
    int digits = 0;
    UChar32 zeroDigit = 0;
};

// A catalogue text ready to format.  A text whose top-level arguments are all plain
// ({0}) or of a simple type ({1,number,#}) is also kept as pieces, so that a record can
// be written straight into UTF-8: `literal`, then argument `argument` (-1 after the last
// literal) through `format` (null: the argument as it is, numbers in the locale's
// default number format) - the same steps ICU's formatter takes for such a text.
// `plainIntegers`: `format` is known to write every 64-bit integer as plain ASCII
// decimal digits with a leading "-" (as "{1,number,#}" does in most locales), so an
// integer argument is written without ICU.
struct MessageEntry {
    struct Piece {
        std::string literal;
        int32_t argument = -1;
        const icu::Format *format = nullptr;
        bool plainIntegers = false;
    };
    std::unique_ptr<icu::MessageFormat> format;  // null when no catalogue has a usable text
    std::vector<Piece> pieces;                   // empty: format through ICU only
};

struct Localizer {
    Localizer *next = nullptr;
    std::string directory;                        // empty: no catalogues
    std::string locale;                           // ICU base name, "root" for the root locale
    std::unique_ptr<MessageCatalogue> catalogue;  // null when the locale has no file
    Localizer *parent = nullptr;                  // next locale of the chain, null after root
    bool parentKnown = false;
    UDateFormat *dateFormats[2] = {nullptr, nullptr};  // [with milliseconds]
    DateCache dates[2];                                // [with milliseconds]
    // The answer of the last localizerFor() that found this entry at the head of the
    // list, by the locale id and directory asked for (every record asks the same).
    std::string lastLocaleId;
    std::string lastDirectory;
    Localizer *lastFound = nullptr;
    // Message formatters by (product, message id); null for ids without a usable text.
    std::map<std::pair<uint64_t, uint64_t>, MessageEntry> messageFormats;
    // The entry found last (records in a row mostly share their message); entries of the
    // map stay where they are until the localiser goes.
    std::pair<uint64_t, uint64_t> lastKey{0, 0};
    MessageEntry *lastEntry = nullptr;
    std::unique_ptr<icu::NumberFormat> numberFormat;  // the locale's default, made on first use

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

// The same as an entry with its pieces (never null).
MessageEntry *messageEntryFor(ZelkLogLocalizerList &list, Localizer &localizer, uint64_t productId,
                              uint64_t messageId);

// The locale's default number format, as ICU's message formatter uses for a plain
// argument that is a number; null when ICU cannot make one.
const icu::NumberFormat *defaultNumberFormat(Localizer &localizer);

// ICU's medium date and time formatter of the locale, in the zone GMT (the caller
// shifts instants to local time); null when ICU cannot make one.
UDateFormat *dateFormatFor(Localizer &localizer, bool milliseconds);

}  // namespace zelk::core

#endif  // PLATFORM_SRC_FORMAT_LOCALIZER_LIST_H_
