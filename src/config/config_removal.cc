// Removing configuration: a whole product, one originator's section, one logset's
// section.  The originator and logset removals hold the common lock from before the
// path lookup until the store is closed and the path released; every return after the
// lock was taken passes through its release.
#include "zelkLogConfigLayout.h"
#include "src/core/zelkLogCore.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

// Opens the store at location (none when null or empty) and removes one section from it.
// The outcome is a store code; UTI_PS_OPEN_FAILED when the store could not be opened.
uint32_t removeSection(const char *location, const char *section)
{
    uint32_t storeRc = UTI_PS_OPEN_FAILED;
    UtiPropertyStore store{};
    if (location != nullptr && *location != '\0' &&
        utiOpenPropertyStore(location, ZELKLOG_CFG_TOP, &store, 0) == UTI_PS_OK)
        storeRc = utiRemovePropertyRoot(&store, section);
    utiClosePropertyStore(&store);
    return storeRc;
}

uint32_t removeOriginator(uint64_t productId, uint64_t originatorId)
{
    char section[24];
    if (originatorId == ZELKLOG_DEFAULT_ORIGINATOR)
        std::snprintf(section, sizeof section, "%s", ZELKLOG_CFG_DEFAULT_SECTION);
    else
        std::snprintf(section, sizeof section, "%" PRIu64, originatorId);
    char *path = nullptr;
    uint32_t storeRc = GetProductCfgPath(GetZelkLogCfgLoc(), productId, &path);
    uint32_t rc = storeRc == UTI_PS_NO_STORE ? ZELKLOG_RC_STORE_UNAVAILABLE
                                             : utipsres2zelklogres(removeSection(path, section));
    zelkLogFree(path);
    return rc;
}

uint32_t removeLogSet(uint64_t productId, const char *logset)
{
    char *path = nullptr;
    uint32_t storeRc = GetProductCfgPath(GetZelkLogCfgLoc(), productId, &path);
    uint32_t rc;
    if (storeRc == UTI_PS_NO_STORE) {
        rc = ZELKLOG_RC_STORE_UNAVAILABLE;
    } else if (path != nullptr && std::strstr(path, ".conf") != nullptr) {
        // Flat form: "LOGSET.<name>" in the product's store itself.
        char section[8 + 400 + 1];
        int length = std::snprintf(section, sizeof section, "%s%s", ZELKLOG_CFG_LOGSET_PREFIX, logset);
        rc = length < 0 || static_cast<size_t>(length) >= sizeof section
                 ? ZELKLOG_RC_BAD_ARGUMENT
                 : utipsres2zelklogres(removeSection(path, section));
    } else if (path != nullptr && *path != '\0') {
        // Nested form: section "<name>" in the store at "<path>\LOGSET".  An empty path
        // counts as none: "\LOGSET" alone would name a store in the working directory.
        size_t length = std::strlen(path);
        size_t suffix = std::strlen(ZELKLOG_CFG_LOGSET_STORE_SUFFIX);
        auto *location = static_cast<char *>(zelkLogMalloc(length + suffix + 2));
        if (location == nullptr) {
            rc = ZELKLOG_RC_NO_MEMORY;
        } else {
            std::memcpy(location, path, length);
            std::memcpy(location + length, ZELKLOG_CFG_LOGSET_STORE_SUFFIX, suffix + 1);
            rc = utipsres2zelklogres(removeSection(location, logset));
            zelkLogFree(location);
        }
    } else {
        rc = utipsres2zelklogres(removeSection(nullptr, logset));
    }
    zelkLogFree(path);
    return rc;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t zelkLogRemoveProductAllCfg(uint64_t productId)
{
    if (!isProdIdValid(productId))
        return ZELKLOG_RC_BAD_ARGUMENT;
    char section[24];
    std::snprintf(section, sizeof section, "%" PRIu64, productId);
    const char *global = GetZelkLogCfgLoc();
    char *path = nullptr;
    if (GetProductCfgPath(global, productId, &path) != UTI_PS_OK) {
        zelkLogFree(path);
        return ZELKLOG_RC_STORE_UNAVAILABLE;
    }
    uint32_t storeRc = UTI_PS_NO_STORE;
    UtiPropertyStore store{};
    if (utiOpenPropertyStore(global, section, &store, UTI_PS_OPEN_PRODUCT_REMOVAL) == UTI_PS_OK) {
        if (zelkLogRemoveProductCfg(productId) == ZELKLOG_RC_OK)
            storeRc = utiRemovePropertyRoot(&store, path != nullptr ? path : "");
        utiClosePropertyStore(&store);
    }
    zelkLogFree(path);
    return utipsres2zelklogres(storeRc);
}

ZELKLOG_API uint32_t zelkLogRemoveCfg(uint64_t productId, uint64_t originatorId)
{
    if (!isProdIdValid(productId) || !isOrigIdValid(originatorId))
        return ZELKLOG_RC_BAD_ARGUMENT;
    zelkLockCommon("zelkLogRemoveCfg()");
    uint32_t rc = removeOriginator(productId, originatorId);
    zelkUnlockCommon("zelkLogRemoveCfg()");
    return rc;
}

ZELKLOG_API uint32_t zelkLogRemoveLogSetCfg(uint64_t productId, const char *logset)
{
    if (!isProdIdValid(productId) || !isLogSetValid(logset))
        return ZELKLOG_RC_BAD_ARGUMENT;
    zelkLockCommon("zelkLogRemoveLogSetCfg()");
    uint32_t rc = removeLogSet(productId, logset);
    zelkUnlockCommon("zelkLogRemoveLogSetCfg()");
    return rc;
}

}  // extern "C"
