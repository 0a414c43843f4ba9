// The in-memory form of one property store: named sections of string properties, in
// file order.  Section "" is the top (properties before the first section header).
#ifndef PLATFORM_SRC_STORE_STORE_DATA_H_
#define PLATFORM_SRC_STORE_STORE_DATA_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelk::store {

struct Property {
    std::string name;
    std::string value;
};

struct Section {
    std::string name;
    std::vector<Property> properties;

    const std::string *get(std::string_view property) const;
    void set(std::string_view property, std::string_view value);
    bool remove(std::string_view property);
};

class StoreData {
public:
    StoreData();

    // The top section always exists; named sections follow in store order.
    Section &top() { return sections_.front(); }
    const Section &top() const { return sections_.front(); }
    size_t namedCount() const { return sections_.size() - 1; }
    const Section &named(size_t index) const { return sections_[index + 1]; }

    // "" finds the top.
    const Section *find(std::string_view name) const;
    Section *find(std::string_view name);
    Section &findOrAdd(std::string_view name);
    bool removeSection(std::string_view name);  // the top cannot be removed

private:
    std::vector<Section> sections_;
};

// Text form (INI): parse returns 0, UTI_PS_CORRUPT or UTI_PS_NO_MEMORY.
uint32_t parseStore(std::string_view text, StoreData &out);
std::string formatStore(const StoreData &data);

}  // namespace zelk::store

#endif  // PLATFORM_SRC_STORE_STORE_DATA_H_
