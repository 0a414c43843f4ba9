// The corrupt-record report: its exact output, record numbering, and what it leaves of
// a query whose files are already being read.
#include "zelkLogCore.h"

#include "config_fixture.h"
#include "fetch_files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using zelk::test::RecordSpec;

RecordSpec numbered(uint64_t tid)
{
    RecordSpec s;
    s.tid = tid;
    s.timeMs = 1000 * static_cast<int64_t>(tid);
    return s;
}

// The decoder's code for a raw text, as the report prints it.
uint32_t decodeCode(const std::string &text)
{
    textMessage message;
    init_text_msg(&message);
    std::strncpy(message.buffer, text.c_str(), sizeof message.buffer - 1);
    message.buffer[sizeof message.buffer - 1] = '\0';
    ZelkLogMsg record;
    std::memset(&record, 0, sizeof record);
    record.format = ZELKLOG_FORMAT_10006;
    uint32_t code = zelkLogMsgUnserialize(&message, &record);
    zelkLogFreeMsg(&record);
    return code;
}

class CorruptReport : public ::testing::Test {
protected:
    CorruptReport() : config_({{7, {"billing"}, "", {{112, {"main"}, 0, {}}}}}), directory_(config_.logDirectory(7)) {}
    ~CorruptReport() override
    {
        if (created_)
            zelkLogDestroyQuery(&query_);
    }
    void create()
    {
        ASSERT_EQ(zelkLogCreateQuery("PID = 1234", "en_US", &query_), 0u);
        created_ = true;
    }
    std::string report()
    {
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(zelkLogShowCorruptLogRecords(&query_), 0u);
        return ::testing::internal::GetCapturedStdout();
    }
    std::string block(const std::string &file, int number, const std::string &text) const
    {
        return "\nLog Directory: " + directory_ + "\nFile Name: " + file + "\nRecord Number: " +
               std::to_string(number) + "\nError Code: " + std::to_string(decodeCode(text)) +
               "\nRecord Contents:\n" + text + "\n";
    }

    zelk::test::ConfigFixture config_;
    std::string directory_;
    LogQuery query_{};
    bool created_ = false;
};

TEST_F(CorruptReport, CleanFilesGiveOnlyTheSummary)
{
    zelk::test::writeLogFile(directory_ + "a.log", {numbered(1), numbered(2)}, 1000);
    create();
    EXPECT_EQ(report(), "No corrupt records found.\n");
    LogQuery empty{};
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(zelkLogShowCorruptLogRecords(&empty), 0u);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "No corrupt records found.\n");
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(zelkLogShowCorruptLogRecords(nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST_F(CorruptReport, EveryCorruptRecordWithItsPlaceAndACount)
{
    const std::string garbage = "no message here";
    // A real record cut short.
    const std::string cut = zelk::test::serialize(numbered(9)).substr(0, 12);
    zelk::test::writeLogFile(directory_ + "a.log", {numbered(1)}, 1000);
    zelk::test::appendRawRecord(directory_ + "a.log", garbage);
    zelk::test::appendRecords(directory_ + "a.log", {numbered(3)});
    zelk::test::writeLogFile(directory_ + "b.log", {numbered(4), numbered(5)}, 2000);
    zelk::test::appendRawRecord(directory_ + "b.log", cut);
    create();
    // Record numbers start at 2 for the first record after the header.
    std::string expected = block("a.log", 3, garbage) + block("b.log", 4, cut) + "\n2 corrupt records found.\n";
    EXPECT_EQ(report(), expected);
    EXPECT_EQ(report(), expected) << "the report leaves the file list as it was";
}

TEST_F(CorruptReport, FilesAlreadyBeingReadKeepTheirPlace)
{
    zelk::test::writeLogFile(directory_ + "a.log", {numbered(1), numbered(2), numbered(3)}, 1000);
    zelk::test::appendRawRecord(directory_ + "a.log", "junk");
    create();
    ZelkLogMsg record;
    ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), 0u);
    EXPECT_EQ(record.tid, 1u);
    zelkLogFreeMsg(&record);

    const int before = zelk::test::openDescriptors();
    EXPECT_EQ(report(), block("a.log", 5, "junk") + "\n1 corrupt records found.\n");
    EXPECT_EQ(zelk::test::openDescriptors(), before);

    ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), 0u);
    EXPECT_EQ(record.tid, 2u) << "fetching goes on where it stopped";
    zelkLogFreeMsg(&record);
}

}  // namespace
