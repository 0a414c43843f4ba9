// Sections and properties of a store in memory.
#include "platform/src/store/store_data.h"

#include <algorithm>

namespace zelk::store {

const std::string *Section::get(std::string_view property) const
{
    for (const Property &p : properties)
        if (p.name == property)
            return &p.value;
    return nullptr;
}

void Section::set(std::string_view property, std::string_view value)
{
    for (Property &p : properties) {
        if (p.name == property) {
            p.value.assign(value);
            return;
        }
    }
    properties.push_back(Property{std::string(property), std::string(value)});
}

bool Section::remove(std::string_view property)
{
    auto it = std::find_if(properties.begin(), properties.end(),
                           [&](const Property &p) { return p.name == property; });
    if (it == properties.end())
        return false;
    properties.erase(it);
    return true;
}

StoreData::StoreData() : sections_(1) {}

const Section *StoreData::find(std::string_view name) const
{
    for (const Section &s : sections_)
        if (s.name == name)
            return &s;
    return nullptr;
}

Section *StoreData::find(std::string_view name)
{
    return const_cast<Section *>(static_cast<const StoreData *>(this)->find(name));
}

Section &StoreData::findOrAdd(std::string_view name)
{
    if (Section *s = find(name))
        return *s;
    sections_.push_back(Section{std::string(name), {}});
    return sections_.back();
}

bool StoreData::removeSection(std::string_view name)
{
    if (name.empty())
        return false;
    auto it = std::find_if(sections_.begin() + 1, sections_.end(),
                           [&](const Section &s) { return s.name == name; });
    if (it == sections_.end())
        return false;
    sections_.erase(it);
    return true;
}

}  // namespace zelk::store
