// Copy of a zero-terminated wide string with the logging core's allocator.
#include "zelkLogRead.h"

#include <cstring>
#include <cwchar>

extern "C" {

ZELKLOG_API wchar_t *zelkLogSafeWcsdup(const wchar_t *text)
{
    if (text == nullptr)
        return nullptr;
    const size_t count = std::wcslen(text) + 1;
    auto *copy = static_cast<wchar_t *>(zelkLogMalloc(count * sizeof(wchar_t)));
    if (copy != nullptr)
        std::memcpy(copy, text, count * sizeof(wchar_t));
    return copy;
}

}  // extern "C"
