// The merged fetch over several log files: order, ties, the codes of finished and
// unopenable files, records not released, and one open descriptor after each call.
#include "zelkLogCore.h"

#include "config_fixture.h"
#include "fetch_files.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using zelk::test::RecordSpec;

RecordSpec at(int64_t timeMs, uint64_t tid)
{
    RecordSpec s;
    s.timeMs = timeMs;
    s.tid = tid;
    return s;
}

// One call's outcome: the code and, when `out` was set, the record's number.
struct Step {
    uint32_t code;
    uint64_t tid;  // 0: out not set
    bool operator==(const Step &other) const { return code == other.code && tid == other.tid; }
};

std::ostream &operator<<(std::ostream &out, const Step &step)
{
    return out << "{" << static_cast<int32_t>(step.code) << ", tid " << step.tid << "}";
}

class SortedFetch : public ::testing::Test {
protected:
    SortedFetch() : config_({{7, {"billing"}, "", {{112, {"main"}, 0, {}}}}}), directory_(config_.logDirectory(7)) {}
    ~SortedFetch() override
    {
        if (created_)
            zelkLogDestroyQuery(&query_);
    }
    // Files are listed oldest first: the first file given is the head of the list.
    void writeFiles(const std::vector<std::vector<RecordSpec>> &files)
    {
        for (size_t i = 0; i < files.size(); ++i)
            zelk::test::writeLogFile(path(i), files[i], 1000 + static_cast<time_t>(i), ZELKLOG_FORMAT_10006,
                                     "host-" + std::to_string(i));
    }
    std::string path(size_t index) const { return directory_ + "f" + std::to_string(index) + ".log"; }
    void create(const char *filter = "PID = 1234")
    {
        ASSERT_EQ(zelkLogCreateQuery(filter, "en_US", &query_), 0u);
        created_ = true;
    }
    // One sorted fetch; the record is released unless `keep`.
    Step fetch(bool keep = false)
    {
        ZelkLogMsg *record = nullptr;
        uint32_t rc = zelkLogFetchNextSortedEntry(&query_, &record);
        Step step{rc, record == nullptr ? 0 : record->tid};
        last_ = record;
        if (record != nullptr && !keep)
            zelkLogFreeMsg(record);
        return step;
    }

    zelk::test::ConfigFixture config_;
    std::string directory_;
    LogQuery query_{};
    bool created_ = false;
    ZelkLogMsg *last_ = nullptr;
};

TEST_F(SortedFetch, EqualTimesGoToTheFileNearerTheHead)
{
    writeFiles({{at(5000, 1)}, {at(5000, 2)}});
    create();
    EXPECT_EQ(fetch(), (Step{0, 1}));
    // A's file has ended while B still holds its record.
    EXPECT_EQ(fetch(), (Step{ZELKLOG_RC_END_OF_FILE, 0}));
    EXPECT_EQ(fetch(), (Step{0, 2}));
    EXPECT_EQ(fetch(), (Step{ZELKLOG_RC_NO_MORE_RECORDS, 0}));
}

TEST_F(SortedFetch, LaterFileEndingHandsTheSameRecordAgain)
{
    // A holds times 1 and 3, B time 2.
    writeFiles({{at(1000, 1), at(3000, 3)}, {at(2000, 2)}});
    create();
    EXPECT_EQ(fetch(), (Step{0, 1}));
    EXPECT_EQ(fetch(), (Step{0, 2}));
    EXPECT_EQ(fetch(true), (Step{ZELKLOG_RC_END_OF_FILE, 3})) << "B ended during the pick";
    EXPECT_EQ(fetch(), (Step{0, 3})) << "the same record, handed out again";
    EXPECT_EQ(fetch(), (Step{ZELKLOG_RC_NO_MORE_RECORDS, 0}));
}

TEST_F(SortedFetch, HeadFileEndingReturnsWithoutARecord)
{
    writeFiles({{at(1000, 1)}, {at(2000, 2)}});
    create();
    EXPECT_EQ(fetch(), (Step{0, 1}));
    EXPECT_EQ(fetch(), (Step{ZELKLOG_RC_END_OF_FILE, 0}));
    EXPECT_EQ(fetch(), (Step{0, 2}));
    EXPECT_EQ(fetch(), (Step{ZELKLOG_RC_NO_MORE_RECORDS, 0}));
}

TEST_F(SortedFetch, RecordNotReleasedIsHandedOutAgain)
{
    writeFiles({{at(1000, 1), at(3000, 3)}, {at(2000, 2)}});
    create();
    EXPECT_EQ(fetch(true), (Step{0, 1}));
    ZelkLogMsg *first = last_;
    EXPECT_EQ(fetch(true), (Step{0, 1}));
    EXPECT_EQ(last_, first) << "the record stays in its file's slot";
    EXPECT_STREQ(last_->fileHeaderText, "host-0");
    zelkLogFreeMsg(last_);
    EXPECT_EQ(fetch(true), (Step{0, 2}));
    EXPECT_STREQ(last_->fileHeaderText, "host-1");
    zelkLogFreeMsg(last_);
}

TEST_F(SortedFetch, UnopenableLaterFileIsReportedEveryPass)
{
    writeFiles({{at(1000, 1), at(2000, 2)}, {at(3000, 3)}});
    create();
    ASSERT_EQ(unlink(path(1).c_str()), 0);
    const std::string message = path(1) + " does not exists\n";
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(fetch(true), (Step{ZELKLOG_RC_FILE_UNOPENABLE, 1}));
    EXPECT_EQ(fetch(), (Step{ZELKLOG_RC_FILE_UNOPENABLE, 1})) << "still the earliest record";
    EXPECT_EQ(fetch(), (Step{ZELKLOG_RC_FILE_UNOPENABLE, 2}));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), message + message + message);
    // Once the head file ends, the unopenable file becomes the head and is dropped silently.
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(fetch(), (Step{ZELKLOG_RC_NO_MORE_RECORDS, 0}));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(SortedFetch, MergesInTimeOrderWithOneFileOpen)
{
    // Three files with interleaved times, a non-matching record in each, a gap file.
    std::vector<std::vector<RecordSpec>> files(4);
    uint64_t tid = 1;
    for (int64_t t = 1; t <= 30; ++t) {
        RecordSpec s = at(t * 1000, tid++);
        files[static_cast<size_t>(t * 7 % 3)].push_back(s);
    }
    RecordSpec other = at(15500, 999);
    other.pid = 1;
    files[1].push_back(other);
    files[3].push_back(at(40000, tid++));
    writeFiles(files);
    const int before = zelk::test::openDescriptors();
    create();
    std::vector<int64_t> times;
    for (int guard = 0; guard < 100; ++guard) {
        ZelkLogMsg *record = nullptr;
        uint32_t rc = zelkLogFetchNextSortedEntry(&query_, &record);
        if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
            break;
        EXPECT_LE(zelk::test::openDescriptors(), before + 1) << "after call " << guard;
        if (rc == ZELKLOG_RC_OK) {
            times.push_back(record->timeMs);
            EXPECT_EQ(record->pid, 1234u);
            zelkLogFreeMsg(record);
        } else {
            EXPECT_EQ(rc, ZELKLOG_RC_END_OF_FILE);
        }
    }
    ASSERT_EQ(times.size(), 31u);
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_EQ(zelk::test::openDescriptors(), before);
}

}  // namespace
