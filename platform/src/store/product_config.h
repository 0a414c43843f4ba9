// The logging core's own part of a product configuration record (ZelkLogProductCfg::coreData):
// what GetIdFromName answers from, and what the configuration reader fills from the stores.
#ifndef PLATFORM_SRC_STORE_PRODUCT_CONFIG_H_
#define PLATFORM_SRC_STORE_PRODUCT_CONFIG_H_

#include "src/core/zelkLogCore.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelk::core {

// One originator of a product (a section of the product's store).
struct OriginatorConfig {
    uint64_t id = 0;                     // 112 for the "Default" section
    std::vector<std::string> names;      // "Names": names that resolve to `id` (ORGID)
    uint64_t fileId = 0;                 // "FileId": the file id of this originator's log files
    std::vector<std::string> fileNames;  // "FileNames": names that resolve to `fileId` (FILEID)
};

// One product (a section of the global store, plus its own store).
struct ProductData {
    uint64_t productId = 0;
    std::vector<std::string> names;  // "Names": names that resolve to `productId` (PRODID)
    std::string storePath;           // "ConfigPath": location of the product's own store
    std::vector<OriginatorConfig> originators;
};

// Allocates a record with zelkLogMalloc semantics (released by FreeConfigArray/freeProductConfig).
// logDirectory gets a trailing "/" when it lacks one; the reader refuses one that does
// not fit the buffer (a longer one would be cut).
ZelkLogProductCfg *newProductConfig(ProductData data, const std::string &logDirectory,
                                    const char *formatResource);
void freeProductConfig(ZelkLogProductCfg *record);

inline const ProductData *productData(const ZelkLogProductCfg *record)
{
    return record == nullptr ? nullptr : static_cast<const ProductData *>(record->coreData);
}

}  // namespace zelk::core

#endif  // PLATFORM_SRC_STORE_PRODUCT_CONFIG_H_
