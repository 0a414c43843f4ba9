// Creating and destroying queries: refused arguments, the log-directory and
// format-resource overrides, the time-zone shift, failed parses and validations,
// repeated destruction.
#include "tests/support/config_fixture.h"
#include "tests/support/log_fixture.h"
#include "tests/support/query_tree_text.h"
#include "tests/support/zone_guard.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <string>

namespace {

TEST(QueryCreate, RefusedArgumentsLeaveTheRecordUntouched)
{
    const std::string tooLong(1023, 'd');  // no room for the added "/" and the terminator
    const char *cases[][2] = {
        {nullptr, nullptr}, {"", nullptr}, {"PID = 1", ""}, {"PID = 1", tooLong.c_str()}};
    for (auto [text, directory] : cases) {
        LogQuery query, pattern;
        std::memset(&query, 0xAB, sizeof query);
        std::memset(&pattern, 0xAB, sizeof pattern);
        EXPECT_EQ(zelkLogCreateQueryEx2(text, "en_US", directory, nullptr, ZELKLOG_NO_TZ_ADJUST, &query),
                  ZELKLOG_RC_BAD_ARGUMENT)
            << (text ? text : "null") << " / " << (directory ? directory : "null");
        EXPECT_EQ(std::memcmp(&query, &pattern, sizeof query), 0);
    }
    EXPECT_EQ(zelkLogCreateQuery("PID = 1", "en_US", nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogDestroyQuery(nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    LogQuery query{};
    EXPECT_EQ(CreateTreeFromQuery(nullptr, 0, "PID = 1", nullptr, &query), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST(QueryCreate, OverridesAndFailures)
{
    zelk::test::ConfigFixture config(zelk::test::billingProduct());
    // A product whose store is missing is skipped; the others still make the query.
    config.setProperty(config.globalStore(), "20", "ConfigPath", config.path("missing.conf"));
    const std::string other = config.directory() + "/elsewhere";
    ASSERT_EQ(mkdir(other.c_str(), 0755), 0);
    zelk::test::writeLogFile(other + "/x.log", {zelk::test::RecordFields{}}, 1000);
    for (const std::string &directory : {other, other + "/"}) {
        LogQuery query;
        ASSERT_EQ(zelkLogCreateQueryEx("PID = 1234", "en_US", directory.c_str(), "/res", &query), 0u)
            << directory;
        ASSERT_NE(query.currentFile, nullptr);
        EXPECT_EQ(std::string(query.currentFile->logDirectory) + query.currentFile->fileName,
                  other + "/x.log");
        EXPECT_STREQ(query.formatResource, "/res");
        EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);
    }
    // A time-zone offset moves the times read from date texts, and only those.
    ZoneGuard zone("UTC0");
    LogQuery query;
    ASSERT_EQ(zelkLogCreateQueryEx2("STDATE >= '11/14/23, 10:13:20 PM' && 2000 > ENDATE && PID = 1000",
                                    "en_US", nullptr, nullptr, -3600, &query),
              0u);
    EXPECT_EQ(zelk::test::treeText(query.root),
              "AND(AND(>=(STDATE, 1699996400), >(2000, ENDATE)), =(PID, 1000))");
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);
    EXPECT_NE(zelkLogCreateQuery("PID = ", "en_US", &query), 0u);
    EXPECT_EQ(query.root, nullptr) << "a failed parse keeps no tree";
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);
    EXPECT_EQ(zelkLogCreateQueryEx2("PRODID = 'nosuch'", "en_US", nullptr, "/res", 3600, &query),
              ZELKLOG_RC_UNKNOWN_NAME);
    EXPECT_NE(query.root, nullptr) << "a failed validation keeps its tree for destruction";
    EXPECT_EQ(query.formatResource, nullptr);
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u) << "a second destruction finds nothing to release";
}

}  // namespace
