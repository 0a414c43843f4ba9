// zelkLogGetIdFromName: a numeric name is its own id; any other name is looked up in
// the configuration records of all products.
#include "zelkLogConfigLayout.h"
#include "src/core/zelkLogCore.h"

#include <cstdlib>

extern "C" ZELKLOG_API int64_t zelkLogGetIdFromName(const char *name, uint32_t kind)
{
    if (name == nullptr)
        return -1;
    if (*name == '\0')
        return 0;
    char *end = nullptr;
    long number = std::strtol(name, &end, 0);
    if (end != name && *end == '\0')
        return number;

    ZelkLogProductCfg *records[ZELKLOG_MAX_PRODUCTS] = {};
    uint64_t count = 0;
    uint32_t rc = zelkLogReadAllCfg(0, ZELKLOG_MAX_PRODUCTS, records, &count);
    if (rc != ZELKLOG_RC_OK && count == 0) {
        FreeConfigArray(records, count);
        return -1;  // no configuration at all: the name cannot be known
    }
    uint64_t id = GetIdFromName(records, count, kind, name);
    FreeConfigArray(records, count);
    return id == 0 ? -1 : static_cast<int64_t>(id);
}
