// Where the logging configuration lives: the global store and each product's own store.
#include "store_file.h"
#include "zelkLogConfigLayout.h"
#include "zelkLogCore.h"
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
ZELKLOG_API uint32_t GetProductCfgPath(const char *globalLocation, uint64_t productId, char **path)
{
    if (path == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    *path = nullptr;
    if (globalLocation == nullptr)
        globalLocation = GetZelkLogCfgLoc();
    try {
        std::shared_ptr<const zelk::store::StoreData> data;
        uint32_t code = zelk::store::loadShared(globalLocation, data);
        if (code != 0)
            return code;
        const zelk::store::Section *product = data->find(std::to_string(productId));
        const std::string *storePath = product == nullptr ? nullptr : product->get(ZELKLOG_CFG_CONFIG_PATH);
        if (storePath == nullptr)
            return UTI_PS_NO_STORE;
        *path = zelkLogSafeStrdup(storePath->c_str());
        return *path == nullptr ? UTI_PS_NO_MEMORY : 0;
    } catch (const std::bad_alloc &) {
        return UTI_PS_NO_MEMORY;
    }
}

}  // extern "C"
