// Fetch throughput over 1,000,000 records in 16 log files written by the writer, with the
// filter SEV >= ERR && PID = 1234: the plain fetch, the merged fetch over rotated files
// (consecutive time ranges) and over fully interleaved times, and the formatted fetch.
// Rates count every record read (matching or not).  A last run measures, in forked
// children, the peak resident size for 1/16 and for all of the records and the most
// descriptors open after any merged-fetch call.
//
// The data are generated once per run into a temporary directory, removed at exit.
#include "tests/support/open_descriptors.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogWriter.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
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
constexpr int kRecords = 1000000;
constexpr int64_t kBaseMs = 1700000000000;
constexpr const char *kFilter = "SEV >= ERR && PID = 1234";

enum class Layout { Rotated, Interleaved };

struct Dataset {
    std::string directory;
    int records = 0;
    int matching = 0;
};

struct Data {
    std::string root;
    Dataset rotated;
    Dataset interleaved;
    Dataset small;  // rotated, 1/16 of the records: for the memory comparison
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

// A record as applications write them: a message id with two arguments and, now and
// then, a context.  About 18% match the filter.
struct RecordMaker {
    std::mt19937_64 random{20261123};
    ZelkLogMsgArg number{};
    ZelkLogMsgArg name{};
    ZelkLogMsgArg *args[3] = {&number, &name, nullptr};
    char device[16] = "disk0";

