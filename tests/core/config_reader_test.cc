// The configuration reader and name lookup of the logging core, over real store files.
#include "tests/support/config_fixture.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogConfigLayout.h"

#include <gtest/gtest.h>

namespace {

using zelk::test::ConfigFixture;

struct ConfigArray {
    ZelkLogProductCfg *records[ZELKLOG_MAX_PRODUCTS] = {};
    uint64_t count = 0;
    uint32_t code;
    explicit ConfigArray(uint32_t capacity = ZELKLOG_MAX_PRODUCTS)
        : code(zelkLogReadAllCfg(0, capacity, records, &count))
    {
    }
    ~ConfigArray() { FreeConfigArray(records, count); }
    uint64_t id(uint32_t field, const char *name) { return GetIdFromName(records, count, field, name); }
};

// Product 7 with the default originator and one with a file id; product 12 with a
// fixed log directory.
class ConfigReader : public ::testing::Test {
protected:
    ConfigFixture config{{
        {7,
         {"billing", "Bill"},
         "",
         {{112, {"main"}}, {5, {"worker", "batch"}, 9, {"jobs", "queue"}}},
         "fmt7"},
        {12, {"shop"}, "/var/log/shop", {{3, {"cart"}, 31, {"orders"}}}},
    }};
};

TEST_F(ConfigReader, DeliversEveryProductAndLooksUpNames)
{
    config.setProperty(config.productStore(12), "0", "Names", "no originator");  // ids start at 1
    ConfigArray array;
    ASSERT_EQ(array.code, 0u);
    ASSERT_EQ(array.count, 2u);
    EXPECT_EQ(config.logDirectory(7), array.records[0]->logDirectory);
    EXPECT_STREQ(array.records[0]->formatResource, "fmt7");
    EXPECT_STREQ(array.records[1]->logDirectory, "/var/log/shop/");
    EXPECT_EQ(array.records[1]->formatResource, nullptr);
    EXPECT_EQ(array.records[1]->changeFlags, 0u);
    const struct {
        uint32_t field;
        const char *name;
        uint64_t id;
    } cases[] = {
        {ZELKLOGREC_PRODID, "BILL", 7},    {ZELKLOGREC_PRODID, "shop", 12},
        {ZELKLOGREC_PRODID, "main", 0},    {ZELKLOGREC_ORGID, "Batch", 5},
        {ZELKLOGREC_ORGID, "cart", 3},     {ZELKLOGREC_SHORGID, "queue", 9},
        {ZELKLOGREC_SHORGID, "worker", 0}, {ZELKLOGREC_SUBJECT, "billing", 0},
        {ZELKLOGREC_PRODID, "bil", 0},     {ZELKLOGREC_PRODID, nullptr, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(array.id(c.field, c.name), c.id) << c.field << " " << (c.name ? c.name : "(null)");
    EXPECT_EQ(GetIdFromName(nullptr, 2, ZELKLOGREC_PRODID, "shop"), 0u);
}

TEST_F(ConfigReader, SkipsBrokenProductsAndReportsThem)
{
    // 20 points at a store that does not exist, 30 at a garbled one; the others are no ids.
    config.setProperty(config.globalStore(), "20", "ConfigPath", config.path("missing.conf"));
    config.writeFile("garbled.conf", "[5\nNames = x\n");
    config.setProperty(config.globalStore(), "30", "ConfigPath", config.path("garbled.conf"));
    config.setProperty(config.globalStore(), "1234567890123456", "Names", "toolong");
    config.setProperty(config.globalStore(), "LoggingTools", "L10nResourceDir", "/x");
    ConfigArray array;
    EXPECT_EQ(array.code, ZELKLOG_RC_STORE_UNAVAILABLE);
    ASSERT_EQ(array.count, 2u);
    EXPECT_EQ(array.id(ZELKLOGREC_PRODID, "shop"), 12u);
}

// A log directory that with its "/" does not fit the record is refused, product and
// all, rather than cut to a shorter path (which may name its parent directory).
TEST_F(ConfigReader, OverLongLogDirectoryBreaksItsProduct)
{
    const std::string parent = "/" + std::string(1021, 'p');  // 1022 characters: just fits
    for (const std::string &directory : {parent, parent + "/child"}) {
        config.setProperty(config.globalStore(), "12", ZELKLOG_CFG_LOG_DIRECTORY, directory);
        ConfigArray array;
        bool fits = directory == parent;
        EXPECT_EQ(array.code, fits ? 0u : ZELKLOG_RC_BAD_ARGUMENT);
        ASSERT_EQ(array.count, fits ? 2u : 1u);
        if (fits) {
            EXPECT_EQ(array.records[1]->logDirectory, parent + "/");
        }
    }
}

TEST_F(ConfigReader, BadOriginatorSectionBreaksItsProduct)
{
    config.setProperty(config.productStore(12), "3", "FileId", "12x");
    ConfigArray array;
    EXPECT_EQ(array.code, ZELKLOG_RC_FAILURE);
    ASSERT_EQ(array.count, 1u);
    EXPECT_EQ(array.id(ZELKLOGREC_PRODID, "shop"), 0u);
}

TEST_F(ConfigReader, CapacityAndMissingStore)
{
    {
        ConfigArray array(1);
        EXPECT_EQ(array.code, ZELKLOG_RC_NO_MEMORY);
        EXPECT_EQ(array.count, 1u);
        EXPECT_EQ(array.records[1], nullptr);
    }
    std::remove(config.globalStore().c_str());
    ConfigArray array;
    EXPECT_EQ(array.code, ZELKLOG_RC_STORE_UNAVAILABLE);
    EXPECT_EQ(array.count, 0u);
    EXPECT_EQ(zelkLogReadAllCfg(0, 1024, nullptr, &array.count), ZELKLOG_RC_BAD_ARGUMENT);
}

}  // namespace
