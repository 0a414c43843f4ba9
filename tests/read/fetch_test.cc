// Fetching from real log files written by the writer: filters end to end, damaged and
// growing files, logset files, unopenable files and the descriptors left open.
#include "tests/support/config_fixture.h"
#include "tests/support/log_fixture.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace {

using zelk::test::numbered;
// Fetch codes with the record number (tid) of each record handed out (0: none).
using Trace = std::vector<std::pair<uint32_t, uint64_t>>;
constexpr uint32_t kOk = ZELKLOG_RC_OK, kCorrupt = ZELKLOG_RC_CORRUPT_RECORD,
                   kDone = ZELKLOG_RC_NO_MORE_RECORDS;

// A record that owns decoded texts, so that one left unreleased is a leak.
zelk::test::RecordFields owning(uint64_t tid, uint32_t kind = ZELKLOG_MSG_APP)
{
    zelk::test::RecordFields fields = numbered(tid, kind);
    fields.who = "w" + std::to_string(tid);
    return fields;
}

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
    // The fetches until 9 or `limit` calls.
    Trace fetchAll(bool sorted = false, int limit = 100)
    {
        Trace trace;
        for (uint32_t rc = 0; rc != kDone && limit-- > 0;) {
            ZelkLogMsg record{};
            ZelkLogMsg *out = &record;
            rc = sorted ? zelkLogFetchNextSortedEntry(&query_, &out) : zelkLogFetchNextEntry(&query_, out);
            trace.emplace_back(rc, rc == kOk ? out->tid : 0);
            if (!sorted || rc == kOk)
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
    auto debug = owning(1, ZELKLOG_MSG_DEBUG);
    auto app = owning(2);
    auto context = numbered(3, ZELKLOG_MSG_CTX);
    auto audit = numbered(4, ZELKLOG_MSG_AUDIT);
    debug.who = "nightly batch";
    app.contextToken = "job-1";
    context.contextToken = "job-1";
    context.contextText = "Nightly batch";
    audit.subject = "disk full";
    zelk::test::writeLogFile(path("mixed.log"), {debug, app, context, audit}, 1000);
    const std::pair<const char *, Trace> cases[] = {
        {"MSGTYPE = AUDIT || MSGTYPE = DEBUG", {{kOk, 1}, {kOk, 4}, {kDone, 0}}},
        {"PRODID = 'billing' && 1235 > PID", {{kOk, 1}, {kOk, 2}, {kOk, 4}, {kDone, 0}}},
        {"WHO = 'batch' || CTXTOK = 'job-1' || SUBJECT = 'disk full'",
         {{kOk, 1}, {kOk, 2}, {kOk, 4}, {kDone, 0}}},
        {"CTXTOK = 'ALL'", {{kOk, 3}, {kDone, 0}}},
        {"PID = 4321", {{kDone, 0}}}};
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
        EXPECT_EQ(fetchAll(), (Trace{{kOk, 1}, {kDone, 0}})) << filter;
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
    // A file that holds only its header is listed: what is appended later is found.
    zelk::test::LogFile(path("d.log"), ZELKLOG_FORMAT_10006).close();
    create("PID = 1234");
    EXPECT_EQ(fetchAll(false, 5), (Trace{{kOk, 1}, {kCorrupt, 0}, {kOk, 3}, {kOk, 4}, {kOk, 6}}));
    live.append(zelk::test::makeRecord(numbered(8)));
    zelk::test::appendRecords(path("d.log"), {numbered(9)});
    EXPECT_EQ(fetchAll(), (Trace{{kOk, 7}, {kOk, 8}, {kOk, 9}, {kDone, 0}}));
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
    EXPECT_EQ(fetchAll(), (Trace{{kCorrupt, 0}, {kCorrupt, 0}, {kOk, 6}, {kDone, 0}}));
}

// Only a file of format 0x10008 named for a logset gives its records the logset's id
// (as product id) and name; an older format under such a name keeps its records' own.
// The first record does not match, so that the others are tested where they lie.
TEST_F(Fetch, LogsetFileGivesEveryRecordItsLogset)
{
    const std::pair<uint64_t, const char *> formats[] = {{ZELKLOG_FORMAT_10008, "nightly"},
                                                         {ZELKLOG_FORMAT_10007, ""}};
    for (auto [format, logset] : formats) {
        char name[256];
        ASSERT_EQ(zelkLogMakeLogSetFileName(42, "nightly", ".log", name, sizeof name), 0u);
        unlink(path(name).c_str());
        zelk::test::writeLogFile(path(name), {numbered(1), numbered(2), numbered(3, ZELKLOG_MSG_AUDIT)}, 1000,
                                 format);
        create("TID >= 2");
        ZelkLogMsg record;
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), 0u);
            EXPECT_EQ(record.productId, *logset != '\0' ? 42u : 7u) << std::hex << format;
            EXPECT_EQ(record.originatorId, 112u);
            EXPECT_STREQ(record.logsetName, logset);
            zelkLogFreeMsg(&record);
        }
    }
}

TEST_F(Fetch, UnopenableFilesAndDescriptors)
{
    for (int i = 0; i < 4; ++i)
        zelk::test::writeLogFile(path("f" + std::to_string(i) + ".log"),
                                 {owning(10 * i + 1), owning(10 * i + 2)}, 1000 + i);
    const int before = zelk::test::openDescriptors();
    create("PID = 1234");
    unlink(path("f1.log").c_str());
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(fetchAll(),
              (Trace{{kOk, 1}, {kOk, 2}, {kOk, 21}, {kOk, 22}, {kOk, 31}, {kOk, 32}, {kDone, 0}}));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "the plain fetch drops it silently";
    EXPECT_EQ(zelk::test::openDescriptors(), before);
    // Destruction half-way closes whatever is open and frees the records read ahead (the
    // leak checker of the sanitizer build sees one left).
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
