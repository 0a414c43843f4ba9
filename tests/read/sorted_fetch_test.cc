// The merged fetch over several log files: order, ties, the codes of finished and
// unopenable files, records not released, a file replaced while set aside.

#include "tests/support/config_fixture.h"
#include "tests/support/log_fixture.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using zelk::test::RecordFields;

RecordFields at(int64_t seconds, uint64_t tid)
{
    RecordFields s;
    s.timeMs = seconds * 1000;
    s.tid = tid;
    return s;
}

RecordFields other(int64_t seconds, uint64_t tid)  // not from PID 1234: never matches
{
    RecordFields s = at(seconds, tid);
    s.pid = 99;
    return s;
}

// A fetch's code and the record number `out` points to (0: not set); `keep`: not released.
struct Step {
    uint32_t code;
    uint64_t tid;
    bool keep = false;
};

// Files listed oldest first; `removed`: the file deleted after the query was made (-1: none),
// written again after step `restoredAfter` (-1: never); `notLog`: the file that holds text
// instead of a log file's header (-1: none).
struct Case {
    const char *what;
    std::vector<std::vector<RecordFields>> files;
    int removed;
    std::vector<Step> steps;
    int unopenableMessages;
    int restoredAfter = -1;
    int notLog = -1;
};

constexpr uint32_t kOk = ZELKLOG_RC_OK, kEnd = ZELKLOG_RC_END_OF_FILE, kDone = ZELKLOG_RC_NO_MORE_RECORDS,
                   kUnopenable = ZELKLOG_RC_FILE_UNOPENABLE;

TEST(SortedFetch, Sequences)
{
    // Records of the second file carry tids from 11 on, of the third from 21.  A file that
    // proves no log file when first read is passed over unseen, whether at the head or in
    // the pick: the codes are those of a query without it.
    const Case cases[] = {
        {"equal times: the file nearer the head first; a first file that is no log file",
         {{at(9, 9)}, {at(5, 11)}, {at(5, 22)}},
         -1,
         {{kOk, 11}, {kEnd, 0}, {kOk, 22}, {kDone, 0}},
         0,
         -1,
         0},
        {"A 1,3 and B 2 (C no log file): B ends during the pick, 3 is handed out twice",
         {{at(1, 1), at(3, 3)}, {at(2, 12)}, {at(9, 29)}},
         -1,
         {{kOk, 1}, {kOk, 12}, {kEnd, 3, true}, {kOk, 3}, {kDone, 0}},
         0,
         -1,
         2},
        {"A 1 and B 2: A ends while B holds its record",
         {{at(1, 1)}, {at(2, 12)}},
         -1,
         {{kOk, 1}, {kEnd, 0}, {kOk, 12}, {kDone, 0}},
         0},
        {"records that do not match are passed over in every file",
         {{other(1, 1), at(2, 2), other(4, 3)}, {other(1, 11), at(3, 12), other(5, 13)}},
         -1,
         {{0, 2}, {ZELKLOG_RC_END_OF_FILE, 0}, {0, 12}, {ZELKLOG_RC_NO_MORE_RECORDS, 0}},
         0},
        {"a file back after a pass that found it unopenable is read and set aside",
         {{at(1, 1), at(3, 3)}, {at(4, 14)}, {at(2, 22)}},
         1,
         {{kOk, 1}, {kOk, 22}, {kEnd, 3}, {kEnd, 0}, {kOk, 14}, {kDone, 0}},
         1,
         0},
        {"a record not released comes again",
         {{at(1, 1), at(3, 3)}, {at(2, 12)}},
         -1,
         {{kOk, 1, true}, {kOk, 1}, {kOk, 12}},
         0},
        {"an unopenable later file is reported by every pass, then dropped as head",
         {{at(1, 1), at(2, 2)}, {at(3, 13)}},
         1,
         {{kUnopenable, 1, true}, {kUnopenable, 1}, {kUnopenable, 2}, {kDone, 0}},
         3},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        zelk::test::ConfigFixture config(zelk::test::billingProduct());
        std::vector<std::string> paths;
        auto write = [&](size_t i) {
            zelk::test::writeLogFile(paths[i], c.files[i], 1000 + static_cast<time_t>(i),
                                     ZELKLOG_FORMAT_10006, "host-" + std::to_string(i));
        };
        for (size_t i = 0; i < c.files.size(); ++i) {
            paths.push_back(config.logDirectory(7) + "f" + std::to_string(i) + ".log");
            write(i);
            if (static_cast<int>(i) == c.notLog) {
                std::ofstream(paths.back(), std::ios::trunc) << std::string(1000, 'p');
                zelk::test::setModificationTime(paths.back(), 1000 + static_cast<time_t>(i));
            }
        }
        LogQuery query;
        ASSERT_EQ(zelkLogCreateQuery("PID = 1234", "en_US", &query), 0u);
        if (c.removed >= 0)
            unlink(paths[static_cast<size_t>(c.removed)].c_str());
        ::testing::internal::CaptureStderr();
        const int descriptors = zelk::test::openDescriptors();
        for (size_t i = 0; i < c.steps.size(); ++i) {
            ZelkLogMsg *record = nullptr;
            uint32_t rc = zelkLogFetchNextSortedEntry(&query, &record);
            EXPECT_EQ(rc, c.steps[i].code) << "step " << i;
            EXPECT_EQ(record == nullptr ? 0 : record->tid, c.steps[i].tid) << "step " << i;
            EXPECT_LE(zelk::test::openDescriptors(), descriptors + 1) << "step " << i << ": one file open";
            if (static_cast<int>(i) == c.restoredAfter)
                write(static_cast<size_t>(c.removed));
            if (record != nullptr) {
                // The header text of the record's own file travels with it.
                EXPECT_EQ(std::string(record->fileHeaderText), "host-" + std::to_string(record->tid / 10));
                if (!c.steps[i].keep)
                    zelkLogFreeMsg(record);
            }
        }
        std::string message =
            c.removed >= 0 ? paths[static_cast<size_t>(c.removed)] + " does not exists\n" : "";
        std::string expected;
        for (int i = 0; i < c.unopenableMessages; ++i)
            expected += message;
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), expected);
        zelkLogDestroyQuery(&query);
    }
}

