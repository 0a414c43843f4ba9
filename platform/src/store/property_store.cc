// The property store's C interface.  A handle holds the store's location, the section
// it was opened on and a snapshot of the store taken at open: reads and enumeration use
// the snapshot (a consistent view for a whole enumeration); every change re-reads the
// file under the writers' lock, applies itself and refreshes the snapshot, so no
// update made meanwhile by another handle, thread or process is lost.
#include "platform/src/store/store_file.h"
#include "zelkLogConfigLayout.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <cstring>
#include <memory>
#include <new>

namespace {

using zelk::store::Section;
using zelk::store::StoreData;

struct OpenStore {
    std::string location;
    std::string path;  // section the handle works on; "" is the top
    uint32_t flag = 0;
    std::shared_ptr<const StoreData> data;  // never null once open
};

OpenStore *openStore(UtiPropertyStore *handle)
{
    return handle == nullptr ? nullptr : static_cast<OpenStore *>(handle->state);
}

// Runs body and turns an allocation failure into its store code.
template <typename Body> uint32_t guarded(Body body)
{
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return UTI_PS_NO_MEMORY;
    } catch (...) {
        return UTI_PS_IO_ERROR;
    }
}

uint32_t attach(UtiPropertyStore *handle, const char *location, const char *path, uint32_t flag,
                std::shared_ptr<const StoreData> data)
{
    auto *store = new OpenStore{location, path, flag, std::move(data)};
    handle->state = store;
    return 0;
}

