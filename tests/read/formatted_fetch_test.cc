// The formatted fetch: text in the chosen locale, the default flags, the codes that
// leave no text, and context titles learnt from context records that do not match.
#include "tests/support/config_fixture.h"
#include "tests/support/log_fixture.h"
#include "tests/support/watchdog.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>
#include <utility>

namespace {

zelk::test::RecordFields app(uint64_t tid, const std::string &token = "")
{
    zelk::test::RecordFields fields = zelk::test::numbered(tid);
    fields.contextToken = token;
    return fields;
}

TEST(FormattedFetch, LocalesTitlesFlagsAndCodes)
{
    zelk::test::ConfigFixture config(zelk::test::billingProduct());
    const std::string catalogues = config.directory() + "/catalogues";
    ASSERT_EQ(mkdir(catalogues.c_str(), 0755), 0);
    config.writeFile("catalogues/en.ini", "[messages]\n100 = Disk is full\n");
    config.writeFile("catalogues/de.ini", "[messages]\n100 = Platte ist voll\n");
    zelk::test::RecordFields context = app(1, "tok-1");
    context.kind = ZELKLOG_MSG_CTX;
    context.msgId = 0;
    context.contextText = "Nightly backup";
    context.pid = 1;  // fails the filter, still teaches the title
    // A second context whose token shares the first one's bucket in the title table.
    zelk::test::RecordFields neighbour = context;
    neighbour.contextToken = "tok-56";
    neighbour.contextText = "Other context";
    const std::string file = config.logDirectory(7) + "a.log";
    zelk::test::writeLogFile(file, {context, neighbour, app(2, "tok-1"), app(3), app(3), app(3), app(3)},
                             1000);
    zelk::test::appendRawRecord(file, "garbage");
    // Its token is longer than any string before it: the formatted fetch decodes it into storage
    // the released records gave back, which must be large enough.
    zelk::test::appendRecords(file, {app(4, "a token of twenty-six chars")});
    LogQuery query;
    ASSERT_EQ(zelkLogCreateQueryEx("PID = 1234", "en_US", nullptr, catalogues.c_str(), &query), 0u);

    // A fetch's code and text ("(null)": none).
    using Got = std::pair<uint32_t, std::string>;
    auto next = [&](const char *locale, uint64_t flags) {
        static char unchanged[] = "(unchanged)";
        char *text = unchanged;
        uint32_t rc = zelkLogFetchNextFormattedMessage(&query, 0, locale, flags, &text);
        Got result(rc, text == nullptr ? "(null)" : text);
        if (rc == ZELKLOG_RC_OK)
            zelkLogFree(text);
        return result;
    };
    const uint64_t contextAndText = 0x400 | 0x800;
    EXPECT_EQ(next("de", contextAndText), Got(ZELKLOG_RC_OK, "Nightly backup | Platte ist voll"));
    EXPECT_EQ(next(nullptr, contextAndText), Got(ZELKLOG_RC_OK, "- | Platte ist voll"))
        << "the locale stays in force";
    EXPECT_EQ(zelkLogFetchNextFormattedMessage(&query, 0, nullptr, 0, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    // Flags 0, 0xF03 and 0xF03 with high bits give the same line (the records are alike).
    Got line = next("en_US", 0);
    EXPECT_NE(line.second.find("Disk is full"), std::string::npos) << line.second;
    EXPECT_EQ(next(nullptr, 0xF03), line);
    EXPECT_EQ(next(nullptr, 0x100000000ull), line);
    EXPECT_EQ(next(nullptr, contextAndText), Got(ZELKLOG_RC_CORRUPT_RECORD, "(null)"));
    EXPECT_EQ(next(nullptr, contextAndText), Got(ZELKLOG_RC_OK, "a token of twenty-six chars | Disk is full"))
        << "reads on after a corrupt one; a token without a title stands for itself";
    EXPECT_EQ(next(nullptr, contextAndText), Got(ZELKLOG_RC_NO_MORE_RECORDS, "(null)"));
    zelkLogDestroyQuery(&query);
}

// A FIFO where a catalogue (or a log file) is looked for is no file to read: formatting
// goes on without that catalogue and opening it fails, both at once (a regression would
// block on opening the FIFO: the watchdog ends the program after a few seconds).
TEST(FormattedFetch, FifoInsteadOfACatalogue)
{
    zelk::test::ConfigFixture config(zelk::test::billingProduct());
    const std::string catalogues = config.directory() + "/catalogues";
    ASSERT_EQ(mkdir(catalogues.c_str(), 0755), 0);
    ASSERT_EQ(mkfifo((catalogues + "/en.ini").c_str(), 0644), 0);
    zelk::test::writeLogFile(config.logDirectory(7) + "a.log", {app(1)}, 1000);
    zelk::test::Waiting waiting("a FIFO opened as a catalogue", 10);
    LogQuery query;
    ASSERT_EQ(zelkLogCreateQueryEx("PID = 1234", "en_US", nullptr, catalogues.c_str(), &query), 0u);
    char *text = nullptr;
    EXPECT_EQ(zelkLogFetchNextFormattedMessage(&query, 0, "en", 0, &text), 0u);
    zelkLogFree(text);
    zelkLogDestroyQuery(&query);
}

}  // namespace
