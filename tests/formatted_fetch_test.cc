// The formatted fetch: text in the chosen locale, the default flags, the codes that
// leave no text, and context titles learnt from context records that do not match.
#include "zelkLogCore.h"

#include "config_fixture.h"
#include "fetch_files.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>

namespace {

using zelk::test::RecordSpec;

constexpr uint64_t kContextAndText = 0x400 | 0x800;

RecordSpec app(uint64_t tid, const std::string &token = "")
{
    RecordSpec s;
    s.tid = tid;
    s.timeMs = 1700000000000 + 1000 * static_cast<int64_t>(tid);
    s.msgId = 100;
    s.contextToken = token;
    return s;
}

class FormattedFetch : public ::testing::Test {
protected:
    FormattedFetch()
        : config_({{7, {"billing"}, "", {{112, {"main"}, 0, {}}}}}),
          directory_(config_.logDirectory(7)),
          catalogues_(config_.directory() + "/catalogues")
    {
        mkdir(catalogues_.c_str(), 0755);
        config_.writeFile("catalogues/en.ini", "[messages]\n100 = Disk is full\n");
        config_.writeFile("catalogues/de.ini", "[messages]\n100 = Platte ist voll\n");
    }
    ~FormattedFetch() override
    {
        if (created_)
            zelkLogDestroyQuery(&query_);
    }
    void create()
    {
        ASSERT_EQ(zelkLogCreateQueryEx("PID = 1234", "en_US", nullptr, catalogues_.c_str(), &query_), 0u);
        created_ = true;
    }
    // One formatted fetch: the code and the text ("(null)" when none was stored).
    std::pair<uint32_t, std::string> next(const char *locale, uint64_t flags)
    {
        static char unchanged[] = "(unchanged)";
        char *text = unchanged;
        uint32_t rc = zelkLogFetchNextFormattedMessage(&query_, 0, locale, flags, &text);
        std::string result = text == nullptr ? "(null)" : std::string(text);
        if (rc == ZELKLOG_RC_OK)
            zelkLogFree(text);
        return {rc, result};
    }

    zelk::test::ConfigFixture config_;
    std::string directory_;
    std::string catalogues_;
    LogQuery query_{};
    bool created_ = false;
};

TEST_F(FormattedFetch, LocalesContextTitlesAndEndCodes)
{
    RecordSpec context = app(1, "tok-1");
    context.kind = ZELKLOG_MSG_CTX;
    context.msgId = 0;
    context.contextText = "Nightly backup";
    context.pid = 1;  // fails the filter, still teaches the title
    zelk::test::writeLogFile(directory_ + "a.log", {context, app(2, "tok-1"), app(3)}, 1000);
    zelk::test::appendRawRecord(directory_ + "a.log", "garbage");
    zelk::test::appendRecords(directory_ + "a.log", {app(4)});
    create();

    using Result = std::pair<uint32_t, std::string>;
    EXPECT_EQ(next("de", kContextAndText), (Result{0, "Nightly backup | Platte ist voll"}));
    EXPECT_EQ(next(nullptr, kContextAndText), (Result{0, "- | Platte ist voll"})) << "the locale stays in force";
    EXPECT_EQ(next("en_US", kContextAndText), (Result{ZELKLOG_RC_CORRUPT_RECORD, "(null)"}));
    EXPECT_EQ(next(nullptr, kContextAndText), (Result{0, "- | Disk is full"}));
    EXPECT_EQ(next(nullptr, kContextAndText), (Result{ZELKLOG_RC_NO_MORE_RECORDS, "(null)"}));
}

TEST_F(FormattedFetch, ZeroFlagsMeanTheDefaultLine)
{
    zelk::test::writeLogFile(directory_ + "a.log", {app(1), app(1), app(1)}, 1000);
    create();
    auto withDefault = next("en_US", 0);
    auto explicitFlags = next("en_US", 0xF03);
    ASSERT_EQ(withDefault.first, 0u);
    ASSERT_EQ(explicitFlags.first, 0u);
    EXPECT_EQ(withDefault.second, explicitFlags.second);
    EXPECT_NE(withDefault.second.find("Disk is full"), std::string::npos) << withDefault.second;
    // The high 32 bits of the flags play no part.
    EXPECT_EQ(next("en_US", 0x100000000ull), withDefault);
}

TEST_F(FormattedFetch, NullTextPointerIsRefused)
{
    zelk::test::writeLogFile(directory_ + "a.log", {app(1)}, 1000);
    create();
    EXPECT_EQ(zelkLogFetchNextFormattedMessage(&query_, 0, nullptr, 0, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(next(nullptr, kContextAndText).second, "- | Disk is full") << "no record was lost";
}

}  // namespace
