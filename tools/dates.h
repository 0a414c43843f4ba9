// Times given on the command line (--since, --until, zelklog date) and the date helpers
// of the library.
#ifndef ZELKLOG_TOOL_DATES_H
#define ZELKLOG_TOOL_DATES_H

#include <cstdint>
#include <string>

namespace zelktool {

// Seconds since 1970 of a time argument: "now", "today", "yesterday", "@SECONDS", a
// relative form "2h", "30m", "45s", "3d", "1w" (that long ago, "ago" allowed after it),
// "YYYY-MM-DD[ HH:MM[:SS]]" in local time, or a date text in the locale (ICU medium time
// and short date, the form the filter language reads).  Throws ToolError (usage) naming
// `option` when the text is none of these.
int64_t parseTimeArgument(const std::string &option, const std::string &text, const std::string &locale);

// A time-zone offset "+02:00", "-5:30", "+2" (hours) or "3600s": signed seconds.
int64_t parseZoneOffset(const std::string &text);

// The library's formatting of `seconds` (0: now) in ICU styles and locale, as UTF-8.
std::string formatTime(double seconds, int timeStyle, int dateStyle, const std::string &locale);

// Parses a date text with the library (ICU styles, locale): seconds, or throws ToolError.
int64_t parseDateText(const std::string &text, int timeStyle, int dateStyle, const std::string &locale);

// An ICU style word (full, long, medium, short, none) or number as the style code.
int styleCode(const std::string &word);

}  // namespace zelktool

#endif
