// The logging core's part of removing a product: its own store and its nested logset
// store go.  The product's section of the global store stays; removing it is the
// property store's step that follows (utiRemovePropertyRoot on a product handle).
#include "platform/src/store/store_file.h"
#include "zelkLogConfigLayout.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <memory>
#include <new>
#include <string>

extern "C" {

// 0 when removed (also when the product has no store file any more); 3 for an invalid
// id; otherwise the library code of the store failure (6 when the product is not
// configured), and the product keeps its configuration.
ZELKLOG_API uint32_t zelkLogRemoveProductCfg(uint64_t productId)
{
    if (!isProdIdValid(productId))
        return ZELKLOG_RC_BAD_ARGUMENT;
    try {
        char *path = nullptr;
        uint32_t rc = GetProductCfgPath(GetZelkLogCfgLoc(), productId, &path);
        if (rc != UTI_PS_OK)
            return utipsres2zelklogres(rc);
        // Owned before the copy, which may throw, so that the path is released either way.
        std::unique_ptr<char, void (*)(void *)> owned(path, zelkLogFree);
        std::string storePath = owned.get();
        owned.reset();
        if (storePath.empty())
            return 0;
        rc = zelk::store::deleteStore(storePath);
        if (rc == UTI_PS_OK)
            rc = zelk::store::deleteStore(storePath + ZELKLOG_CFG_LOGSET_STORE_SUFFIX);
        return utipsres2zelklogres(rc);
    } catch (const std::bad_alloc &) {
        return ZELKLOG_RC_NO_MEMORY;
    }
}

}  // extern "C"