    ZelkLogMsg make(int64_t timeMs, uint64_t tid)
    {
        ZelkLogMsg record;
        std::memset(&record, 0, sizeof record);
        uint64_t draw = random();
        unsigned kindDraw = draw % 100;
        record.kind = kindDraw < 60   ? ZELKLOG_MSG_APP
                      : kindDraw < 75 ? ZELKLOG_MSG_DEBUG
                      : kindDraw < 85 ? ZELKLOG_MSG_DIAG
                      : kindDraw < 99 ? ZELKLOG_MSG_AUDIT
                                      : ZELKLOG_MSG_CTX;
        record.timeMs = timeMs;
        record.pid = (draw >> 8) % 2 == 0 ? 1234 : 2000 + (draw >> 9) % 50;
        record.tid = tid;
        record.productId = 7;
        record.originatorId = 112;
        record.args.msgId = 1000 + (draw >> 16) % 40;
        static char token[] = "job-42";
        switch (record.kind) {
        case ZELKLOG_MSG_APP:
            record.kindData.first.severity = static_cast<uint32_t>((draw >> 20) % 5);
            record.kindData.second.who = const_cast<char *>("batch-runner");
            record.contextToken = token;
            break;
        case ZELKLOG_MSG_DEBUG:
        case ZELKLOG_MSG_DIAG:
            record.kindData.first.level = static_cast<int32_t>((draw >> 20) % 10);
            record.kindData.second.who = const_cast<char *>("scheduler");
            break;
        case ZELKLOG_MSG_AUDIT:
            record.kindData.second.subject = const_cast<char *>("configuration changed");
            record.kindData.returnValue = static_cast<int32_t>((draw >> 20) % 3);
            break;
        default:
            record.args.msgId = 0;
            record.contextToken = token;
            record.kindData.first.contextText = const_cast<char *>("Nightly batch 42");
            break;
        }
        if (record.kind != ZELKLOG_MSG_DEBUG && record.kind != ZELKLOG_MSG_CTX) {
            number.type = ZELKLOG_ARG_INT;
            number.value.sizedInt.size = 8;
            number.value.sizedInt.value = static_cast<int64_t>(draw >> 32);
            name.type = ZELKLOG_ARG_STRING;
            name.value.string = device;
            record.args.args = args;
            record.args.listInfo = 2 | (uint64_t{2} << 32);
        }
        return record;
    }
};

bool matches(const ZelkLogMsg &record)
{
    return record.kind == ZELKLOG_MSG_APP && record.kindData.first.severity >= ZELKLOG_SEV_ERR &&
           record.pid == 1234;
}

Dataset writeDataset(const std::string &directory, Layout layout, int records)
{
    std::filesystem::create_directories(directory);
    Dataset dataset{directory, records, 0};
    ZelkLogWriter *writers[kFiles] = {};
    for (int f = 0; f < kFiles; ++f) {
        char fileName[32];
        std::snprintf(fileName, sizeof fileName, "part-%02d.log", f);
        std::string path = directory + fileName;
        if (zelkLogWriterCreate(path.c_str(), ZELKLOG_FORMAT_10006, "bench host", 0644, &writers[f]) != 0) {
            std::fprintf(stderr, "cannot create %s\n", path.c_str());
            std::exit(1);
        }
    }
    RecordMaker maker;
    const int perFile = records / kFiles;
    for (int i = 0; i < records; ++i) {
        ZelkLogMsg record = maker.make(kBaseMs + i, static_cast<uint64_t>(i));
        dataset.matching += matches(record) ? 1 : 0;
        int file = layout == Layout::Rotated ? std::min(i / perFile, kFiles - 1) : i % kFiles;
        if (uint32_t rc = zelkLogWriterAppendMsg(writers[file], &record); rc != 0) {
            std::fprintf(stderr, "cannot append record %d: code %u\n", i, rc);
            std::exit(1);
        }
    }
    // Oldest first in the file list: part-00 is the oldest.
    for (int f = 0; f < kFiles; ++f) {
        zelkLogWriterClose(writers[f]);
        char fileName[32];
        std::snprintf(fileName, sizeof fileName, "part-%02d.log", f);
        struct timespec times[2] = {{1000 + f, 0}, {1000 + f, 0}};
        utimensat(AT_FDCWD, (directory + fileName).c_str(), times, 0);
    }
    return dataset;
}

const Data &data()
{
    static Data *generated = [] {
        auto *d = new Data;
        char pattern[] = "/tmp/zelk_fetch_bench_XXXXXX";
        if (mkdtemp(pattern) == nullptr) {
            std::perror("mkdtemp");
            std::exit(1);
        }
        d->root = pattern;
        std::string global = d->root + "/zelklog.conf";
        std::string product = d->root + "/product-7.conf";
        setProperty(global, "7", "Names", "bench");
        setProperty(global, "7", "LogDirectory", d->root + "/rotated/");
        setProperty(global, "7", "ConfigPath", product);
        setProperty(product, "Default", "Names", "main");
        setenv("ZELKLOG_CONFIG", global.c_str(), 1);
        d->rotated = writeDataset(d->root + "/rotated/", Layout::Rotated, kRecords);
        d->interleaved = writeDataset(d->root + "/interleaved/", Layout::Interleaved, kRecords);
        d->small = writeDataset(d->root + "/small/", Layout::Rotated, kRecords / kFiles);
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(generated->root, ignored);
        });
        return d;
    }();
    return *generated;
}

void createQuery(const Dataset &dataset, LogQuery *query)
{
    if (zelkLogCreateQueryEx(kFilter, "en_US", dataset.directory.c_str(), nullptr, query) != 0) {
        std::fprintf(stderr, "cannot create the query over %s\n", dataset.directory.c_str());
        std::exit(1);
    }
}

// Both whole-data-set fetches have one shape, so a benchmark or a child process can run
// either; the plain fetch keeps no descriptor count.
int fetchAllPlain(const Dataset &dataset, int * /*maxOpen*/)
{
    LogQuery query;
    createQuery(dataset, &query);
    ZelkLogMsg record;
    int matched = 0;
    for (;;) {
        uint32_t rc = zelkLogFetchNextEntry(&query, &record);
        if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
            break;
        matched += rc == ZELKLOG_RC_OK ? 1 : 0;
        zelkLogFreeMsg(&record);
    }
    zelkLogDestroyQuery(&query);
    return matched;
}

