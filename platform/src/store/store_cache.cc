// Parsed stores shared between readers.  Listing products opens the global store once
// per product; re-parsing it each time would make a listing quadratic.  The cache keeps
// the text and parsed form of the last few stores read; a store whose file still holds
// the very same bytes is handed out again.  Comparing the whole text (not a time stamp
// or an inode) keeps the cache exact however fast writers replace a file.
#include "platform/src/store/store_file.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace zelk::store {
namespace {

struct CachedStore {
    std::string location;
    std::string text;
    std::shared_ptr<const StoreData> data;
};

constexpr size_t kCachedStores = 8;
constexpr size_t kLargestCachedText = 4u * 1024u * 1024u;

std::mutex cacheLock;
std::vector<CachedStore> cache;  // most recently used last

}  // namespace

uint32_t loadShared(const std::string &location, std::shared_ptr<const StoreData> &out)
{
    if (location.empty())
        return UTI_PS_OPEN_FAILED;
    std::string text;
    uint32_t rc = readStoreText(location, text);
    if (rc != UTI_PS_OK)
        return rc;
    {
        std::lock_guard<std::mutex> guard(cacheLock);
        for (size_t i = 0; i < cache.size(); ++i) {
            if (cache[i].location == location && cache[i].text == text) {
                out = cache[i].data;
                std::rotate(cache.begin() + static_cast<std::ptrdiff_t>(i),
                            cache.begin() + static_cast<std::ptrdiff_t>(i) + 1, cache.end());
                return 0;
            }
        }
    }
    auto data = std::make_shared<StoreData>();
    rc = parseStore(text, *data);
    if (rc != UTI_PS_OK)
        return rc;
    out = data;
    if (text.size() > kLargestCachedText)
        return 0;
    std::lock_guard<std::mutex> guard(cacheLock);
    for (auto it = cache.begin(); it != cache.end(); ++it) {
        if (it->location == location) {
            cache.erase(it);
            break;
        }
    }
    if (cache.size() == kCachedStores)
        cache.erase(cache.begin());
    cache.push_back(CachedStore{location, std::move(text), std::move(data)});
    return 0;
}

}  // namespace zelk::store