// Many files with many equal times: earliest first, and on equal times the file nearer
// the head (the older file) first, whatever the number of files; one file open at most.
TEST(SortedFetch, ManyFilesWithTiesInListOrder)
{
    zelk::test::ConfigFixture config(zelk::test::billingProduct());
    std::vector<std::tuple<int64_t, size_t, uint64_t>> expected;  // time, file, tid
    for (size_t f = 0; f < 12; ++f) {
        std::vector<RecordFields> records;
        for (uint64_t r = 0; r < 3; ++r) {
            int64_t seconds = static_cast<int64_t>(1 + (f * 7 + r * 5) % 4 + r * 3);
            records.push_back(at(seconds, 100 * f + r));
            expected.emplace_back(seconds, f, 100 * f + r);
        }
        zelk::test::writeLogFile(config.logDirectory(7) + "f" + std::to_string(f) + ".log", records,
                                 1000 + static_cast<time_t>(f));
    }
    std::sort(expected.begin(), expected.end());
    std::string want;
    for (const auto &[seconds, file, tid] : expected)
        want += std::to_string(tid) + " ";
    LogQuery query;
    ASSERT_EQ(zelkLogCreateQuery("PID = 1234", "en_US", &query), 0u);
    std::string got;
    const int descriptors = zelk::test::openDescriptors();
    for (uint32_t rc = 0; rc != ZELKLOG_RC_NO_MORE_RECORDS;) {
        ZelkLogMsg *record = nullptr;
        rc = zelkLogFetchNextSortedEntry(&query, &record);
        ASSERT_LE(zelk::test::openDescriptors(), descriptors + 1) << "after " << got;
        if (rc == 0) {
            got += std::to_string(record->tid) + " ";
            zelkLogFreeMsg(record);
        }
    }
    EXPECT_EQ(got, want);
    zelkLogDestroyQuery(&query);
}

// A file replaced by rename while the merged fetch has it set aside: what was read of
// the old file comes out, then the new file is read from its start, header included,
// instead of at the old file's position.
TEST(SortedFetch, FileReplacedByRenameIsReadFromItsStart)
{
    zelk::test::ConfigFixture config(zelk::test::billingProduct());
    const std::string a = config.logDirectory(7) + "a.log";
    zelk::test::writeLogFile(a, {at(1, 1), at(3, 3), at(5, 5)}, 1000, ZELKLOG_FORMAT_10006, "old");
    zelk::test::writeLogFile(config.logDirectory(7) + "b.log", {at(2, 2), at(4, 4), at(6, 6)}, 1001);
    LogQuery query;
    ASSERT_EQ(zelkLogCreateQuery("PID = 1234", "en_US", &query), 0u);
    std::string trace;
    auto fetch = [&] {
        ZelkLogMsg *record = nullptr;
        uint32_t rc = zelkLogFetchNextSortedEntry(&query, &record);
        if (rc == 0) {
            trace += std::to_string(record->tid) + record->fileHeaderText + " ";
            zelkLogFreeMsg(record);
        }
        return rc;
    };
    fetch();
    fetch();  // a is set aside behind its first record
    const std::string replacement = config.logDirectory(7) + "a.new";
    zelk::test::writeLogFile(replacement, {at(7, 7), at(8, 8), at(9, 9), at(10, 10)}, 1002,
                             ZELKLOG_FORMAT_10006, "new");
    ASSERT_EQ(std::rename(replacement.c_str(), a.c_str()), 0);
    for (int calls = 0; calls < 20 && fetch() != ZELKLOG_RC_NO_MORE_RECORDS; ++calls) {
    }
    EXPECT_EQ(trace, "1old 2test host 3old 4test host 5old 6test host 7new 8new 9new 10new ");
    zelkLogDestroyQuery(&query);
}

}  // namespace
