// Log files that belong to a logset carry its identifier and name in their file name:
//     "ls-" <16 hexadecimal digits> "-" <name: 1..135 bytes, no "/" or "."> [ "." ... ]
#include "src/core/zelkLogCore.h"
#include "zelkLogWriter.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char kPrefix[] = "ls-";
constexpr size_t kPrefixLength = sizeof kPrefix - 1;
constexpr size_t kIdDigits = 16;

bool isHex(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

}  // namespace

extern "C" {

// id out; name: 136 characters; scratch: 17 characters (the identifier's digits).
// 1 with both filled when the name has the pattern above and a non-zero identifier;
// else 0 with id 0 and an empty name.
ZELKLOG_API int getSLidfromfilename(const char *fileName, uint64_t *id, char *name, char *scratch)
{
    if (id != nullptr)
        *id = 0;
    if (name != nullptr)
        name[0] = '\0';
    if (fileName == nullptr || id == nullptr || name == nullptr || scratch == nullptr)
        return 0;
    if (std::strncmp(fileName, kPrefix, kPrefixLength) != 0)
        return 0;
    const char *digits = fileName + kPrefixLength;
    for (size_t i = 0; i < kIdDigits; ++i) {
        if (!isHex(digits[i]))
            return 0;
    }
    if (digits[kIdDigits] != '-')
        return 0;
    const char *start = digits + kIdDigits + 1;
    size_t length = std::strcspn(start, "./");
    if (length == 0 || length > ZELKLOG_MAX_LOGSET_NAME || start[length] == '/')
        return 0;
    std::memcpy(scratch, digits, kIdDigits);
    scratch[kIdDigits] = '\0';
    uint64_t value = std::strtoull(scratch, nullptr, 16);
    if (value == 0)
        return 0;
    std::memcpy(name, start, length);
    name[length] = '\0';
    *id = value;
    return 1;
}

ZELKLOG_API uint32_t zelkLogMakeLogSetFileName(uint64_t logsetId, const char *logsetName, const char *suffix,
                                               char *out, size_t capacity)
{
    if (out != nullptr && capacity > 0)
        out[0] = '\0';
    if (logsetId == 0 || logsetName == nullptr || out == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    size_t length = std::strlen(logsetName);
    if (length == 0 || length > ZELKLOG_MAX_LOGSET_NAME || std::strcspn(logsetName, "./") != length)
        return ZELKLOG_RC_BAD_ARGUMENT;
    if (suffix == nullptr)
        suffix = "";
    if (*suffix != '\0' && (*suffix != '.' || std::strchr(suffix, '/') != nullptr))
        return ZELKLOG_RC_BAD_ARGUMENT;
    int written =
        std::snprintf(out, capacity, "%s%016" PRIx64 "-%s%s", kPrefix, logsetId, logsetName, suffix);
    if (written < 0 || size_t(written) >= capacity) {
        if (capacity > 0)
            out[0] = '\0';
        return ZELKLOG_RC_BAD_ARGUMENT;
    }
    return ZELKLOG_RC_OK;
}

}  // extern "C"
