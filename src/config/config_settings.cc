// Settings kept in the stores: the JVM path and the tools resource directory (global
// store) and a product's non-OID settings (the product's own store).  None of these
// takes the common lock: the store serialises its writers itself.
#include "zelkLogConfigLayout.h"
#include "src/core/zelkLogCore.h"

namespace {

enum class JvmStep { Get, Set, Remove };

uint32_t jvmPath(JvmStep step, const char *value, char **out)
{
    UtiPropertyStore store{};
    if (CreatePropertyString(GetZelkLogCfgLoc(), ZELKLOG_CFG_TOP, &store) != UTI_PS_OK)
        return ZELKLOG_RC_STORE_UNAVAILABLE;
    uint32_t storeRc = step == JvmStep::Get   ? utiGetPropertyAsStr(&store, ZELKLOG_CFG_JVM_PATH, out)
                       : step == JvmStep::Set ? utiSetPropertyAsStr(&store, ZELKLOG_CFG_JVM_PATH, value)
                                              : utiRemoveProperty(&store, ZELKLOG_CFG_JVM_PATH);
    utiClosePropertyStore(&store);
    return storeRc == UTI_PS_OK ? ZELKLOG_RC_OK : utipsres2zelklogres(storeRc);
}

// Sets (value non-null) or removes one property at the top of the product's store.
uint32_t nonOidSetting(uint64_t productId, const char *name, const char *value)
{
    char *path = nullptr;
    uint32_t rc = GetProductCfgPath(GetZelkLogCfgLoc(), productId, &path);
    if (rc == UTI_PS_OK && (path == nullptr || *path == '\0')) {
        rc = ZELKLOG_RC_STORE_UNAVAILABLE;
    } else if (rc == UTI_PS_OK) {
        UtiPropertyStore store{};
        if (CreatePropertyString(path, ZELKLOG_CFG_TOP, &store) != UTI_PS_OK) {
            rc = utipsres2zelklogres(UTI_PS_NO_STORE);
        } else {
            uint32_t storeRc =
                value != nullptr ? utiSetPropertyAsStr(&store, name, value) : utiRemoveProperty(&store, name);
            utiClosePropertyStore(&store);
            rc = storeRc == UTI_PS_OK ? ZELKLOG_RC_OK : utipsres2zelklogres(storeRc);
        }
    }
    zelkLogFree(path);
    return rc;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t zelkLogGetJVMPathSetting(char **path)
{
    if (path == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    *path = nullptr;
    return jvmPath(JvmStep::Get, nullptr, path);
}

ZELKLOG_API uint32_t zelkLogAddJVMPathSetting(const char *path)
{
    if (path == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    return jvmPath(JvmStep::Set, path, nullptr);
}

ZELKLOG_API uint32_t zelkLogRemoveJVMPathSetting(void)
{
    return jvmPath(JvmStep::Remove, nullptr, nullptr);
}

ZELKLOG_API uint32_t zelkLogCfgSetToolsResDir(const char *dir)
{
    if (dir == nullptr || *dir == '\0')
        return ZELKLOG_RC_BAD_ARGUMENT;
    UtiPropertyStore store{};
    if (CreatePropertyString(GetZelkLogCfgLoc(), ZELKLOG_CFG_TOOLS_SECTION, &store) != UTI_PS_OK)
        return ZELKLOG_RC_STORE_UNAVAILABLE;
    uint32_t storeRc = utiSetPropertyAsStr(&store, ZELKLOG_CFG_TOOLS_RES_DIR, dir);
    utiClosePropertyStore(&store);
    if (storeRc == UTI_PS_OK)
        return ZELKLOG_RC_OK;
    return storeRc == UTI_PS_DENIED ? ZELKLOG_RC_STORE_DENIED : ZELKLOG_RC_STORE_UNAVAILABLE;
}

ZELKLOG_API uint32_t zelkLogCfgRemoveToolsResDir(void)
{
    UtiPropertyStore store{};
    if (CreatePropertyString(GetZelkLogCfgLoc(), ZELKLOG_CFG_TOP, &store) != UTI_PS_OK)
        return ZELKLOG_RC_STORE_UNAVAILABLE;
    uint32_t storeRc = utiRemovePropertyRoot(&store, ZELKLOG_CFG_TOOLS_SECTION);
    utiClosePropertyStore(&store);
    if (storeRc == UTI_PS_OK)
        return ZELKLOG_RC_OK;
    return storeRc == UTI_PS_DENIED ? ZELKLOG_RC_STORE_DENIED : ZELKLOG_RC_FAILURE;
}

ZELKLOG_API uint32_t zelkLogRemoveNonOIDSetting(uint64_t productId, const char *name)
{
    if (name == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    return nonOidSetting(productId, name, nullptr);
}

ZELKLOG_API uint32_t zelkLogAddNonOIDSetting(uint64_t productId, const char *name, const char *value)
{
    if (name == nullptr || value == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    zelkLogRemoveNonOIDSetting(productId, name);  // an existing value is replaced
    return nonOidSetting(productId, name, value);
}

}  // extern "C"
