// Fetching records from real log files written by the writer: filters over records of
// every kind, damaged and growing files, logset files and the descriptors left open.
#include "zelkLogCore.h"

#include "config_fixture.h"
#include "fetch_files.h"
#include "zelkLogWriter.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace {

using zelk::test::RecordSpec;

constexpr int64_t kBaseMs = 1700000000000;

RecordSpec spec(uint64_t tid, uint32_t kind)
{
    RecordSpec s;
    s.tid = tid;
    s.kind = kind;
    s.timeMs = kBaseMs + static_cast<int64_t>(tid) * 1000;
    return s;
}

// One record of each kind and a few variations; the tid is the record's number.
std::vector<RecordSpec> mixedRecords()
{
    std::vector<RecordSpec> records;
    RecordSpec r = spec(1, ZELKLOG_MSG_DEBUG);
    r.level = 5;
    r.who = "debugger";
    records.push_back(r);
    r = spec(2, ZELKLOG_MSG_DIAG);
    r.level = 9;
    r.who = "diag-tool";
    r.pid = 99;
    records.push_back(r);
    r = spec(3, ZELKLOG_MSG_APP);
    r.severity = ZELKLOG_SEV_ERR;
    r.who = "sysadmin";
    r.contextToken = "tok-1";
    records.push_back(r);
    r = spec(4, ZELKLOG_MSG_APP);
    r.severity = ZELKLOG_SEV_INFO;
    r.who = "operator";
    records.push_back(r);
    r = spec(5, ZELKLOG_MSG_APP);
    r.severity = ZELKLOG_SEV_CRIT;
    r.pid = 99;
    r.originatorId = 5;
    r.fileId = 9;
    records.push_back(r);
    r = spec(6, ZELKLOG_MSG_CTX);
    r.contextToken = "tok-1";
    r.contextText = "Nightly backup";
    records.push_back(r);
    r = spec(7, ZELKLOG_MSG_AUDIT);
    r.subject = "login";
    records.push_back(r);
    r = spec(8, ZELKLOG_MSG_AUDIT);
    r.subject = "logout";
    r.returnValue = 3;
    r.pid = 99;
    records.push_back(r);
    return records;
}

class Fetch : public ::testing::Test {
protected:
    Fetch()
        : config_({{7, {"billing"}, "", {{112, {"main"}, 0, {}}, {5, {"worker"}, 9, {"jobs"}}}}}),
          directory_(config_.logDirectory(7))
    {
    }
    ~Fetch() override
    {
        if (created_)
            zelkLogDestroyQuery(&query_);
    }
    void create(const char *filter)
    {
        ASSERT_EQ(zelkLogCreateQuery(filter, "en_US", &query_), 0u) << filter;
        created_ = true;
    }
    // Record numbers of everything the plain fetch returns until it says 9.
    std::vector<uint64_t> fetchAll(std::vector<uint32_t> *codes = nullptr)
    {
        std::vector<uint64_t> tids;
        ZelkLogMsg record;
        for (int guard = 0; guard < 1000; ++guard) {
            uint32_t rc = zelkLogFetchNextEntry(&query_, &record);
            if (codes != nullptr)
                codes->push_back(rc);
            if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
                break;
            if (rc == ZELKLOG_RC_OK)
                tids.push_back(record.tid);
            zelkLogFreeMsg(&record);
        }
        return tids;
    }
    std::vector<uint64_t> fetchAllSorted()
    {
        std::vector<uint64_t> tids;
        ZelkLogMsg *record = nullptr;
        for (int guard = 0; guard < 1000; ++guard) {
            uint32_t rc = zelkLogFetchNextSortedEntry(&query_, &record);
            if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
                break;
            if (rc == ZELKLOG_RC_OK) {
                tids.push_back(record->tid);
                zelkLogFreeMsg(record);
            }
        }
        return tids;
    }
    std::string path(const std::string &name) const { return directory_ + name; }

    zelk::test::ConfigFixture config_;
    std::string directory_;
    LogQuery query_{};
    bool created_ = false;
};

