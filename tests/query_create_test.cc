// Creating and destroying queries: refused arguments, the log-directory and
// format-resource overrides, failed parses and validations, repeated destruction.
#include "zelkLogCore.h"

#include "config_fixture.h"
#include "fetch_files.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <string>

namespace {

using zelk::test::RecordSpec;

class QueryCreate : public ::testing::Test {
protected:
    QueryCreate() : config_({{7, {"billing"}, "", {{112, {"main"}, 0, {}}}}}) {}
    zelk::test::ConfigFixture config_;
};

bool untouched(const LogQuery &query)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(&query);
    for (size_t i = 0; i < sizeof query; ++i) {
        if (bytes[i] != 0xAB)
            return false;
    }
    return true;
}

TEST_F(QueryCreate, RefusedArgumentsLeaveTheRecordUntouched)
{
    const std::string tooLong(1023, 'd');  // no room for the added "/" and the terminator
    struct Case {
        const char *what;
        const char *text;
        const char *logDirectory;
    } cases[] = {
        {"null text", nullptr, nullptr},
        {"empty text", "", nullptr},
        {"empty log directory", "PID = 1", ""},
        {"log directory too long", "PID = 1", tooLong.c_str()},
    };
    for (const Case &c : cases) {
        LogQuery query;
        std::memset(&query, 0xAB, sizeof query);
        EXPECT_EQ(zelkLogCreateQueryEx2(c.text, "en_US", c.logDirectory, nullptr, ZELKLOG_NO_TZ_ADJUST, &query),
                  ZELKLOG_RC_BAD_ARGUMENT) << c.what;
        EXPECT_TRUE(untouched(query)) << c.what;
    }
    EXPECT_EQ(zelkLogCreateQuery("PID = 1", "en_US", nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogDestroyQuery(nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    LogQuery query{};
    ZelkLogProductCfg *none[1] = {nullptr};
    EXPECT_EQ(CreateTreeFromQuery(nullptr, 0, "PID = 1", nullptr, &query), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(CreateTreeFromQuery(none, 0, "", nullptr, &query), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST_F(QueryCreate, LogDirectoryOverrideGetsItsSlash)
{
    const std::string other = config_.directory() + "/elsewhere";
    ASSERT_EQ(mkdir(other.c_str(), 0755), 0);
    RecordSpec spec;
    spec.tid = 77;
    zelk::test::writeLogFile(other + "/x.log", {spec}, 1000);
    for (const std::string &directory : {other, other + "/"}) {
        LogQuery query;
        ASSERT_EQ(zelkLogCreateQueryEx(" PID = 1234", "en_US", directory.c_str(), nullptr, &query), 0u) << directory;
        ASSERT_NE(query.currentFile, nullptr);
        EXPECT_EQ(std::string(query.currentFile->logDirectory), other + "/");
        EXPECT_STREQ(query.currentFile->fileName, "x.log");
        ZelkLogMsg record;
        ASSERT_EQ(zelkLogFetchNextEntry(&query, &record), 0u);
        EXPECT_EQ(record.tid, 77u);
        zelkLogFreeMsg(&record);
        EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);
    }
}

TEST_F(QueryCreate, FormatResourceIsKeptOnlyWhenGiven)
{
    RecordSpec spec;
    zelk::test::writeLogFile(config_.logDirectory(7) + "a.log", {spec}, 1000);
    LogQuery query;
    ASSERT_EQ(zelkLogCreateQueryEx("PID = 1234", "en_US", nullptr, "/some/resources", &query), 0u);
    ASSERT_NE(query.formatResource, nullptr);
    EXPECT_STREQ(query.formatResource, "/some/resources");
    EXPECT_EQ(query.headerNotice, 0u);
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);
    ASSERT_EQ(zelkLogCreateQueryEx2("PID = 1234", "en_US", nullptr, nullptr, 3600, &query), 0u);
    EXPECT_EQ(query.formatResource, nullptr);
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);
}

TEST_F(QueryCreate, FailedParseOrValidationIsSafeToDestroy)
{
    RecordSpec spec;
    zelk::test::writeLogFile(config_.logDirectory(7) + "a.log", {spec}, 1000);
    LogQuery query;
    EXPECT_NE(zelkLogCreateQuery("PID = ", "en_US", &query), 0u);
    EXPECT_EQ(query.root, nullptr) << "a failed parse keeps no tree";
    EXPECT_EQ(query.currentFile, nullptr);
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);

    EXPECT_EQ(zelkLogCreateQuery("PRODID = 'nosuchproduct'", "en_US", &query), ZELKLOG_RC_UNKNOWN_NAME);
    EXPECT_NE(query.root, nullptr) << "a failed validation keeps its tree for destruction";
    EXPECT_EQ(query.currentFile, nullptr);
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u);
    EXPECT_EQ(zelkLogDestroyQuery(&query), 0u) << "a second destruction finds nothing to release";
}

}  // namespace
