#include "src/time/locale_check.h"

#include <unicode/locid.h>

namespace zelk::time {

bool usableLocale(const char *locale)
{
    return locale == nullptr || !icu::Locale(locale).isBogus();
}

}  // namespace zelk::time
