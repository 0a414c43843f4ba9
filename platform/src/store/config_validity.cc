// Validity of product ids, originator ids and logset names.
#include "src/core/zelkLogCore.h"

#include <cstring>

namespace {
constexpr uint64_t kLargestProductId = 999999999999999ull;  // 15 decimal digits
constexpr size_t kLongestLogSet = 400;
}  // namespace

extern "C" {

ZELKLOG_API int isProdIdValid(uint64_t productId)
{
    return productId != 0 && productId <= kLargestProductId;
}

ZELKLOG_API int isOrigIdValid(uint64_t originatorId)
{
    return originatorId != 0;
}

// 1..400 characters, none of them a control character, so that "LOGSET.<name>" is a
// one-line section name.
ZELKLOG_API int isLogSetValid(const char *logset)
{
    if (logset == nullptr)
        return 0;
    size_t length = strnlen(logset, kLongestLogSet + 1);
    if (length == 0 || length > kLongestLogSet)
        return 0;
    for (size_t i = 0; i < length; ++i) {
        auto c = static_cast<unsigned char>(logset[i]);
        if (c < 0x20 || c == 0x7f)
            return 0;
    }
    return 1;
}

}  // extern "C"