// Changes the handle's store and refreshes its snapshot.
uint32_t change(OpenStore &store, const std::function<uint32_t(StoreData &)> &edit)
{
    StoreData after;
    uint32_t rc = zelk::store::updateStore(store.location, false, edit, &after);
    if (rc == UTI_PS_OK)
        store.data = std::make_shared<const StoreData>(std::move(after));
    return rc;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t utiOpenPropertyStore(const char *location, const char *propertyPath,
                                          UtiPropertyStore *handle, uint32_t flag)
{
    if (handle == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    handle->state = nullptr;
    if (location == nullptr || *location == '\0')
        return UTI_PS_OPEN_FAILED;
    if (propertyPath == nullptr || (flag == UTI_PS_OPEN_PRODUCT_REMOVAL && *propertyPath == '\0'))
        return UTI_PS_BAD_ARGUMENT;
    return guarded([&] {
        std::shared_ptr<const StoreData> data;
        uint32_t rc = zelk::store::loadShared(location, data);
        if (rc != UTI_PS_OK)
            return rc;
        if (*propertyPath != '\0' && data->find(propertyPath) == nullptr)
            return UTI_PS_NOT_FOUND;
        return attach(handle, location, propertyPath, flag, std::move(data));
    });
}

ZELKLOG_API uint32_t CreatePropertyString(const char *location, const char *propertyPath,
                                          UtiPropertyStore *handle)
{
    if (handle == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    handle->state = nullptr;
    if (location == nullptr || *location == '\0')
        return UTI_PS_OPEN_FAILED;
    if (propertyPath == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    return guarded([&] {
        // A store that already holds the section is opened without the writers' lock,
        // so readers need no write access to the store's directory.
        std::shared_ptr<const StoreData> existing;
        if (zelk::store::loadShared(location, existing) == 0 &&
            (*propertyPath == '\0' || existing->find(propertyPath) != nullptr))
            return attach(handle, location, propertyPath, 0, std::move(existing));
        StoreData data;
        std::string path = propertyPath;
        uint32_t rc = zelk::store::updateStore(
            location, true,
            [&path](StoreData &store) {
                if (store.find(path) != nullptr)
                    return zelk::store::kUnchanged;
                store.findOrAdd(path);
                return 0u;
            },
            &data);
        if (rc != UTI_PS_OK)
            return rc;
        return attach(handle, location, propertyPath, 0, std::make_shared<const StoreData>(std::move(data)));
    });
}

ZELKLOG_API uint32_t utiClosePropertyStore(UtiPropertyStore *handle)
{
    if (handle == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    delete openStore(handle);
    handle->state = nullptr;
    return 0;
}

ZELKLOG_API uint32_t utiEnumProductId(UtiPropertyStore *handle, uint32_t index, char *name, uint32_t *length)
{
    OpenStore *store = openStore(handle);
    if (store == nullptr || name == nullptr || length == nullptr || *length == 0)
        return UTI_PS_BAD_ARGUMENT;
    if (index >= store->data->namedCount())
        return UTI_PS_END;
    const std::string &section = store->data->named(index).name;
    // A name that does not fit is cut; the length tells the full size.
    size_t copied = section.size() < *length ? section.size() : *length - 1;
    std::memcpy(name, section.data(), copied);
    name[copied] = '\0';
    *length = section.size() > 0xFFFFFFFEu ? 0xFFFFFFFFu : static_cast<uint32_t>(section.size());
    return 0;
}

ZELKLOG_API uint32_t utiGetPropertyAsStr(UtiPropertyStore *handle, const char *name, char **value)
{
    OpenStore *store = openStore(handle);
    if (value != nullptr)
        *value = nullptr;
    if (store == nullptr || name == nullptr || *name == '\0' || value == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    const Section *section = store->data->find(store->path);
    const std::string *text = section == nullptr ? nullptr : section->get(name);
    if (text == nullptr)
        return UTI_PS_NOT_FOUND;
    *value = zelkLogSafeStrdup(text->c_str());
    return *value == nullptr ? UTI_PS_NO_MEMORY : UTI_PS_OK;
}

ZELKLOG_API uint32_t utiSetPropertyAsStr(UtiPropertyStore *handle, const char *name, const char *value)
{
    OpenStore *store = openStore(handle);
    if (store == nullptr || name == nullptr || *name == '\0' || value == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    return guarded([&] {
        return change(*store, [&](StoreData &data) {
            data.findOrAdd(store->path).set(name, value);
            return 0u;
        });
    });
}

ZELKLOG_API uint32_t utiRemoveProperty(UtiPropertyStore *handle, const char *name)
{
    OpenStore *store = openStore(handle);
    if (store == nullptr || name == nullptr || *name == '\0')
        return UTI_PS_BAD_ARGUMENT;
    return guarded([&] {
        return change(*store, [&](StoreData &data) {
            Section *section = data.find(store->path);
            return section != nullptr && section->remove(name) ? 0u : UTI_PS_NOT_FOUND;
        });
    });
}

ZELKLOG_API uint32_t utiRemovePropertyRoot(UtiPropertyStore *handle, const char *sectionName)
{
    OpenStore *store = openStore(handle);
    if (store == nullptr || sectionName == nullptr)
        return UTI_PS_BAD_ARGUMENT;
    if (*sectionName == '\0' && store->flag != UTI_PS_OPEN_PRODUCT_REMOVAL)
        return UTI_PS_BAD_ARGUMENT;  // the top is no section
    return guarded([&] {
        return change(*store, [&](StoreData &data) {
            if (store->flag != UTI_PS_OPEN_PRODUCT_REMOVAL)
                return data.removeSection(sectionName) ? 0u : UTI_PS_NOT_FOUND;
            // A product handle: the root named by the product's own store (or by the
            // section itself) is the product's section of the global store.
            const Section *product = data.find(store->path);
            if (product == nullptr)
                return UTI_PS_NOT_FOUND;
            const std::string *storePath = product->get(ZELKLOG_CFG_CONFIG_PATH);
            bool named = product->name == sectionName || (storePath != nullptr && *storePath == sectionName);
            return named && data.removeSection(store->path) ? 0u : UTI_PS_NOT_FOUND;
        });
    });
}

ZELKLOG_API uint32_t utipsres2zelklogres(uint32_t storeCode)
{
    switch (storeCode) {
    case UTI_PS_OK:
        return ZELKLOG_RC_OK;
    case UTI_PS_IO_ERROR:
        return ZELKLOG_RC_FAILURE;
    case UTI_PS_OPEN_FAILED:
        return ZELKLOG_RC_STORE_NOT_OPENED;
    case UTI_PS_BAD_ARGUMENT:
        return ZELKLOG_RC_BAD_ARGUMENT;
    case UTI_PS_NO_MEMORY:
        return ZELKLOG_RC_NO_MEMORY;
    case UTI_PS_DENIED:
        return ZELKLOG_RC_STORE_DENIED;
    case UTI_PS_NO_STORE:
        return ZELKLOG_RC_STORE_UNAVAILABLE;
    case UTI_PS_END:
        return ZELKLOG_RC_NO_MORE_RECORDS;
    case UTI_PS_NOT_FOUND:
        return ZELKLOG_RC_UNKNOWN_NAME;
    case UTI_PS_CORRUPT:
        return ZELKLOG_RC_STORE_UNAVAILABLE;
    default:
        return ZELKLOG_RC_FAILURE;
    }
}

}  // extern "C"
