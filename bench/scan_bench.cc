// Full-scan throughput of the plain fetch: 1,000,000 application records in 16 log files
// written by the writer, each record's who-text "disk quota exceeded for user{i%977} on
// volume vol{i%13}: {i} blocks" (its three values also as the message's arguments), 1% of
// them from PID 1234, severities INFO/WARNING/ERR/CRIT/EMERG at 70/15/10/4/1%.
//
//   Selective  SEV >= ERR && PID = 1234   (0.15% match: numbers only)
//   Substring  WHO = 'user5 '             (1 record in 977 matches: one text test)
//   Every      PID > 0                    (every record matches: the full decode)
//
// Rates count every record read.  The data are generated once per run into a temporary
// directory, removed at exit.  ZELK_SCAN_RECORDS=n writes n records instead (for runs
// under callgrind).
#include "src/core/zelkLogCore.h"
#include "zelkLogWriter.h"

#include <benchmark/benchmark.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>

namespace {

constexpr int kFiles = 16;
int recordCount()
{
    static const int count = [] {
        const char *text = std::getenv("ZELK_SCAN_RECORDS");
        const int wanted = text != nullptr ? std::atoi(text) : 0;
        return wanted >= kFiles ? wanted : 1000000;
    }();
    return count;
}
constexpr int64_t kBaseMs = 1700000000000;

struct Expected {
    int selective = 0;
    int substring = 0;
};

struct Data {
    std::string root;
    std::string directory;
    Expected expected;
};

void setProperty(const std::string &store, const char *section, const char *name, const std::string &value)
{
    UtiPropertyStore handle{};
    if (CreatePropertyString(store.c_str(), section, &handle) != 0 ||
        utiSetPropertyAsStr(&handle, name, value.c_str()) != 0) {
        std::fprintf(stderr, "cannot write %s [%s] %s\n", store.c_str(), section, name);
        std::exit(1);
    }
    utiClosePropertyStore(&handle);
}

uint32_t severityOf(uint64_t draw)
{
    const unsigned percent = static_cast<unsigned>(draw % 100);
    return percent < 70   ? ZELKLOG_SEV_INFO
           : percent < 85 ? ZELKLOG_SEV_WARNING
           : percent < 95 ? ZELKLOG_SEV_ERR
           : percent < 99 ? ZELKLOG_SEV_CRIT
                          : ZELKLOG_SEV_EMERG;
}

void writeRecords(const std::string &directory, Expected *expected)
{
    std::filesystem::create_directories(directory);
    ZelkLogWriter *writers[kFiles] = {};
    for (int f = 0; f < kFiles; ++f) {
        char fileName[32];
        std::snprintf(fileName, sizeof fileName, "part-%02d.log", f);
        const std::string path = directory + fileName;
        if (zelkLogWriterCreate(path.c_str(), ZELKLOG_FORMAT_10006, "scan bench", 0644, &writers[f]) != 0) {
            std::fprintf(stderr, "cannot create %s\n", path.c_str());
            std::exit(1);
        }
    }
    std::mt19937_64 random{20261123};
    char who[128];
    char user[16];
    char volume[16];
    ZelkLogMsgArg userArg{};
    ZelkLogMsgArg volumeArg{};
    ZelkLogMsgArg blocksArg{};
    ZelkLogMsgArg *args[4] = {&userArg, &volumeArg, &blocksArg, nullptr};
    userArg.type = ZELKLOG_ARG_STRING;
    userArg.value.string = user;
    volumeArg.type = ZELKLOG_ARG_STRING;
    volumeArg.value.string = volume;
    blocksArg.type = ZELKLOG_ARG_UINT;
    blocksArg.value.sizedUInt.size = 8;
    const int records = recordCount();
    const int perFile = records / kFiles;
    for (int i = 0; i < records; ++i) {
        std::snprintf(user, sizeof user, "user%d", i % 977);
        std::snprintf(volume, sizeof volume, "vol%d", i % 13);
        std::snprintf(who, sizeof who, "disk quota exceeded for %s on volume %s: %d blocks", user, volume, i);
        blocksArg.value.sizedUInt.value = static_cast<uint64_t>(i);
        ZelkLogMsg record;
        std::memset(&record, 0, sizeof record);
        record.kind = ZELKLOG_MSG_APP;
        record.productId = 7;
        record.originatorId = 112;
        record.timeMs = kBaseMs + i;
        record.pid = i % 100 == 0 ? 1234 : 2000 + static_cast<uint64_t>(i % 50);
        record.tid = record.pid;
        record.kindData.first.severity = severityOf(random());
        record.kindData.second.who = who;
        record.args.msgId = 4711;
        record.args.args = args;
        record.args.listInfo = 3 | (uint64_t{3} << 32);
        expected->selective += record.pid == 1234 && record.kindData.first.severity >= ZELKLOG_SEV_ERR;
        expected->substring += std::strstr(who, "user5 ") != nullptr;
        if (uint32_t rc = zelkLogWriterAppendMsg(writers[std::min(i / perFile, kFiles - 1)], &record);
            rc != 0) {
            std::fprintf(stderr, "cannot append record %d: code %u\n", i, rc);
            std::exit(1);
        }
    }
    for (ZelkLogWriter *writer : writers)
        zelkLogWriterClose(writer);
}

const Data &data()
{
    static Data *generated = [] {
        auto *d = new Data;
        char pattern[] = "/tmp/zelk_scan_bench_XXXXXX";
        if (mkdtemp(pattern) == nullptr) {
            std::perror("mkdtemp");
            std::exit(1);
        }
        d->root = pattern;
        d->directory = d->root + "/logs/";
        const std::string global = d->root + "/zelklog.conf";
        const std::string product = d->root + "/product-7.conf";
        setProperty(global, "7", "Names", "bench");
        setProperty(global, "7", "LogDirectory", d->directory);
        setProperty(global, "7", "ConfigPath", product);
        setProperty(product, "Default", "Names", "main");
        setenv("ZELKLOG_CONFIG", global.c_str(), 1);
        writeRecords(d->directory, &d->expected);
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(generated->root, ignored);
        });
        return d;
    }();
    return *generated;
}

