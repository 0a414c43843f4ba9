// Removing a product, an originator or a logset, and the common lock around them.
#include "tests/support/config_fixture.h"
#include "tests/support/lock_probe.h"
#include "tests/support/watchdog.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using zelk::test::commonLockIsFree;
using zelk::test::ConfigFixture;
using zelk::test::Names;
using zelk::test::storeSections;

// Every removal takes the common lock: one left held blocks the next removal, and the case
// ends within seconds saying so instead of running into the program's own limit.
class Removal : public ::testing::Test {
    zelk::test::Waiting lock_{"the common lock, which every removal takes", 10};
};

TEST_F(Removal, OriginatorSections)
{
    ConfigFixture config({{7, {"billing"}, "", {{112, {"main"}}, {5, {"worker"}}}}});
    config.setProperty(config.productStore(7), "112", "Names", "a section named 112");
    ASSERT_EQ(storeSections(config.productStore(7)), (Names{"Default", "5", "112"}));
    EXPECT_EQ(zelkLogRemoveCfg(7, 112), 0u);
    EXPECT_EQ(storeSections(config.productStore(7)), (Names{"5", "112"}));
    EXPECT_EQ(zelkLogRemoveCfg(7, 5), 0u);
    EXPECT_EQ(zelkLogRemoveCfg(7, 5), ZELKLOG_RC_UNKNOWN_NAME);
    EXPECT_EQ(storeSections(config.productStore(7)), Names{"112"});
    EXPECT_TRUE(commonLockIsFree()) << "the common lock is still held";
}

TEST_F(Removal, InvalidArgumentsAndMissingStoresLeaveTheLockFree)
{
    ConfigFixture config({{7, {"billing"}, "", {{5, {"worker"}}}}});
    const struct {
        const char *what;
        uint32_t (*remove)();
        uint32_t code;
    } cases[] = {
        // one per early return
        {"product 0", [] { return zelkLogRemoveCfg(0, 5); }, ZELKLOG_RC_BAD_ARGUMENT},
        {"16-digit product", [] { return zelkLogRemoveCfg(1000000000000000ull, 5); },
         ZELKLOG_RC_BAD_ARGUMENT},
        {"largest product, not configured", [] { return zelkLogRemoveCfg(999999999999999ull, 5); },
         ZELKLOG_RC_STORE_UNAVAILABLE},
        {"401-char logset", [] { return zelkLogRemoveLogSetCfg(7, std::string(401, 'l').c_str()); },
         ZELKLOG_RC_BAD_ARGUMENT},
        {"unknown product", [] { return zelkLogRemoveCfg(8, 5); }, ZELKLOG_RC_STORE_UNAVAILABLE},
        {"unknown product logset", [] { return zelkLogRemoveLogSetCfg(8, "n"); },
         ZELKLOG_RC_STORE_UNAVAILABLE},
        {"invalid product all", [] { return zelkLogRemoveProductAllCfg(0); }, ZELKLOG_RC_BAD_ARGUMENT},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.remove(), c.code) << c.what;
        EXPECT_TRUE(commonLockIsFree()) << c.what << ": the common lock is still held";
    }
    EXPECT_EQ(storeSections(config.productStore(7)), Names{"5"});
}

TEST_F(Removal, StoreThatCannotBeOpened)
{
    ConfigFixture config({{7, {"billing"}, "", {{5, {"worker"}}}}});
    std::remove(config.productStore(7).c_str());
    EXPECT_EQ(zelkLogRemoveCfg(7, 5), 2u);
    EXPECT_EQ(zelkLogRemoveLogSetCfg(7, "nightly"), 2u);
    EXPECT_TRUE(commonLockIsFree()) << "the common lock is still held";

    // An empty store path is no path: a "\LOGSET" store in the working directory stays.
    config.setProperty(config.globalStore(), "7", "ConfigPath", "");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(config.directory());
    config.setProperty("\\LOGSET", "nightly", "Directory", "/n");
    EXPECT_EQ(zelkLogRemoveLogSetCfg(7, "nightly"), 2u);
    EXPECT_EQ(zelkLogRemoveCfg(7, 5), 2u);
    EXPECT_EQ(storeSections("\\LOGSET"), Names{"nightly"});
    std::filesystem::current_path(before);
}

// A ".conf" anywhere in the store path, a directory name included, selects the flat form
// ("LOGSET.<name>" sections of the product store); otherwise the sections of "<store>\LOGSET".
TEST_F(Removal, LogSetSections)
{
    for (std::string storeName : {"p7.conf", "x.conf.d-prod7", "prod7"}) {
        SCOPED_TRACE(storeName);
        ConfigFixture config({{7, {"billing"}, "", {{5, {"worker"}}}, "", storeName}});
        const std::string product = config.productStore(7), longest(400, 'q');
        const bool flat = storeName != "prod7";
        const std::string logsets = flat ? product : product + "\\LOGSET", prefix = flat ? "LOGSET." : "";
        config.setProperty(logsets, prefix + "nightly", "Directory", "/logs/n");
        config.setProperty(logsets, prefix + longest, "Directory", "/logs/q");
        config.setProperty(product, flat ? "nightly" : "LOGSET.nightly", "Names", "not a logset section");
        EXPECT_EQ(zelkLogRemoveLogSetCfg(7, "nightly"), 0u);
        EXPECT_EQ(zelkLogRemoveLogSetCfg(7, longest.c_str()), 0u);
        EXPECT_EQ(zelkLogRemoveLogSetCfg(7, "nightly"), ZELKLOG_RC_UNKNOWN_NAME);
        EXPECT_EQ(storeSections(product), (Names{"5", flat ? "nightly" : "LOGSET.nightly"}));
        EXPECT_TRUE(flat || storeSections(logsets).empty());
    }
}

TEST_F(Removal, WholeProduct)
{
    ConfigFixture config({{7, {"billing"}, "", {{5, {"worker"}}}, "", "prod7"}, {12, {"shop"}}});
    std::string store = config.productStore(7);
    config.setProperty(store + "\\LOGSET", "nightly", "Directory", "/n");
    ASSERT_EQ(zelkLogRemoveProductAllCfg(7), 0u);
    EXPECT_EQ(storeSections(config.globalStore()), Names{"12"});
    EXPECT_FALSE(std::filesystem::exists(store));
    EXPECT_FALSE(std::filesystem::exists(store + "\\LOGSET"));
    EXPECT_EQ(zelkLogRemoveProductAllCfg(7), ZELKLOG_RC_STORE_UNAVAILABLE);
}

TEST_F(Removal, ProductWhoseCoreConfigurationStays)
{
    ConfigFixture config({{7, {"billing"}}});
    // A directory where the product's store should be: the core cannot remove it.
    std::filesystem::create_directories(config.path("blocked.conf/inner"));
    config.setProperty(config.globalStore(), "7", "ConfigPath", config.path("blocked.conf"));
    EXPECT_EQ(zelkLogRemoveProductAllCfg(7), ZELKLOG_RC_STORE_UNAVAILABLE);
    EXPECT_EQ(storeSections(config.globalStore()), Names{"7"});
}

}  // namespace
