// Listing the configured products and the originators of one product.
//
// When the store lists more ids than the caller's capacity, the first `capacity` ids
// are delivered (count = capacity) and the result is ZELKLOG_RC_NO_MEMORY: the caller's
// array was too small.  zelkLogGetAllProductsEx uses the paired layout: names[i]
// belongs to ids[i] and is null when the product has no readable "Names".
#include "zelkLogConfigLayout.h"
#include "src/core/zelkLogCore.h"

#include <cstdlib>
#include <cstring>

namespace {

// The leading decimal number of a section name, as atol reads it (without atol's
// undefined behaviour on overflow).
uint64_t leadingNumber(const char *name)
{
    return static_cast<uint64_t>(std::strtol(name, nullptr, 10));
}

bool listed(const uint64_t *ids, uint64_t count, uint64_t id)
{
    for (uint64_t i = 0; i < count; ++i)
        if (ids[i] == id)
            return true;
    return false;
}

// The product's "Names" into its paired slot; failures leave the slot null.
void readProductNames(const char *location, const char *section, char **slot)
{
    *slot = nullptr;
    UtiPropertyStore store{};
    if (utiOpenPropertyStore(location, section, &store, 0) == UTI_PS_OK)
        utiGetPropertyAsStr(&store, ZELKLOG_CFG_NAMES, slot);
    utiClosePropertyStore(&store);
}

// Appends the ids of the sections of a store, in store order, while the store code
// (`storeRc`, that of the open at first) is 0: `idOf` gives a section's id, 0 when it is not
// listed, and `onListed` runs for each id stored.  The store is closed, also after a
// failed open; an enumeration that ends with code 7 is a success.
template <typename IdOf, typename OnListed>
uint32_t listSections(UtiPropertyStore &store, uint32_t storeRc, uint64_t *ids, uint64_t capacity,
                      uint64_t *count, IdOf idOf, OnListed onListed)
{
    bool full = false;
    char name[UTI_PS_SECTION_NAME_SIZE];
    for (uint32_t index = 0; storeRc == UTI_PS_OK; ++index) {
        uint32_t length = UTI_PS_SECTION_NAME_SIZE;
        storeRc = utiEnumProductId(&store, index, name, &length);
        if (storeRc != UTI_PS_OK)
            break;
        uint64_t id = idOf(name);
        if (id == 0)
            continue;
        if (*count == capacity) {
            full = true;
            break;
        }
        ids[(*count)++] = id;
        onListed(name);
    }
    utiClosePropertyStore(&store);
    if (full)
        return ZELKLOG_RC_NO_MEMORY;
    return storeRc == UTI_PS_OK || storeRc == UTI_PS_END ? ZELKLOG_RC_OK : utipsres2zelklogres(storeRc);
}

uint32_t listProducts(uint64_t *ids, uint64_t capacity, uint64_t *count, char **names)
{
    *count = 0;
    const char *location = GetZelkLogCfgLoc();
    UtiPropertyStore store{};
    uint32_t storeRc = utiOpenPropertyStore(location, ZELKLOG_CFG_TOP, &store, 0);
    return listSections(store, storeRc, ids, capacity, count, leadingNumber, [&](const char *name) {
        if (names != nullptr)
            readProductNames(location, name, &names[*count - 1]);
    });
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t zelkLogGetAllProducts(uint64_t *ids, uint64_t capacity, uint64_t *count)
{
    if (ids == nullptr || count == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    return listProducts(ids, capacity, count, nullptr);
}

ZELKLOG_API uint32_t zelkLogGetAllProductsEx(uint64_t *ids, uint64_t capacity, uint64_t *count, char **names)
{
    if (ids == nullptr || count == nullptr || names == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    return listProducts(ids, capacity, count, names);
}

ZELKLOG_API uint32_t zelkLogGetAllOriginators(uint64_t productId, uint64_t *ids, uint64_t capacity,
                                              uint64_t *count)
{
    if (count == nullptr || ids == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    *count = 0;
    char *path = nullptr;
    uint32_t storeRc = GetProductCfgPath(GetZelkLogCfgLoc(), productId, &path);
    if (storeRc != UTI_PS_OK) {
        zelkLogFree(path);
        return storeRc;
    }
    if (path == nullptr || *path == '\0') {
        zelkLogFree(path);
        return ZELKLOG_RC_STORE_UNAVAILABLE;
    }
    UtiPropertyStore store{};
    storeRc = utiOpenPropertyStore(path, ZELKLOG_CFG_TOP, &store, 0);
    zelkLogFree(path);
    auto originatorId = [&](const char *name) -> uint64_t {
        uint64_t id = leadingNumber(name);
        if (id == 0 && std::strcmp(name, ZELKLOG_CFG_DEFAULT_SECTION) == 0)
            id = ZELKLOG_DEFAULT_ORIGINATOR;
        return listed(ids, *count, id) ? 0 : id;  // "Default" and "112" give one entry
    };
    return listSections(store, storeRc, ids, capacity, count, originatorId, [](const char *) {});
}

}  // extern "C"
