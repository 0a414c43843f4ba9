// Where the logging configuration lives: the global store and each product's own store.
#include "platform/src/store/store_file.h"
#include "zelkLogConfigLayout.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <string>

extern "C" {

ZELKLOG_API const char *GetZelkLogCfgLoc(void)
{
    const char *location = std::getenv(ZELKLOG_CONFIG_ENV);
    return location != nullptr && *location != '\0' ? location : ZELKLOG_DEFAULT_CONFIG;
}

// The product's "ConfigPath" in the global store (an empty value is handed out as is).
// The library hands a failure code of this call to its own callers unchanged, so the
// answers are 0, UTI_PS_NO_MEMORY, or UTI_PS_NO_STORE for every global store that
// cannot be used (missing, unreadable or garbled) and every product without a store;
// a store's own codes such as UTI_PS_CORRUPT (9) would read there as other results.
ZELKLOG_API uint32_t GetProductCfgPath(const char *globalLocation, uint64_t productId, char **path)
{
    if (path == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    *path = nullptr;
    if (globalLocation == nullptr)
        globalLocation = GetZelkLogCfgLoc();
    try {
        std::shared_ptr<const zelk::store::StoreData> data;
        uint32_t rc = zelk::store::loadShared(globalLocation, data);
        if (rc != UTI_PS_OK)
            return rc == UTI_PS_NO_MEMORY ? rc : UTI_PS_NO_STORE;
        const zelk::store::Section *product = data->find(std::to_string(productId));
        const std::string *storePath = product == nullptr ? nullptr : product->get(ZELKLOG_CFG_CONFIG_PATH);
        if (storePath == nullptr)
            return UTI_PS_NO_STORE;
        *path = zelkLogSafeStrdup(storePath->c_str());
        return *path == nullptr ? UTI_PS_NO_MEMORY : UTI_PS_OK;
    } catch (const std::bad_alloc &) {
        return UTI_PS_NO_MEMORY;
    }
}

}  // extern "C"
