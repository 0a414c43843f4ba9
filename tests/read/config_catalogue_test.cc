// Listing products and originators and looking up ids by name, over real store files.
#include "tests/support/config_fixture.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

namespace {

using zelk::test::ConfigFixture;
using Ids = std::vector<uint64_t>;

// Lists the products (productId 0) or a product's originators into `capacity` slots.
Ids listed(uint64_t productId, uint32_t *code, uint64_t capacity = 16)
{
    Ids ids(capacity + 1, 0xAAAA);
    uint64_t count = 99;
    *code = productId == 0 ? zelkLogGetAllProducts(ids.data(), capacity, &count)
                           : zelkLogGetAllOriginators(productId, ids.data(), capacity, &count);
    EXPECT_EQ(ids[capacity], 0xAAAAu) << "written past capacity";
    ids.resize(count <= capacity ? count : 0);
    return ids;
}

TEST(Catalogue, ListsProductSectionsOnlyWithinCapacity)
{
    ConfigFixture config;
    uint32_t code = 1;
    EXPECT_TRUE(listed(0, &code).empty());
    EXPECT_EQ(code, 0u);
    for (uint64_t id : {7, 8, 9})
        config.addProduct({id});
    config.setProperty(config.globalStore(), "abc", "Names", "x");
    config.setProperty(config.globalStore(), "LoggingTools", "L10nResourceDir", "/res");
    config.setProperty(config.globalStore(), "0042", "Names", "leading zero");
    EXPECT_EQ(listed(0, &code), (Ids{7, 8, 9, 42}));
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(listed(0, &code, 2), (Ids{7, 8}));
    EXPECT_EQ(code, ZELKLOG_RC_NO_MEMORY);
    std::remove(config.globalStore().c_str());
    EXPECT_TRUE(listed(0, &code).empty());
    EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE);
}

TEST(Catalogue, ProductNamesArePairedWithIds)
{
    ConfigFixture config({{7, {"billing", "bill"}}, {8, {}}, {9, {"ops"}}});
    config.setProperty(config.globalStore(), "8", "Names", std::nullopt);
    uint64_t ids[4] = {};
    char *names[4] = {nullptr, nullptr, nullptr, nullptr};
    uint64_t count = 0;
    ASSERT_EQ(zelkLogGetAllProductsEx(ids, 4, &count, names), 0u);
    ASSERT_EQ(count, 3u);
    EXPECT_STREQ(names[0], "billing,bill");
    EXPECT_EQ(names[1], nullptr);
    EXPECT_STREQ(names[2], "ops");
    for (char *name : names)
        zelkLogFree(name);
}

TEST(Catalogue, ListsOriginatorsOnceInStoreOrder)
{
    ConfigFixture config({{7, {"billing"}, "", {{112, {"main"}}, {5, {"worker"}}}}});
    config.setProperty(config.productStore(7), "LOGSET.nightly", "Names", "n");
    config.setProperty(config.productStore(7), "112", "Names", "again");
    config.setProperty(config.productStore(7), "default", "Names", "not the default");
    config.setProperty(config.productStore(7), "5", "FileId", "3");
    uint32_t code = 1;
    EXPECT_EQ(listed(7, &code), (Ids{112, 5}));
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(listed(7, &code, 1), Ids{112});
    EXPECT_EQ(code, ZELKLOG_RC_NO_MEMORY);
    // Not configured, an empty store path, a missing store file: no store.
    EXPECT_TRUE(listed(8, &code).empty());
    EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE);
    for (std::string path : {std::string(), config.path("gone.conf")}) {
        config.setProperty(config.globalStore(), "7", "ConfigPath", path);
        EXPECT_TRUE(listed(7, &code).empty());
        EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE) << path;
    }
    uint64_t count = 0;
    EXPECT_EQ(zelkLogGetAllOriginators(7, nullptr, 4, &count), ZELKLOG_RC_BAD_ARGUMENT);
}

// Configured names resolve through the stores; numbers need no configuration at all.
TEST(Catalogue, NamesResolve)
{
    ConfigFixture config(
        {{7, {"billing"}, "", {{112, {"main"}}, {5, {"worker"}, 9, {"jobs"}}}}, {12, {"12abc"}}});
    const struct {
        const char *name;
        uint32_t kind;
        int64_t configured, unconfigured;
    } cases[] = {
        {"billing", ZELKLOGREC_PRODID, 7, -1}, {"12abc", ZELKLOGREC_PRODID, 12, -1},
        {"Main", ZELKLOGREC_ORGID, 112, -1},   {"jobs", ZELKLOGREC_SHORGID, 9, -1},
        {"billing", ZELKLOGREC_ORGID, -1, -1}, {"billing", ZELKLOGREC_SEV, -1, -1},
        {"", ZELKLOGREC_PRODID, 0, 0},         {"0x1A", ZELKLOGREC_PRODID, 26, 26},
        {"017", ZELKLOGREC_PRODID, 15, 15},    {"-3", ZELKLOGREC_PRODID, -3, -3},
    };
    for (const auto &c : cases)
        EXPECT_EQ(zelkLogGetIdFromName(c.name, c.kind), c.configured) << c.name << " " << c.kind;
    ::setenv("ZELKLOG_CONFIG", "/nonexistent/zelklog.conf", 1);  // restored by the fixture
    for (const auto &c : cases)
        EXPECT_EQ(zelkLogGetIdFromName(c.name, c.kind), c.unconfigured) << c.name << " " << c.kind;
    EXPECT_EQ(zelkLogGetIdFromName(nullptr, ZELKLOGREC_PRODID), -1);
}

TEST(Catalogue, GarbledGlobalStoreGivesACode)
{
    ConfigFixture config({{7, {"billing"}}});
    // Cut inside a section header (the kinds of damage are the property store's tests).
    std::string good = config.readFile("zelklog.conf");
    config.writeFile("zelklog.conf", good.substr(0, good.find("[7]") + 2));
    uint32_t code = 0;
    EXPECT_TRUE(listed(0, &code).empty());
    EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE);
    // The product's store path comes from the same garbled store.
    EXPECT_TRUE(listed(7, &code).empty());
    EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE);
    EXPECT_EQ(zelkLogAddNonOIDSetting(7, "x", "1"), ZELKLOG_RC_STORE_UNAVAILABLE);
    EXPECT_EQ(zelkLogGetIdFromName("billing", ZELKLOGREC_PRODID), -1);
}

}  // namespace
