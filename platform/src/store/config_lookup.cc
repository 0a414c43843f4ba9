// Name lookup over the configuration records.  Names compare without regard to ASCII
// case ("Billing" finds "billing"); the first record in array order that knows the name
// wins.
#include "platform/src/store/product_config.h"

#include <strings.h>

namespace {

bool knows(const std::vector<std::string> &names, const char *name)
{
    for (const std::string &candidate : names)
        if (strcasecmp(candidate.c_str(), name) == 0)
            return true;
    return false;
}

}  // namespace

extern "C" {

ZELKLOG_API uint64_t GetIdFromName(ZelkLogProductCfg **array, uint64_t count, uint32_t fieldCode,
                                   const char *name)
{
    if (array == nullptr || name == nullptr || *name == '\0')
        return 0;
    for (uint64_t i = 0; i < count; ++i) {
        const zelk::core::ProductData *product = zelk::core::productData(array[i]);
        if (product == nullptr)
            continue;
        switch (fieldCode) {
        case ZELKLOGREC_PRODID:
            if (knows(product->names, name))
                return product->productId;
            break;
        case ZELKLOGREC_ORGID:
            for (const auto &originator : product->originators)
                if (knows(originator.names, name))
                    return originator.id;
            break;
        case ZELKLOGREC_SHORGID:
            for (const auto &originator : product->originators)
                if (originator.fileId != 0 && knows(originator.fileNames, name))
                    return originator.fileId;
            break;
        default:
            return 0;
        }
    }
    return 0;
}

}  // extern "C"
