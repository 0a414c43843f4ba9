// Storage of the logging core: everything the read library hands out comes from here.
#include "src/core/zelkLogCore.h"

#include <cstdlib>
#include <cstring>

extern "C" {

ZELKLOG_API void *zelkLogMalloc(size_t size)
{
    return std::malloc(size == 0 ? 1 : size);
}

ZELKLOG_API void zelkLogFree(void *storage)
{
    std::free(storage);
}

ZELKLOG_API char *zelkLogSafeStrdup(const char *text)
{
    if (text == nullptr)
        return nullptr;
    size_t length = std::strlen(text) + 1;
    char *copy = static_cast<char *>(std::malloc(length));
    if (copy != nullptr)
        std::memcpy(copy, text, length);
    return copy;
}

}  // extern "C"
