// ConfigFixture: a temporary logging configuration on real store files.
//
//   zelk::test::ConfigFixture config({
//       {7, {"billing"}, "", {{112, {"main"}}, {5, {"worker"}, 9, {"jobs"}}}},
//   });
//   // ZELKLOG_CONFIG now names config.globalStore(); product 7 logs into
//   // config.logDirectory(7) (created) and has its own store config.productStore(7).
//
// The constructor makes a temporary directory holding the global store and one store
// per product, and points ZELKLOG_CONFIG at the global store for the whole process.
// The destructor restores ZELKLOG_CONFIG and removes the directory.  Failures to write
// are reported as GoogleTest failures.
#ifndef TESTS_SUPPORT_CONFIG_FIXTURE_H_
#define TESTS_SUPPORT_CONFIG_FIXTURE_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelk::test {

using Names = std::vector<std::string>;

// Constructors rather than aggregates, so that rows may leave out trailing fields.
struct OriginatorEntry {
    OriginatorEntry(uint64_t i = 0, Names n = {}, uint64_t f = 0, Names fn = {})
        : id(i), names(std::move(n)), fileId(f), fileNames(std::move(fn))
    {
    }
    uint64_t id;      // 112 is written as the section "Default"
    Names names;      // "Names"
    uint64_t fileId;  // "FileId" (0: not written)
    Names fileNames;  // "FileNames"
};

struct ProductEntry {
    ProductEntry(uint64_t i = 0, Names n = {}, std::string dir = {}, std::vector<OriginatorEntry> o = {},
                 std::string res = {}, std::string store = {})
        : id(i), names(std::move(n)), logDirectory(std::move(dir)), originators(std::move(o)),
          formatResource(std::move(res)), storeName(std::move(store))
    {
    }
    uint64_t id;
    Names names;               // "Names"
    std::string logDirectory;  // "": <directory>/logs/<id>/, created
    std::vector<OriginatorEntry> originators;
    std::string formatResource;  // "": not written
    std::string storeName;       // product store file in the directory; "": product-<id>.conf
};

// The configuration most fetch tests use: product 7 "billing" with the default originator.
inline std::vector<ProductEntry> billingProduct()
{
    return {{7, {"billing"}, "", {{112, {"main"}}}}};
}

class ConfigFixture {
public:
    explicit ConfigFixture(const std::vector<ProductEntry> &products = {});
    ~ConfigFixture();
    ConfigFixture(const ConfigFixture &) = delete;
    ConfigFixture &operator=(const ConfigFixture &) = delete;

    // Writes one more product (its global section and its own store).
    void addProduct(const ProductEntry &product);

    const std::string &directory() const { return directory_; }
    const std::string &globalStore() const { return globalStore_; }
    std::string productStore(uint64_t id) const { return products_.count(id) ? products_.at(id).first : ""; }
    // Ends with "/"; "" when not added.
    std::string logDirectory(uint64_t id) const { return products_.count(id) ? products_.at(id).second : ""; }

    // A file in the fixture's directory: its path, its content, or a new content.
    std::string path(const std::string &name) const { return directory_ + "/" + name; }
    std::string readFile(const std::string &name) const;
    void writeFile(const std::string &name, const std::string &text) const;

    // Sets (or, with std::nullopt, removes) one property of a store in the fixture.
    void setProperty(const std::string &store, const std::string &section, const std::string &name,
                     const std::optional<std::string> &value) const;

private:
    std::string directory_;
    std::string globalStore_;
    std::optional<std::string> savedEnvironment_;
    std::map<uint64_t, std::pair<std::string, std::string>> products_;  // id: store, log directory
};

// What a store holds, read through the store itself: a property ("<none>" when it cannot
// be read) and the sections listed in order (none when the store cannot be opened).
std::string storeValue(const std::string &store, const std::string &section, const std::string &name);
Names storeSections(const std::string &store);

}  // namespace zelk::test

#endif  // TESTS_SUPPORT_CONFIG_FIXTURE_H_
