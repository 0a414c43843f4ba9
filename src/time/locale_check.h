// Locale identifiers coming from callers.  ICU marks some identifiers bogus (an
// over-long language, an empty keyword value, ...), and its date formatter does not
// survive being opened with one: every entry point that takes a locale checks it here
// before handing it to ICU.
#ifndef ZELKLOG_TIME_LOCALE_CHECK_H
#define ZELKLOG_TIME_LOCALE_CHECK_H

namespace zelk::time {

// True for null (ICU's default locale) and for every identifier ICU can work with.
bool usableLocale(const char *locale);

}  // namespace zelk::time

#endif