TEST_F(Fetch, FiltersOverEveryKind)
{
    zelk::test::writeLogFile(path("mixed.log"), mixedRecords(), 1000);
    struct Case {
        const char *filter;
        std::vector<uint64_t> expected;
    } cases[] = {
        {"SEV >= ERR && PID = 1234", {3}},
        {"SEV != ERR", {4, 5}},
        {"LEVEL > 6", {2}},
        {"level = 5 || level = 9", {1, 2}},
        {"MSGTYPE = AUDIT", {7, 8}},
        {"MSGTYPE = DEBUG || MSGTYPE = DIAG", {1, 2}},
        {"SUBJECT = 'login'", {7}},
        {"SUBJECT != 'login'", {8}},
        {"RETURNVAL != 0", {8}},
        {"WHO = 'adm'", {3}},
        {"WHO = 'o'", {2, 4}},
        {"CTXTOK = 'tok-1'", {3}},
        {"CTXTOK = 'ALL'", {6}},
        {"CTXTOK != 'ALL'", {1, 2, 3, 4, 5, 7, 8}},
        {"PRODID = 'billing'", {1, 2, 3, 4, 5, 7, 8}},
        {"ORGID = 'worker'", {5}},
        {"FILEID = 'jobs'", {5}},
        {"PID = 99 || TID = 1", {1, 2, 5, 8}},
        {"100 > PID", {2, 5, 8}},
        {"TID >= 3 && TID <= 5 && HOSTNAME = 'anywhere'", {3, 4, 5}},
        {"PID = 5", {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.filter);
        create(c.filter);
        EXPECT_EQ(fetchAll(), c.expected) << "plain fetch";
        zelkLogDestroyQuery(&query_);
        create(c.filter);
        EXPECT_EQ(fetchAllSorted(), c.expected) << "sorted fetch";
        zelkLogDestroyQuery(&query_);
        created_ = false;
    }
}

TEST_F(Fetch, NothingMatchingEndsAtOnce)
{
    zelk::test::writeLogFile(path("a.log"), mixedRecords(), 1000);
    zelk::test::writeLogFile(path("b.log"), mixedRecords(), 2000);
    create("PID = 4321");
    ZelkLogMsg record;
    EXPECT_EQ(zelkLogFetchNextEntry(&query_, &record), ZELKLOG_RC_NO_MORE_RECORDS);
    EXPECT_EQ(zelkLogFetchNextEntry(&query_, &record), ZELKLOG_RC_NO_MORE_RECORDS);
    zelkLogDestroyQuery(&query_);
    create("PID = 4321");
    ZelkLogMsg *pending = nullptr;
    EXPECT_EQ(zelkLogFetchNextSortedEntry(&query_, &pending), ZELKLOG_RC_NO_MORE_RECORDS);
    EXPECT_EQ(pending, nullptr);
}

TEST_F(Fetch, RefusesMissingArguments)
{
    zelk::test::writeLogFile(path("a.log"), mixedRecords(), 1000);
    ZelkLogMsg record;
    ZelkLogMsg *pending = nullptr;
    EXPECT_EQ(zelkLogFetchNextEntry(nullptr, &record), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogFetchNextSortedEntry(nullptr, &pending), ZELKLOG_RC_BAD_ARGUMENT);
    LogQuery empty{};
    EXPECT_EQ(zelkLogFetchNextEntry(&empty, &record), ZELKLOG_RC_BAD_ARGUMENT) << "no tree";
    EXPECT_EQ(zelkLogFetchNextSortedEntry(&empty, &pending), ZELKLOG_RC_BAD_ARGUMENT) << "no tree";
    create("PID = 1234");
    EXPECT_EQ(zelkLogFetchNextEntry(&query_, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogFetchNextSortedEntry(&query_, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(ReadOneRecord(nullptr, &record), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(ReadNextLogFile(nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(closelogfile(nullptr), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST_F(Fetch, CorruptRecordIsReportedOnceAndSkipped)
{
    zelk::test::writeLogFile(path("a.log"), {spec(1, ZELKLOG_MSG_APP)}, 1000);
    zelk::test::appendRawRecord(path("a.log"), "this is not a serialized message");
    zelk::test::appendRecords(path("a.log"), {spec(3, ZELKLOG_MSG_APP)});
    create("PID = 1234");
    std::vector<uint32_t> codes;
    EXPECT_EQ(fetchAll(&codes), (std::vector<uint64_t>{1, 3}));
    EXPECT_EQ(codes, (std::vector<uint32_t>{0, ZELKLOG_RC_CORRUPT_RECORD, 0, ZELKLOG_RC_NO_MORE_RECORDS}));
}

TEST_F(Fetch, TornLastRecordEndsTheFile)
{
    zelk::test::writeLogFile(path("a.log"), {spec(1, ZELKLOG_MSG_APP), spec(2, ZELKLOG_MSG_APP),
                                             spec(3, ZELKLOG_MSG_APP)}, 1000);
    ASSERT_EQ(truncate(path("a.log").c_str(), zelk::test::fileSize(path("a.log")) - 5), 0);
    zelk::test::setModificationTime(path("a.log"), 1000);
    zelk::test::writeLogFile(path("b.log"), {spec(4, ZELKLOG_MSG_APP)}, 2000);
    create("PID = 1234");
    EXPECT_EQ(fetchAll(), (std::vector<uint64_t>{1, 2, 4}));
}

TEST_F(Fetch, RecordsAppendedWhileReadingAreSeen)
{
    // The writer stays open throughout: the file's header says a writer holds it.
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterCreate(path("live.log").c_str(), ZELKLOG_FORMAT_10006, "live", 0644, &writer), 0u);
    auto append = [&](uint64_t tid) {
        RecordSpec s = spec(tid, ZELKLOG_MSG_APP);
        ZelkLogMsg record = zelk::test::makeRecord(s);
        ASSERT_EQ(zelkLogWriterAppendMsg(writer, &record), 0u);
    };
    append(1);
    append(2);
    create("PID = 1234");
    ZelkLogMsg record;
    ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), 0u);
    EXPECT_EQ(record.tid, 1u);
    zelkLogFreeMsg(&record);
    append(3);
    append(4);
    EXPECT_EQ(fetchAll(), (std::vector<uint64_t>{2, 3, 4}));
    zelkLogWriterClose(writer);
}

TEST_F(Fetch, LogsetFileGivesEveryRecordItsLogset)
{
    char name[256];
    ASSERT_EQ(zelkLogMakeLogSetFileName(42, "nightly", ".log", name, sizeof name), 0u);
    zelk::test::writeLogFile(path(name), {spec(1, ZELKLOG_MSG_APP), spec(2, ZELKLOG_MSG_AUDIT)}, 1000,
                             ZELKLOG_FORMAT_10008);
    create("PID = 1234");
    ZelkLogMsg record;
    for (uint64_t tid : {1u, 2u}) {
        ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), 0u);
        EXPECT_EQ(record.tid, tid);
        EXPECT_EQ(record.productId, 42u);
        EXPECT_STREQ(record.logsetName, "nightly");
        EXPECT_EQ(record.format, ZELKLOG_FORMAT_10008);
        zelkLogFreeMsg(&record);
    }
    EXPECT_EQ(zelkLogFetchNextEntry(&query_, &record), ZELKLOG_RC_NO_MORE_RECORDS);
}

TEST_F(Fetch, UnopenableFileIsDroppedByThePlainFetch)
{
    zelk::test::writeLogFile(path("a.log"), {spec(1, ZELKLOG_MSG_APP)}, 1000);
    zelk::test::writeLogFile(path("b.log"), {spec(2, ZELKLOG_MSG_APP)}, 2000);
    zelk::test::writeLogFile(path("c.log"), {spec(3, ZELKLOG_MSG_APP)}, 3000);
    create("PID = 1234");
    ASSERT_EQ(unlink(path("b.log").c_str()), 0);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(fetchAll(), (std::vector<uint64_t>{1, 3}));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(Fetch, NoDescriptorLeftAfterDestruction)
{
    for (int i = 0; i < 4; ++i) {
        zelk::test::writeLogFile(path("f" + std::to_string(i) + ".log"),
                                 {spec(10 * i + 1, ZELKLOG_MSG_APP), spec(10 * i + 2, ZELKLOG_MSG_APP)}, 1000 + i);
    }
    const int before = zelk::test::openDescriptors();
    for (bool sorted : {false, true}) {
        create("PID = 1234");
        ZelkLogMsg record;
        ZelkLogMsg *pending = nullptr;
        // Stop half-way, with files open and records read ahead.
        if (sorted) {
            ASSERT_EQ(zelkLogFetchNextSortedEntry(&query_, &pending), 0u);
            EXPECT_EQ(zelk::test::openDescriptors(), before + 1) << "only the chosen file stays open";
        } else {
            ASSERT_EQ(zelkLogFetchNextEntry(&query_, &record), 0u);
            zelkLogFreeMsg(&record);
        }
        EXPECT_EQ(zelkLogDestroyQuery(&query_), 0u);
        created_ = false;
        EXPECT_EQ(zelk::test::openDescriptors(), before) << (sorted ? "sorted" : "plain");
    }
}

}  // namespace
