// Fetching from real log files written by the writer: filters end to end, damaged and
// growing files, logset files, unopenable files and the descriptors left open.
#include "src/core/zelkLogCore.h"

#include "tests/support/config_fixture.h"
#include "tests/support/log_fixture.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using zelk::test::numbered;

class Fetch : public ::testing::Test {
protected:
    Fetch() : config_(zelk::test::billingProduct()) {}
    ~Fetch() override { zelkLogDestroyQuery(&query_); }
    std::string path(const std::string &name) const { return config_.logDirectory(7) + name; }
    void create(const char *filter)
    {
        zelkLogDestroyQuery(&query_);
        query_ = LogQuery{};
        ASSERT_EQ(zelkLogCreateQuery(filter, "en_US", &query_), 0u) << filter;
    }
    // Codes and record numbers (tid) of fetches until 9 or `limit` calls: "0:3 23 0:5 9".
    std::string fetchAll(bool sorted = false, int limit = 100)
    {
        std::string trace;
        for (uint32_t rc = 0; rc != ZELKLOG_RC_NO_MORE_RECORDS && limit-- > 0;) {
            ZelkLogMsg record{};
            ZelkLogMsg *out = &record;
            rc = sorted ? zelkLogFetchNextSortedEntry(&query_, &out) : zelkLogFetchNextEntry(&query_, out);
            trace += (trace.empty() ? "" : " ") + std::to_string(rc) +
                     (rc == 0 ? ":" + std::to_string(out->tid) : "");
            if (!sorted || rc == 0)
                zelkLogFreeMsg(out);
        }
        return trace;
    }
    zelk::test::ConfigFixture config_;
    LogQuery query_{};
};

// The field rules themselves are the evaluator's; here the filter only has to be applied
// to every decoded record, by both fetches.
TEST_F(Fetch, FiltersEndToEnd)
{
    auto debug = numbered(1, ZELKLOG_MSG_DEBUG);
    auto app = numbered(2);
    auto context = numbered(3, ZELKLOG_MSG_CTX);
    auto audit = numbered(4, ZELKLOG_MSG_AUDIT);
    debug.who = "nightly batch";
    app.contextToken = "job-1";
    context.contextToken = "job-1";
    context.contextText = "Nightly batch";
    audit.subject = "disk full";
    zelk::test::writeLogFile(path("mixed.log"), {debug, app, context, audit}, 1000);
    const std::pair<const char *, const char *> cases[] = {
        {"MSGTYPE = AUDIT || MSGTYPE = DEBUG", "0:1 0:4 9"},
        {"PRODID = 'billing' && 1235 > PID", "0:1 0:2 0:4 9"},
        {"WHO = 'batch' || CTXTOK = 'job-1' || SUBJECT = 'disk full'", "0:1 0:2 0:4 9"},
        {"CTXTOK = 'ALL'", "0:3 9"},
        {"PID = 4321", "9"}};
    for (auto [filter, expected] : cases) {
        for (bool sorted : {false, true}) {
            create(filter);
            EXPECT_EQ(fetchAll(sorted), expected) << filter << (sorted ? " (sorted)" : "");
        }
    }
}

// A zone offset moves only times read from date texts: PREVTIME's window and a number
// of seconds are instants already.
TEST_F(Fetch, ZoneOffsetLeavesPrevTimeAndNumbers)
{
    const int64_t minuteAgo = int64_t(time(nullptr)) - 60;
    zelk::test::RecordFields recent = numbered(1);
    recent.timeMs = minuteAgo * 1000;
    zelk::test::writeLogFile(path("recent.log"), {recent}, 1000);
    for (const std::string &filter :
         {std::string("PREVTIME = 3600"), "STDATE >= " + std::to_string(minuteAgo - 60)}) {
        zelkLogDestroyQuery(&query_);
        ASSERT_EQ(zelkLogCreateQueryEx2(filter.c_str(), "en_US", nullptr, nullptr, 19800, &query_), 0u);
        EXPECT_EQ(fetchAll(), "0:1 9") << filter;
    }
}

