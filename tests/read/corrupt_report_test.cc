// The corrupt-record report: its exact output, record numbering across files, damaged
// frames as well as texts that do not decode, and a query whose first file is already
// being read.
#include "tests/support/config_fixture.h"
#include "tests/support/log_fixture.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>

namespace {

std::string report(LogQuery *query, uint32_t expectedCode = 0)
{
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(zelkLogShowCorruptLogRecords(query), expectedCode);
    return ::testing::internal::GetCapturedStdout();
}

TEST(CorruptReport, ExactOutput)
{
    zelk::test::ConfigFixture config(zelk::test::billingProduct());
    const std::string directory = config.logDirectory(7);
    auto block = [&](const std::string &file, int number, const std::string &text) {
        textMessage message;  // the decoder's code for this text, as the report prints it
        std::strcpy(message.buffer, text.c_str());
        message.text = message.buffer;
        ZelkLogMsg record{};
        record.format = ZELKLOG_FORMAT_10006;
        uint32_t code = zelkLogMsgUnserialize(&message, &record);
        zelkLogFreeMsg(&record);
        return "\nLog Directory: " + directory + "\nFile Name: " + file +
               "\nRecord Number: " + std::to_string(number) + "\nError Code: " + std::to_string(code) +
               "\nRecord Contents:\n" + text + "\n";
    };
    const std::string garbage = "no message here";
    const std::string cut =
        zelk::test::serialize(zelk::test::makeRecord(zelk::test::numbered(9))).substr(0, 12);
    zelk::test::writeLogFile(directory + "a.log", {zelk::test::numbered(1), zelk::test::numbered(2)}, 1000);
    LogQuery query{};
    ASSERT_EQ(zelkLogCreateQuery("PID = 1234", "en_US", &query), 0u);
    EXPECT_EQ(report(&query), "No corrupt records found.\n");
    LogQuery empty{};
    EXPECT_EQ(report(&empty), "No corrupt records found.\n");
    EXPECT_EQ(report(nullptr, ZELKLOG_RC_BAD_ARGUMENT), "");
    zelkLogDestroyQuery(&query);

    zelk::test::appendRawRecord(directory + "a.log", garbage);
    zelk::test::appendRecords(directory + "a.log", {zelk::test::numbered(4)});
    zelk::test::setModificationTime(directory + "a.log", 1000);
    zelk::test::writeLogFile(directory + "b.log", {zelk::test::numbered(5)}, 2000);
    zelk::test::appendRawRecord(directory + "b.log", cut);
    // A frame whose checksum fails: the report shows its text, plain fetching skips it.
    zelk::test::appendRawRecord(directory + "b.log", "damaged frame");
    std::fstream(directory + "b.log", std::ios::in | std::ios::out | std::ios::ate).seekp(-1, std::ios::end)
        << 'd';
    std::ofstream(directory + "c.txt") << std::string(1000, 'p');  // no log file: not reported
    ASSERT_EQ(zelkLogCreateQuery("PID = 1234", "en_US", &query), 0u);
    // The first file is open and partly read: the report must not disturb it.
    ZelkLogMsg record{};
    ASSERT_EQ(zelkLogFetchNextEntry(&query, &record), 0u);
    zelkLogFreeMsg(&record);
    const int descriptors = zelk::test::openDescriptors();
    // Numbers start at 2 for the first record after the header, anew in every file.
    const std::string expected = block("a.log", 4, garbage) + block("b.log", 3, cut) +
                                 block("b.log", 4, "damaged framd") + "\n3 corrupt records found.\n";
    EXPECT_EQ(report(&query), expected);
    EXPECT_EQ(report(&query), expected) << "the file list stays as it was";
    EXPECT_EQ(zelk::test::openDescriptors(), descriptors);
    ASSERT_EQ(zelkLogFetchNextEntry(&query, &record), 0u);
    EXPECT_EQ(record.tid, 2u) << "fetching goes on where it stopped";
    zelkLogFreeMsg(&record);
    zelkLogDestroyQuery(&query);
}

}  // namespace
