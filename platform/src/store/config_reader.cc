// The configuration reader: one product configuration record per product section of
// the global store, with the originators of the product's own store.
//
// A product section is a section whose name begins with a digit other than 0; its name
// must then be the whole product id (at most 15 digits).  A product whose section or
// store is broken (bad id, missing or unreadable store, bad originator section) is
// skipped; the first such failure is the reader's result while every sound product is
// still delivered.
#include "platform/src/store/product_config.h"
#include "platform/src/store/store_file.h"
#include "zelkLogConfigLayout.h"
#include "zelkLogPropertyStore.h"

#include <memory>
#include <new>
#include <string_view>

namespace {

using zelk::core::OriginatorConfig;
using zelk::core::ProductData;
using zelk::store::Section;
using zelk::store::StoreData;

// Whole decimal number without sign, nonzero, fitting 64 bits; else 0.
uint64_t decimalId(std::string_view text)
{
    if (text.empty() || text.size() > 20)
        return 0;
    uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9')
            return 0;
        uint64_t digit = static_cast<uint64_t>(c - '0');
        if (value > (UINT64_MAX - digit) / 10)
            return 0;
        value = value * 10 + digit;
    }
    return value;
}

std::vector<std::string> splitNames(const std::string *list)
{
    std::vector<std::string> names;
    if (list == nullptr)
        return names;
    std::string_view rest = *list;
    for (;;) {
        size_t comma = rest.find(',');
        std::string_view name = rest.substr(0, comma);
        while (!name.empty() && (name.front() == ' ' || name.front() == '\t'))
            name.remove_prefix(1);
        while (!name.empty() && (name.back() == ' ' || name.back() == '\t'))
            name.remove_suffix(1);
        if (!name.empty())
            names.emplace_back(name);
        if (comma == std::string_view::npos)
            return names;
        rest.remove_prefix(comma + 1);
    }
}

// Originator sections of a product's store; logsets and other sections are skipped.
uint32_t readOriginators(const StoreData &store, std::vector<OriginatorConfig> &out)
{
    for (size_t i = 0; i < store.namedCount(); ++i) {
        const Section &section = store.named(i);
        OriginatorConfig originator;
        if (section.name == ZELKLOG_CFG_DEFAULT_SECTION)
            originator.id = ZELKLOG_DEFAULT_ORIGINATOR;
        else if (!section.name.empty() && section.name[0] >= '1' && section.name[0] <= '9')
            originator.id = decimalId(section.name);
        else
            continue;
        if (originator.id == 0)
            return ZELKLOG_RC_FAILURE;
        originator.names = splitNames(section.get(ZELKLOG_CFG_NAMES));
        if (const std::string *fileId = section.get(ZELKLOG_CFG_FILE_ID)) {
            originator.fileId = decimalId(*fileId);
            if (originator.fileId == 0)
                return ZELKLOG_RC_FAILURE;
        }
        originator.fileNames = splitNames(section.get(ZELKLOG_CFG_FILE_NAMES));
        out.push_back(std::move(originator));
    }
    return 0;
}

// Builds the record of one product section; 0 or the library code that breaks it.
uint32_t readProduct(const Section &section, ZelkLogProductCfg *&record)
{
    uint64_t id = decimalId(section.name);
    if (!isProdIdValid(id))
        return ZELKLOG_RC_FAILURE;
    ProductData data;
    data.productId = id;
    data.names = splitNames(section.get(ZELKLOG_CFG_NAMES));
    if (const std::string *storePath = section.get(ZELKLOG_CFG_CONFIG_PATH)) {
        data.storePath = *storePath;
        if (!data.storePath.empty()) {
            std::shared_ptr<const StoreData> store;
            uint32_t rc = zelk::store::loadShared(data.storePath, store);
            if (rc != UTI_PS_OK)
                return utipsres2zelklogres(rc);
            rc = readOriginators(*store, data.originators);
            if (rc != ZELKLOG_RC_OK)
                return rc;
        }
    }
    const std::string *directory = section.get(ZELKLOG_CFG_LOG_DIRECTORY);
    // A path that with its "/" and terminator does not fit the record cannot be read from;
    // cut, it could name another directory (its parent).
    if (directory != nullptr && !directory->empty() &&
        directory->size() + (directory->back() == '/' ? 1 : 2) > sizeof(ZelkLogProductCfg::logDirectory))
        return ZELKLOG_RC_BAD_ARGUMENT;
    const std::string *resource = section.get(ZELKLOG_CFG_FORMAT_RESOURCE);
    record = zelk::core::newProductConfig(std::move(data), directory == nullptr ? std::string() : *directory,
                                          resource == nullptr ? nullptr : resource->c_str());
    return record == nullptr ? ZELKLOG_RC_NO_MEMORY : 0;
}

bool isProductSection(const std::string &name)
{
    return !name.empty() && name[0] >= '1' && name[0] <= '9';
}

}  // namespace

extern "C" {

// flags: reserved, pass 0.
ZELKLOG_API uint32_t zelkLogReadAllCfg(uint32_t /*flags*/, uint32_t capacity, ZelkLogProductCfg **array,
                                       uint64_t *count)
{
    if (array == nullptr || count == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    *count = 0;
    try {
        std::shared_ptr<const StoreData> store;
        uint32_t rc = zelk::store::loadShared(GetZelkLogCfgLoc(), store);
        if (rc != UTI_PS_OK)
            return utipsres2zelklogres(rc);
        const StoreData &global = *store;
        uint32_t firstRc = ZELKLOG_RC_OK;
        for (size_t i = 0; i < global.namedCount(); ++i) {
            const Section &section = global.named(i);
            if (!isProductSection(section.name))
                continue;
            if (*count == capacity) {
                // More products than room: those that fit are delivered.
                return firstRc != ZELKLOG_RC_OK ? firstRc : ZELKLOG_RC_NO_MEMORY;
            }
            ZelkLogProductCfg *record = nullptr;
            rc = readProduct(section, record);
            if (rc != ZELKLOG_RC_OK) {
                if (firstRc == ZELKLOG_RC_OK)
                    firstRc = rc;
                continue;
            }
            array[(*count)++] = record;
        }
        return firstRc;
    } catch (const std::bad_alloc &) {
        return ZELKLOG_RC_NO_MEMORY;
    }
}

ZELKLOG_API void FreeConfigArray(ZelkLogProductCfg **array, uint64_t count)
{
    if (array == nullptr)
        return;
    for (uint64_t i = 0; i < count; ++i) {
        zelk::core::freeProductConfig(array[i]);
        array[i] = nullptr;
    }
}

}  // extern "C"
