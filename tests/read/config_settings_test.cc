// Settings in the stores and edits of configuration records.
#include "tests/support/config_fixture.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace {

using zelk::test::ConfigFixture;
using zelk::test::storeValue;

std::string jvmPath(uint32_t expectedCode = 0)
{
    char *path = nullptr;
    EXPECT_EQ(zelkLogGetJVMPathSetting(&path), expectedCode);
    std::string value = path == nullptr ? "<null>" : path;
    zelkLogFree(path);
    return value;
}

TEST(Settings, JvmPathRoundTrips)
{
    ConfigFixture config;
    EXPECT_EQ(jvmPath(ZELKLOG_RC_UNKNOWN_NAME), "<null>");
    for (const char *value : {"", "C:\\Program Files\\java;x = y\n2 "}) {
        ASSERT_EQ(zelkLogAddJVMPathSetting(value), 0u);
        EXPECT_EQ(jvmPath(), value);
    }
    EXPECT_EQ(zelkLogRemoveJVMPathSetting(), 0u);
    EXPECT_EQ(jvmPath(ZELKLOG_RC_UNKNOWN_NAME), "<null>");
    EXPECT_EQ(zelkLogRemoveJVMPathSetting(), ZELKLOG_RC_UNKNOWN_NAME);
    EXPECT_EQ(zelkLogAddJVMPathSetting(nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogGetJVMPathSetting(nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    ::setenv("ZELKLOG_CONFIG", config.path("no/such/dir/zelklog.conf").c_str(),
             1);  // restored by the fixture
    EXPECT_EQ(zelkLogAddJVMPathSetting("/j"), ZELKLOG_RC_STORE_UNAVAILABLE);
    EXPECT_EQ(zelkLogCfgSetToolsResDir("/r"), ZELKLOG_RC_STORE_UNAVAILABLE);
    EXPECT_EQ(zelkLogCfgRemoveToolsResDir(), ZELKLOG_RC_STORE_UNAVAILABLE);
}

TEST(Settings, ToolsDirectorySectionIsMadeAnew)
{
    ConfigFixture config;
    auto toolsDirectory = [&] { return storeValue(config.globalStore(), "LoggingTools", "L10nResourceDir"); };
    EXPECT_EQ(zelkLogCfgSetToolsResDir(""), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(toolsDirectory(), "<none>");
    ASSERT_EQ(zelkLogCfgSetToolsResDir("/opt/tools/res"), 0u);
    EXPECT_EQ(toolsDirectory(), "/opt/tools/res");
    // A store that can be read but not written (its writers' lock cannot be made).
    std::filesystem::remove(config.globalStore() + ".lock");
    std::filesystem::create_directory(config.globalStore() + ".lock");
    EXPECT_EQ(zelkLogCfgSetToolsResDir("/elsewhere"), ZELKLOG_RC_STORE_UNAVAILABLE);
    std::filesystem::remove(config.globalStore() + ".lock");
    ASSERT_EQ(zelkLogCfgRemoveToolsResDir(), 0u);
    EXPECT_EQ(toolsDirectory(), "<none>");
    EXPECT_EQ(zelkLogCfgRemoveToolsResDir(), ZELKLOG_RC_FAILURE) << "no section left to remove";
}

TEST(Settings, NonOidSettingsReplaceAndRemove)
{
    ConfigFixture config({{7, {"billing"}}});
    ASSERT_EQ(zelkLogAddNonOIDSetting(7, "RetentionDays", "30"), 0u);
    ASSERT_EQ(zelkLogAddNonOIDSetting(7, "RetentionDays", "90"), 0u);
    EXPECT_EQ(storeValue(config.productStore(7), "", "RetentionDays"), "90");
    EXPECT_EQ(zelkLogRemoveNonOIDSetting(7, "RetentionDays"), 0u);
    EXPECT_EQ(storeValue(config.productStore(7), "", "RetentionDays"), "<none>");
    EXPECT_EQ(zelkLogRemoveNonOIDSetting(7, "RetentionDays"), ZELKLOG_RC_UNKNOWN_NAME);

    EXPECT_EQ(zelkLogAddNonOIDSetting(7, nullptr, "x"), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogAddNonOIDSetting(8, "x", "1"), ZELKLOG_RC_STORE_UNAVAILABLE) << "unknown product";
    // An empty store path, and one where no store can be made.
    for (std::string path : {std::string(), config.path("missing/dir/p.conf")}) {
        config.setProperty(config.globalStore(), "7", "ConfigPath", path);
        EXPECT_EQ(zelkLogAddNonOIDSetting(7, "x", "1"), ZELKLOG_RC_STORE_UNAVAILABLE) << path;
    }
}

TEST(RecordEdits, OidNamesSetTheirBitOnlyAndRemovalsAccumulate)
{
    ZelkLogProductCfg record{};
    record.changeFlags = 1 | 4 | 8;
    std::memset(record.oidNames, 'z', sizeof record.oidNames);
    ASSERT_EQ(zelkLogCfgSetOIDNames(&record, "main,worker"), 0u);
    EXPECT_STREQ(record.oidNames, "main,worker");
    EXPECT_EQ(record.oidNames[sizeof record.oidNames - 1], '\0') << "rest of the field cleared";
    EXPECT_EQ(record.changeFlags, 1u | 2u | 4u | 8u);

    ZelkLogProductCfg before = record;
    std::string tooLong(1024, 'n');
    EXPECT_EQ(zelkLogCfgSetOIDNames(&record, ""), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogCfgSetOIDNames(&record, tooLong.c_str()), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(std::memcmp(&before, &record, sizeof record), 0);
    EXPECT_EQ(zelkLogCfgSetOIDNames(&record, tooLong.substr(1).c_str()), 0u);

    record = ZelkLogProductCfg{};
    for (uint32_t flags : {1u, 4u, 0u})
        EXPECT_EQ(zelkLogCfgRemoveSettings(&record, flags), 0u);
    EXPECT_EQ(record.removalFlags, 5u);
    EXPECT_EQ(record.changeFlags, 0u);
}

}  // namespace
