// Listing products and originators and looking up ids by name, over real store files.
#include "config_fixture.h"
#include "zelkLogCore.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

using zelk::test::ConfigFixture;
using zelk::test::ProductEntry;

std::vector<uint64_t> products(uint32_t *code, uint64_t capacity = 16)
{
    std::vector<uint64_t> ids(capacity + 1, 0xAAAA);
    uint64_t count = 99;
    *code = zelkLogGetAllProducts(ids.data(), capacity, &count);
    EXPECT_EQ(ids[capacity], 0xAAAAu) << "written past capacity";
    ids.resize(count <= capacity ? count : 0);
    return ids;
}

std::vector<uint64_t> originators(uint64_t productId, uint32_t *code, uint64_t capacity = 16)
{
    std::vector<uint64_t> ids(capacity + 1, 0xAAAA);
    uint64_t count = 99;
    *code = zelkLogGetAllOriginators(productId, ids.data(), capacity, &count);
    EXPECT_EQ(ids[capacity], 0xAAAAu) << "written past capacity";
    ids.resize(count <= capacity ? count : 0);
    return ids;
}

TEST(Catalogue, ListsProductSectionsOnly)
{
    ConfigFixture config({{7, {"billing"}}, {12, {"shop"}}});
    config.setProperty(config.globalStore(), "abc", "Names", "x");
    config.setProperty(config.globalStore(), "LoggingTools", "L10nResourceDir", "/res");
    config.setProperty(config.globalStore(), "0042", "Names", "leading zero");
    uint32_t code = 1;
    EXPECT_EQ(products(&code), (std::vector<uint64_t>{7, 12, 42}));
    EXPECT_EQ(code, 0u);
}

TEST(Catalogue, EmptyAndMissingStores)
{
    ConfigFixture config;
    uint32_t code = 1;
    EXPECT_TRUE(products(&code).empty());
    EXPECT_EQ(code, 0u);
    std::remove(config.globalStore().c_str());
    EXPECT_TRUE(products(&code).empty());
    EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE);
}

TEST(Catalogue, CapacityIsNeverExceeded)
{
    ConfigFixture config({{7, {}}, {8, {}}, {9, {}}});
    uint32_t code = 0;
    EXPECT_EQ(products(&code, 2), (std::vector<uint64_t>{7, 8}));
    EXPECT_EQ(code, ZELKLOG_RC_NO_MEMORY);
    EXPECT_TRUE(products(&code, 0).empty());
    EXPECT_EQ(code, ZELKLOG_RC_NO_MEMORY);
    EXPECT_EQ(products(&code, 3).size(), 3u);
    EXPECT_EQ(code, 0u);
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
    std::vector<uint64_t> expected{112, 5};
    EXPECT_EQ(originators(7, &code), expected);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(originators(7, &code), expected) << "a second call lists the same";
    EXPECT_EQ(originators(7, &code, 1), std::vector<uint64_t>{112});
    EXPECT_EQ(code, ZELKLOG_RC_NO_MEMORY);
}

TEST(Catalogue, OriginatorsOfProductsWithoutStore)
{
    ConfigFixture config({{7, {"billing"}}});
    uint32_t code = 0;
    EXPECT_TRUE(originators(8, &code).empty());
    EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE) << "product not configured";
    config.setProperty(config.globalStore(), "7", "ConfigPath", "");
    EXPECT_TRUE(originators(7, &code).empty());
    EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE) << "empty store path";
    config.setProperty(config.globalStore(), "7", "ConfigPath", config.path("gone.conf"));
    EXPECT_TRUE(originators(7, &code).empty());
    EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE) << "store file missing";
    uint64_t count = 0;
    EXPECT_EQ(zelkLogGetAllOriginators(7, nullptr, 4, &count), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST(Catalogue, NumericNamesNeedNoConfiguration)
{
    ::setenv("ZELKLOG_CONFIG", "/nonexistent/zelklog.conf", 1);
    struct Case {
        const char *name;
        int64_t id;
    } cases[] = {{"", 0}, {"0x1A", 26}, {"017", 15}, {"42", 42}, {" 42", 42}, {"-3", -3}, {"12abc", -1}, {"x", -1}};
    for (const Case &c : cases)
        EXPECT_EQ(zelkLogGetIdFromName(c.name, ZELKLOGREC_PRODID), c.id) << c.name;
    EXPECT_EQ(zelkLogGetIdFromName(nullptr, ZELKLOGREC_PRODID), -1);
    ::unsetenv("ZELKLOG_CONFIG");
}

TEST(Catalogue, NamesResolveThroughTheConfiguration)
{
    ConfigFixture config({{7, {"billing"}, "", {{112, {"main"}}, {5, {"worker"}, 9, {"jobs"}}}},
                          {12, {"12abc"}, "", {}}});
    struct Case {
        const char *name;
        uint32_t kind;
        int64_t id;
    } cases[] = {{"billing", ZELKLOGREC_PRODID, 7},  {"12abc", ZELKLOGREC_PRODID, 12},
                 {"Main", ZELKLOGREC_ORGID, 112},    {"worker", ZELKLOGREC_ORGID, 5},
                 {"jobs", ZELKLOGREC_SHORGID, 9},    {"nobody", ZELKLOGREC_PRODID, -1},
                 {"billing", ZELKLOGREC_ORGID, -1},  {"billing", ZELKLOGREC_SEV, -1}};
    for (const Case &c : cases)
        EXPECT_EQ(zelkLogGetIdFromName(c.name, c.kind), c.id) << c.name << " " << c.kind;
}

TEST(Catalogue, GarbledGlobalStoreGivesACode)
{
    ConfigFixture config({{7, {"billing"}}});
    std::string good = config.readFile("zelklog.conf");
    const std::string damaged[] = {
        good.substr(0, good.find("[7]") + 2),      // cut inside a section header
        good + "no equals sign here\n",
        std::string("[7]\nNames = a\0b\n", 16),
        "\xff\xfe[\x01\x02\n=\n",
    };
    for (const std::string &text : damaged) {
        config.writeFile("zelklog.conf", text);
        uint32_t code = 0;
        EXPECT_TRUE(products(&code).empty());
        EXPECT_EQ(code, ZELKLOG_RC_STORE_UNAVAILABLE);
        EXPECT_EQ(zelkLogGetIdFromName("billing", ZELKLOGREC_PRODID), -1);
    }
}

}  // namespace
