// Construction and release of product configuration records.
#include "platform/src/store/product_config.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace zelk::core {

ZelkLogProductCfg *newProductConfig(ProductData data, const std::string &logDirectory,
                                    const char *formatResource)
{
    auto *record = static_cast<ZelkLogProductCfg *>(zelkLogMalloc(sizeof(ZelkLogProductCfg)));
    if (record == nullptr)
        return nullptr;
    std::memset(record, 0, sizeof *record);
    // Keep room for the added "/" and the terminator.
    size_t length = std::min(logDirectory.size(), sizeof record->logDirectory - 2);
    std::memcpy(record->logDirectory, logDirectory.data(), length);
    if (length > 0 && record->logDirectory[length - 1] != '/')
        record->logDirectory[length] = '/';
    if (formatResource != nullptr) {
        record->formatResource = zelkLogSafeStrdup(formatResource);
        if (record->formatResource == nullptr) {
            zelkLogFree(record);
            return nullptr;
        }
    }
    record->coreData = new (std::nothrow) ProductData(std::move(data));
    if (record->coreData == nullptr) {
        zelkLogFree(record->formatResource);
        zelkLogFree(record);
        return nullptr;
    }
    return record;
}

void freeProductConfig(ZelkLogProductCfg *record)
{
    if (record == nullptr)
        return;
    delete static_cast<ProductData *>(record->coreData);
    zelkLogFree(record->formatResource);
    zelkLogFree(record);
}

}  // namespace zelk::core