int scanAll(const char *filter)
{
    LogQuery query;
    if (zelkLogCreateQueryEx(filter, "en_US", data().directory.c_str(), nullptr, &query) != 0) {
        std::fprintf(stderr, "cannot create the query %s\n", filter);
        std::exit(1);
    }
    ZelkLogMsg record;
    int matched = 0;
    for (;;) {
        const uint32_t rc = zelkLogFetchNextEntry(&query, &record);
        if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
            break;
        matched += rc == ZELKLOG_RC_OK ? 1 : 0;
        zelkLogFreeMsg(&record);
    }
    zelkLogDestroyQuery(&query);
    return matched;
}

// The same through the merged fetch; a record handed out with another code than 0 is
// kept and comes again.
int scanAllMerged(const char *filter)
{
    LogQuery query;
    if (zelkLogCreateQueryEx(filter, "en_US", data().directory.c_str(), nullptr, &query) != 0) {
        std::fprintf(stderr, "cannot create the query %s\n", filter);
        std::exit(1);
    }
    int matched = 0;
    for (;;) {
        ZelkLogMsg *record = nullptr;
        const uint32_t rc = zelkLogFetchNextSortedEntry(&query, &record);
        if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
            break;
        if (rc == ZELKLOG_RC_OK && record != nullptr) {
            ++matched;
            zelkLogFreeMsg(record);
        }
    }
    zelkLogDestroyQuery(&query);
    return matched;
}

void BM_ScanMerged(benchmark::State &state, const char *filter, int Expected::*count)
{
    const Data &d = data();
    int matched = 0;
    for (auto _ : state)
        matched = scanAllMerged(filter);
    if (matched != d.expected.*count)
        state.SkipWithError("wrong number of matching records");
    state.SetItemsProcessed(state.iterations() * recordCount());
    state.counters["matched"] = matched;
}

void BM_Scan(benchmark::State &state, const char *filter, int Expected::*count)
{
    const Data &d = data();
    int matched = 0;
    for (auto _ : state)
        matched = scanAll(filter);
    const int expected = count != nullptr ? d.expected.*count : recordCount();
    if (matched != expected)
        state.SkipWithError("wrong number of matching records");
    state.SetItemsProcessed(state.iterations() * recordCount());
    state.counters["matched"] = matched;
}

BENCHMARK_CAPTURE(BM_Scan, Selective, "SEV >= ERR && PID = 1234", &Expected::selective)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK_CAPTURE(BM_Scan, Substring, "WHO = 'user5 '", &Expected::substring)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK_CAPTURE(BM_ScanMerged, SelectiveMerged, "SEV >= ERR && PID = 1234", &Expected::selective)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK_CAPTURE(BM_Scan, Every, "PID > 0", nullptr)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