TEST_F(Fetch, CorruptTornAndGrowingFiles)
{
    zelk::test::writeLogFile(path("a.log"), {numbered(1)}, 1000);
    zelk::test::appendRawRecord(path("a.log"), "this is not a serialized message");
    zelk::test::appendRecords(path("a.log"), {numbered(3)});
    zelk::test::setModificationTime(path("a.log"), 1000);
    zelk::test::writeLogFile(path("b.log"), {numbered(4), numbered(5)}, 2000);
    std::filesystem::resize_file(path("b.log"), std::filesystem::file_size(path("b.log")) - 5);  // torn
    zelk::test::setModificationTime(path("b.log"), 2000);
    // The last file is still held by its writer and grows while it is read.
    zelk::test::LogFile live(path("c.log"), ZELKLOG_FORMAT_10006, "live");
    live.append(zelk::test::makeRecord(numbered(6)));
    live.append(zelk::test::makeRecord(numbered(7)));
    create("PID = 1234");
    EXPECT_EQ(fetchAll(false, 5), "0:1 23 0:3 0:4 0:6");
    live.append(zelk::test::makeRecord(numbered(8)));
    EXPECT_EQ(fetchAll(), "0:7 0:8 9");
}

// A record that does not decode gives 23 whether or not it would match, also when the
// broken field is one the filter does not test, and holds what the decoder stored.
TEST_F(Fetch, UndecodableRecordGives23WhateverTheFilterTests)
{
    zelk::test::writeLogFile(path("a.log"), {numbered(1)}, 1000);
    for (const char *text : {"2,7,112,0,0,1700000002000,999,2,0:,0:,3:a\xff"
                             "b,0,(100|)",                                          // who not UTF-8
                             "2,7,112,0,0,1700000003000,999,3,0:,0:,0:,0,(100|Q)",  // no such argument
                             "2,7,112,0,0,1700000004000,999,4,0:,0:,0:,0,(100|)",   // fine, no match
                             "2,7,112,0,0,1700000005000,1234,5,0:,0:,0:,0,(100|A9:x,)"})
        zelk::test::appendRawRecord(path("a.log"), text);
    zelk::test::appendRecords(path("a.log"), {numbered(6)});
    create("PID = 1234 && SEV = INFO");
    ZelkLogMsg record;
    ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), 0u);
    zelkLogFreeMsg(&record);
    ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), ZELKLOG_RC_CORRUPT_RECORD);
    EXPECT_EQ(record.marker, 1u);
    EXPECT_EQ(record.tid, 2u);
    EXPECT_EQ(record.kindData.second.who, nullptr);
    zelkLogFreeMsg(&record);
    EXPECT_EQ(fetchAll(), "23 23 0:6 9");
}

TEST_F(Fetch, LogsetFileGivesEveryRecordItsLogset)
{
    char name[256];
    ASSERT_EQ(zelkLogMakeLogSetFileName(42, "nightly", ".log", name, sizeof name), 0u);
    zelk::test::writeLogFile(path(name), {numbered(1), numbered(2, ZELKLOG_MSG_AUDIT)}, 1000,
                             ZELKLOG_FORMAT_10008);
    create("PID = 1234");
    ZelkLogMsg record;
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), 0u);
        EXPECT_EQ(record.productId, 42u);
        EXPECT_STREQ(record.logsetName, "nightly");
        zelkLogFreeMsg(&record);
    }
}

TEST_F(Fetch, UnopenableFilesAndDescriptors)
{
    for (int i = 0; i < 4; ++i)
        zelk::test::writeLogFile(path("f" + std::to_string(i) + ".log"),
                                 {numbered(10 * i + 1), numbered(10 * i + 2)}, 1000 + i);
    const int before = zelk::test::openDescriptors();
    create("PID = 1234");
    unlink(path("f1.log").c_str());
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(fetchAll(), "0:1 0:2 0:21 0:22 0:31 0:32 9");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "the plain fetch drops it silently";
    EXPECT_EQ(zelk::test::openDescriptors(), before);
    // Destruction half-way closes whatever is open and frees records read ahead.
    for (bool sorted : {false, true}) {
        create("PID = 1234");
        ZelkLogMsg record{};
        ZelkLogMsg *out = &record;
        ASSERT_EQ(sorted ? zelkLogFetchNextSortedEntry(&query_, &out) : zelkLogFetchNextEntry(&query_, out),
                  0u);
        EXPECT_EQ(zelk::test::openDescriptors(), before + 1);
        if (!sorted)
            zelkLogFreeMsg(&record);
        EXPECT_EQ(zelkLogDestroyQuery(&query_), 0u);
        EXPECT_EQ(zelk::test::openDescriptors(), before);
    }
    ZelkLogMsg *out = nullptr;
    EXPECT_EQ(zelkLogFetchNextEntry(nullptr, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogFetchNextSortedEntry(&query_, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    LogQuery empty{};
    EXPECT_EQ(zelkLogFetchNextSortedEntry(&empty, &out), ZELKLOG_RC_BAD_ARGUMENT) << "no tree";
}

}  // namespace
