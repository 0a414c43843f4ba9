// Runs under exhausted memory: this program's own zelkLogMalloc and zelkLogSafeStrdup take
// the place of the logging core's and refuse the n-th request, for n = 0, 1, 2, ... until
// a run makes no more requests than that.  Every step answers exactly its own result
// codes over the refusals and releases all it built (the sanitizer build's leak checker
// sees it).

#include "tests/support/config_fixture.h"
#include "tests/support/log_fixture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <set>
#include <string>

namespace {

// Creation (its parse) and removal take the common lock at every step: one left held
// blocks the next step, and the case ends in seconds saying so.
const char *const kCommonLock = "the common lock, which parsing and configuration removal take";

long requestsLeft = -1;  // -1: never refuse

bool refuse()
{
    return requestsLeft >= 0 && requestsLeft-- == 0;
}

}  // namespace

extern "C" void *zelkLogMalloc(size_t size)
{
    return refuse() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

extern "C" char *zelkLogSafeStrdup(const char *text)
{
    if (text == nullptr || refuse())
        return nullptr;
    char *copy = static_cast<char *>(std::malloc(std::strlen(text) + 1));
    return copy != nullptr ? std::strcpy(copy, text) : nullptr;
}

namespace {

TEST(ParseWithoutMemory, ReleasesWhatItBuilt)
{
    zelk::test::Waiting waiting(kCommonLock, 10);
    const char *query = "PID = 1 && HOSTNAME BETWEEN 'a' && 'b' || PREVTIME = '1:00' && 'x' = SUBJECT || "
                        "TID BETWEEN 1 && 9 && WHO != 'w'";
    for (long refused = 0;; ++refused) {
        QueryNode *root = nullptr;
        requestsLeft = refused;
        const uint32_t rc = parseQueryString(query, "en_US", &root);
        const bool allGranted = requestsLeft >= 0;
        requestsLeft = -1;
        if (allGranted) {
            ASSERT_EQ(rc, 0u);
            EXPECT_GT(refused, 30);  // one request per node, text and copy
            removeTree(root);
            break;
        }
        EXPECT_EQ(rc, ZELKLOG_RC_NO_MEMORY) << "request " << refused;
        EXPECT_EQ(root, nullptr);
    }
}

// Without memory for its bookkeeping, every merged pick walks the file list instead: the
// same records and codes in the same order, ties going to the file nearer the head.
TEST(MergedFetchWithoutBookkeeping, SameSequence)
{
    std::string sequences[2];
    for (int refused = 0; refused < 2; ++refused) {
        zelk::test::ConfigFixture config(zelk::test::billingProduct());
        // Seconds per file (record tids 10 * file + 1, + 2); the last file goes away.
        const std::vector<std::vector<int64_t>> times = {{5, 7}, {5, 6}, {1}};
        for (size_t f = 0; f < times.size(); ++f) {
            std::vector<zelk::test::RecordFields> records(times[f].size());
            for (size_t r = 0; r < records.size(); ++r)
                records[r].timeMs = times[f][r] * 1000, records[r].tid = 10 * f + r + 1;
            zelk::test::writeLogFile(config.logDirectory(7) + "f" + std::to_string(f) + ".log", records,
                                     static_cast<time_t>(1000 + f));
        }
        LogQuery query;
        ASSERT_EQ(zelkLogCreateQuery("PID = 1234", "en_US", &query), 0u);
        unlink((config.logDirectory(7) + "f2.log").c_str());
        ::testing::internal::CaptureStderr();
        for (uint32_t rc = 0, calls = 0; rc != ZELKLOG_RC_NO_MORE_RECORDS && calls < 20; ++calls) {
            ZelkLogMsg *record = nullptr;
            requestsLeft = refused != 0 ? 0 : -1;  // the first request: the bookkeeping
            rc = zelkLogFetchNextSortedEntry(&query, &record);
            requestsLeft = -1;
            sequences[refused] +=
                std::to_string(rc) + ":" + (record != nullptr ? std::to_string(record->tid) : "-") + " ";
            if (record != nullptr)
                zelkLogFreeMsg(record);
        }
        ::testing::internal::GetCapturedStderr();
        zelkLogDestroyQuery(&query);
    }
    EXPECT_EQ(sequences[1], sequences[0]);
}

using Codes = std::set<uint32_t>;

// Query creation, every fetch, formatting, the corrupt-record report and configuration
// edits.  `prepare` and `finish` run with all memory granted; `step` runs with one request
// refused and returns the codes it saw (a fetch loop: one per call).
struct Step {
    const char *name;
    std::function<void(LogQuery &)> prepare;
    std::function<std::vector<uint32_t>(LogQuery &)> step;
    Codes answered;  // over all the refusals, each code at least once
};

class WithoutMemory : public ::testing::Test {
protected:
    WithoutMemory() : config_(zelk::test::billingProduct())
    {
        catalogues_ = config_.directory() + "/catalogues";
        mkdir(catalogues_.c_str(), 0755);
        config_.writeFile("catalogues/en.ini", "[messages]\n100 = Disk is full\n");
        zelk::test::RecordFields context = zelk::test::numbered(1, ZELKLOG_MSG_CTX);
        context.contextToken = "tok";
        context.contextText = "Nightly backup";
        context.msgId = 0;
        zelk::test::RecordFields app = zelk::test::numbered(2);
        app.contextToken = "tok";
        app.who = "someone";
        zelk::test::writeLogFile(config_.logDirectory(7) + "a.log", {context, app}, 1000);
        zelk::test::appendRawRecord(config_.logDirectory(7) + "a.log", "not a record");
        zelk::test::writeLogFile(config_.logDirectory(7) + "b.log", {zelk::test::numbered(3)}, 2000);
    }
    void create(LogQuery &query)
    {
        ASSERT_EQ(zelkLogCreateQueryEx("PID = 1234", "en_US", nullptr, catalogues_.c_str(), &query), 0u);
    }
    static std::vector<uint32_t> fetchAll(const std::function<uint32_t()> &fetch)
    {
        std::vector<uint32_t> codes;
        for (int calls = 0; calls < 40 && (codes.empty() || codes.back() != ZELKLOG_RC_NO_MORE_RECORDS);
             ++calls)
            codes.push_back(fetch());
        return codes;
    }

    zelk::test::ConfigFixture config_;
    std::string catalogues_;
};

TEST_F(WithoutMemory, EveryStepAnswersItsCodesAndLeaksNothing)
{
    zelk::test::Waiting waiting(kCommonLock, 10);
    auto nothing = [](LogQuery &) {};
    auto created = [this](LogQuery &query) { create(query); };
    const Step steps[] = {
        {"create",
         nothing,
         [](LogQuery &query) {
             return std::vector<uint32_t>{
                 zelkLogCreateQueryEx2("PRODID = 'billing' && STDATE >= '11/14/23, 10:13:20 PM'", "en_US",
                                       nullptr, "res", 3600, &query)};
         },
         {0, ZELKLOG_RC_NO_MEMORY, ZELKLOG_RC_BAD_DATE}},
        {"fetch",
         created,
         [](LogQuery &query) {
             return fetchAll([&] {
                 ZelkLogMsg record{};
                 uint32_t rc = zelkLogFetchNextEntry(&query, &record);
                 zelkLogFreeMsg(&record);
                 return rc;
             });
         },
         {0, ZELKLOG_RC_CORRUPT_RECORD, ZELKLOG_RC_NO_MORE_RECORDS}},
        {"sorted fetch",
         created,
         [](LogQuery &query) {
             return fetchAll([&] {
                 ZelkLogMsg *record = nullptr;
                 uint32_t rc = zelkLogFetchNextSortedEntry(&query, &record);
                 if (rc == 0)
                     zelkLogFreeMsg(record);
                 return rc;
             });
         },
         {0, ZELKLOG_RC_END_OF_FILE, ZELKLOG_RC_NO_MORE_RECORDS}},
        {"formatted fetch",
         created,
         [](LogQuery &query) {
             return fetchAll([&] {
                 char *text = nullptr;
                 uint32_t rc = zelkLogFetchNextFormattedMessage(&query, 0, "en", 0xF03, &text);
                 if (rc == 0)
                     zelkLogFree(text);
                 return rc;
             });
         },
         {0, ZELKLOG_RC_NO_MEMORY, ZELKLOG_RC_END_OF_FILE, ZELKLOG_RC_NO_MORE_RECORDS}},
        {"corrupt report",
         created,
         [](LogQuery &query) {
             ::testing::internal::CaptureStdout();
             uint32_t rc = zelkLogShowCorruptLogRecords(&query);
             ::testing::internal::GetCapturedStdout();
             return std::vector<uint32_t>{rc};
         },
         {0}},
        {"settings",
         nothing,
         [](LogQuery &) {
             char *jvm = nullptr;
             std::vector<uint32_t> codes = {zelkLogAddNonOIDSetting(7, "RetentionDays", "30"),
                                            zelkLogAddJVMPathSetting("/usr/bin/java"),
                                            zelkLogGetJVMPathSetting(&jvm)};
             zelkLogFree(jvm);
             return codes;
         },
         {0, ZELKLOG_RC_NO_MEMORY}},
        {"removal",
         [this](LogQuery &) {
             config_.addProduct({8, {"shop"}, "", {{112, {"main"}}, {5, {"cart"}}}});
         },
         [](LogQuery &) {
             return std::vector<uint32_t>{zelkLogRemoveCfg(8, 5), zelkLogRemoveProductAllCfg(8)};
         },
         // 2: the product's store path could not be had, so no store was opened.
         {0, 2, ZELKLOG_RC_STORE_UNAVAILABLE}},
    };
    long walked = 0;
    for (const Step &step : steps) {
        Codes seen;
        for (long refused = 0;; ++refused) {
            LogQuery query{};
            step.prepare(query);
            requestsLeft = refused;
            const std::vector<uint32_t> codes = step.step(query);
            const bool allGranted = requestsLeft >= 0;
            requestsLeft = -1;
            seen.insert(codes.begin(), codes.end());
            zelkLogDestroyQuery(&query);
            if (allGranted) {
                EXPECT_EQ(seen, step.answered) << step.name;
                EXPECT_GT(refused, 0) << step.name << " asked for no memory";
                std::printf("%s: %ld allocation requests, each refused once\n", step.name, refused);
                walked += refused;
                break;
            }
        }
    }
    std::printf("all steps: %ld\n", walked);
}

}  // namespace
