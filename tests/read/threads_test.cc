// Queries of several threads at once: each thread creates, fetches from and destroys its
// own queries over the same log files while another thread edits the configuration.
// Every query must see every record; the ThreadSanitizer build (scripts/tsan.sh) checks
// that nothing is shared without a lock.

#include "tests/support/config_fixture.h"
#include "tests/support/log_fixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(Threads, QueriesBesideConfigurationEdits)
{
    zelk::test::ConfigFixture config(zelk::test::billingProduct());
    config.writeFile("en.ini", "[messages]\n100 = Disk is full\n");
    constexpr int kFiles = 2, kRecords = 40, kThreads = 8, kRounds = 3;
    for (int f = 0; f < kFiles; ++f) {
        std::vector<zelk::test::RecordFields> records;
        for (int i = 0; i < kRecords; ++i)
            records.push_back(zelk::test::numbered(uint64_t(f * kRecords + i + 1)));
        zelk::test::writeLogFile(config.logDirectory(7) + "f" + std::to_string(f) + ".log", records,
                                 1000 + f);
    }

    std::atomic<bool> done{false};
    std::thread editor([&] {
        for (int i = 0; !done; ++i) {
            EXPECT_EQ(zelkLogAddNonOIDSetting(7, "RetentionDays", std::to_string(i).c_str()), 0u);
            EXPECT_EQ(zelkLogAddJVMPathSetting(i % 2 ? "/usr/bin/java" : "/opt/java/bin/java"), 0u);
        }
    });
    std::vector<std::thread> readers;
    std::vector<int> seen(kThreads * kRounds, -1);
    for (int t = 0; t < kThreads; ++t) {
        readers.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                LogQuery query;
                if (zelkLogCreateQueryEx("PID = 1234", "en_US", nullptr, config.directory().c_str(),
                                         &query) != 0)
                    continue;
                int count = 0;
                for (uint32_t rc = 0; rc != ZELKLOG_RC_NO_MORE_RECORDS;) {
                    if ((t + round) % 3 == 0) {
                        ZelkLogMsg record{};
                        rc = zelkLogFetchNextEntry(&query, &record);
                        zelkLogFreeMsg(&record);
                    } else if ((t + round) % 3 == 1) {
                        ZelkLogMsg *record = nullptr;
                        rc = zelkLogFetchNextSortedEntry(&query, &record);
                        if (rc == 0)
                            zelkLogFreeMsg(record);
                    } else {
                        char *text = nullptr;  // no locale: the process default is not changed
                        rc = zelkLogFetchNextFormattedMessage(&query, 0, nullptr, 0, &text);
                        if (rc == 0)
                            zelkLogFree(text);
                    }
                    count += rc == 0;
                }
                zelkLogDestroyQuery(&query);
                seen[t * kRounds + round] = count;
            }
        });
    }
    for (std::thread &reader : readers)
        reader.join();
    done = true;
    editor.join();
    EXPECT_EQ(seen, std::vector<int>(kThreads * kRounds, kFiles * kRecords));
}

}  // namespace
