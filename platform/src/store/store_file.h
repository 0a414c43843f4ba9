// A store on disk: reading, atomic replacement and the writers' lock.
#ifndef PLATFORM_SRC_STORE_STORE_FILE_H_
#define PLATFORM_SRC_STORE_STORE_FILE_H_

#include "platform/src/store/store_data.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zelk::store {

// Reads and parses the store at location: 0, UTI_PS_NO_STORE, UTI_PS_DENIED,
// UTI_PS_CORRUPT, UTI_PS_IO_ERROR or UTI_PS_NO_MEMORY.
uint32_t loadStore(const std::string &location, StoreData &out);

// As loadStore, for readers: stores read again unchanged share one parsed form (see
// store_cache.cc), so opening the same store many times costs a read, not a parse.
uint32_t loadShared(const std::string &location, std::shared_ptr<const StoreData> &out);

// What a change asks of updateStore besides a store code.
constexpr uint32_t kUnchanged = 0xFFFFFFFFu;  // success, nothing to write

// Read-modify-write under the store's lock: loads the store (an empty one when it does
// not exist and `create` is set), applies `change`, and replaces the file atomically
// and durably when change answers 0.  `result` (optional) receives the store as it is
// afterwards.  Returns 0, change's code, or a code of loading, locking or writing.
uint32_t updateStore(const std::string &location, bool create,
                     const std::function<uint32_t(StoreData &)> &change, StoreData *result);

// Removes the store file under its lock: 0 also when
// there was none; UTI_PS_DENIED or UTI_PS_IO_ERROR when it cannot be removed.
uint32_t deleteStore(const std::string &location);

// The store code for an errno value.
uint32_t codeForErrno(int error);

// The whole file at location (at most UTI_PS_MAX_FILE_SIZE bytes).
uint32_t readStoreText(const std::string &location, std::string &text);

}  // namespace zelk::store

#endif  // PLATFORM_SRC_STORE_STORE_FILE_H_