// With `maxOpen`, the descriptors open after each call are counted (untimed use only).
int fetchAllSorted(const Dataset &dataset, int *maxOpen)
{
    LogQuery query;
    createQuery(dataset, &query);
    const int base = maxOpen != nullptr ? zelk::test::openDescriptors() : 0;
    int matched = 0;
    for (;;) {
        ZelkLogMsg *record = nullptr;
        uint32_t rc = zelkLogFetchNextSortedEntry(&query, &record);
        if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
            break;
        if (maxOpen != nullptr)
            *maxOpen = std::max(*maxOpen, zelk::test::openDescriptors() - base);
        if (rc == ZELKLOG_RC_OK) {
            ++matched;
            zelkLogFreeMsg(record);
        }
    }
    zelkLogDestroyQuery(&query);
    return matched;
}

void report(benchmark::State &state, const Dataset &dataset, int matched)
{
    if (matched != dataset.matching)
        state.SkipWithError("wrong number of matching records");
    state.SetItemsProcessed(state.iterations() * dataset.records);
    state.counters["matched"] = matched;
}

// One whole fetch over a data set per iteration.
void BM_Fetch(benchmark::State &state, Dataset Data::*set, int (*fetchAll)(const Dataset &, int *))
{
    const Dataset &dataset = data().*set;
    int matched = 0;
    for (auto _ : state)
        matched = fetchAll(dataset, nullptr);
    report(state, dataset, matched);
}

void BM_FormattedFetch(benchmark::State &state)
{
    const Dataset &dataset = data().rotated;
    int matched = 0;
    size_t bytes = 0;
    for (auto _ : state) {
        LogQuery query;
        createQuery(dataset, &query);
        matched = 0;
        for (;;) {
            char *text = nullptr;
            uint32_t rc = zelkLogFetchNextFormattedMessage(&query, 0, nullptr, 0, &text);
            if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
                break;
            if (rc == ZELKLOG_RC_OK) {
                ++matched;
                bytes += std::strlen(text);
                zelkLogFree(text);
            }
        }
        zelkLogDestroyQuery(&query);
    }
    report(state, dataset, matched);
    state.counters["text_bytes"] = static_cast<double>(bytes) / static_cast<double>(state.iterations());
}

// Runs `work` in a child process; returns the child's peak resident size in KiB and
// passes back one number the work produced.
long peakInChild(int (*work)(const Dataset &, int *), const Dataset &dataset, int *result)
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return -1;
    pid_t child = fork();
    if (child == 0) {
        close(pipeEnds[0]);
        int extra = 0;
        work(dataset, &extra);
        struct rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        long values[2] = {usage.ru_maxrss, extra};
        ssize_t written = write(pipeEnds[1], values, sizeof values);
        _exit(written == static_cast<ssize_t>(sizeof values) ? 0 : 1);
    }
    close(pipeEnds[1]);
    long values[2] = {-1, -1};
    ssize_t got = read(pipeEnds[0], values, sizeof values);
    close(pipeEnds[0]);
    waitpid(child, nullptr, 0);
    if (got != static_cast<ssize_t>(sizeof values))
        return -1;
    *result = static_cast<int>(values[1]);
    return values[0];
}

void BM_PeakMemoryAndDescriptors(benchmark::State &state)
{
    const Data &d = data();
    int ignored = 0;
    int maxOpen = 0;
    for (auto _ : state) {
        state.counters["maxrss_kib_plain_62500"] =
            static_cast<double>(peakInChild(fetchAllPlain, d.small, &ignored));
        state.counters["maxrss_kib_plain_1000000"] =
            static_cast<double>(peakInChild(fetchAllPlain, d.rotated, &ignored));
        state.counters["maxrss_kib_sorted_62500"] =
            static_cast<double>(peakInChild(fetchAllSorted, d.small, &maxOpen));
        state.counters["maxrss_kib_sorted_1000000"] =
            static_cast<double>(peakInChild(fetchAllSorted, d.interleaved, &maxOpen));
        state.counters["max_fds_open_after_sorted_call"] = maxOpen;
    }
}

BENCHMARK_CAPTURE(BM_Fetch, Plain, &Data::rotated, fetchAllPlain)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_Fetch, SortedRotated, &Data::rotated, fetchAllSorted)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_Fetch, SortedInterleaved, &Data::interleaved, fetchAllSorted)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK(BM_FormattedFetch)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_PeakMemoryAndDescriptors)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
