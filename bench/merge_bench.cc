// The merged fetch against the plain fetch where every record matches, over files that
// interleave (16 files written round-robin) and over many rotated files (1000 and 4000
// files of consecutive time ranges); query creation over 4000 files; and, in forked
// children, the peak resident size of every fetch over 1000 files for two numbers of
// records, and the most descriptors open after any merged call.
//
// Fetch timings leave out creating and destroying the query (measured on their own).
// The merged fetch checks that it hands out every record in time order.  The data are
// generated once per run into a temporary directory, removed at exit.
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
#include <string>
#include <vector>

namespace {

constexpr int kRecords = 320000;
constexpr int64_t kBaseMs = 1700000000000;
constexpr const char *kFilter = "PID = 1234";  // every record written matches

struct Dataset {
    std::string directory;
    int files = 0;
    int records = 0;
};

struct Data {
    std::string root;
    Dataset interleaved16;
    Dataset rotated1000;
    Dataset rotated4000;
    Dataset rotated1000Small;  // a tenth of the records: memory must not depend on them
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

// Record number `i`: an application record with a who-text and two arguments.
void append(ZelkLogWriter *writer, int i)
{
    static char device[] = "vol7";
    static char who[] = "user5";
    ZelkLogMsgArg number{};
    number.type = ZELKLOG_ARG_INT;
    number.value.sizedInt.size = 8;
    number.value.sizedInt.value = i;
    ZelkLogMsgArg name{};
    name.type = ZELKLOG_ARG_STRING;
    name.value.string = device;
    ZelkLogMsgArg *args[3] = {&number, &name, nullptr};
    ZelkLogMsg record;
    std::memset(&record, 0, sizeof record);
    record.kind = ZELKLOG_MSG_APP;
    record.timeMs = kBaseMs + i;
    record.pid = 1234;
    record.tid = static_cast<uint64_t>(i);
    record.productId = 7;
    record.originatorId = 112;
    record.kindData.first.severity = static_cast<uint32_t>(i % 5);
    record.kindData.second.who = who;
    record.args.msgId = 1000 + static_cast<uint64_t>(i % 40);
    record.args.args = args;
    record.args.listInfo = 2 | (uint64_t{2} << 32);
    if (uint32_t rc = zelkLogWriterAppendMsg(writer, &record); rc != 0) {
        std::fprintf(stderr, "cannot append record %d: code %u\n", i, rc);
        std::exit(1);
    }
}

ZelkLogWriter *createFile(const std::string &directory, int f)
{
    char fileName[32];
    std::snprintf(fileName, sizeof fileName, "part-%04d.log", f);
    ZelkLogWriter *writer = nullptr;
    if (zelkLogWriterCreate((directory + fileName).c_str(), ZELKLOG_FORMAT_10006, "bench host", 0644,
                            &writer) != 0) {
        std::fprintf(stderr, "cannot create %s%s\n", directory.c_str(), fileName);
        std::exit(1);
    }
    return writer;
}

// Oldest first in the file list: part-0000 is the oldest.
void setTimes(const std::string &directory, int files)
{
    for (int f = 0; f < files; ++f) {
        char fileName[32];
        std::snprintf(fileName, sizeof fileName, "part-%04d.log", f);
        struct timespec times[2] = {{1000 + f, 0}, {1000 + f, 0}};
        utimensat(AT_FDCWD, (directory + fileName).c_str(), times, 0);
    }
}

Dataset interleaved(const std::string &directory, int files, int records)
{
    std::filesystem::create_directories(directory);
    std::vector<ZelkLogWriter *> writers;
    for (int f = 0; f < files; ++f)
        writers.push_back(createFile(directory, f));
    for (int i = 0; i < records; ++i)
        append(writers[static_cast<size_t>(i % files)], i);
    for (ZelkLogWriter *writer : writers)
        zelkLogWriterClose(writer);
    setTimes(directory, files);
    return Dataset{directory, files, records};
}

Dataset rotated(const std::string &directory, int files, int records)
{
    std::filesystem::create_directories(directory);
    const int perFile = records / files;
    for (int f = 0; f < files; ++f) {
        ZelkLogWriter *writer = createFile(directory, f);
        for (int i = f * perFile; i < (f + 1) * perFile; ++i)
            append(writer, i);
        zelkLogWriterClose(writer);
    }
    setTimes(directory, files);
    return Dataset{directory, files, perFile * files};
}

const Data &data()
{
    static Data *generated = [] {
        auto *d = new Data;
        char pattern[] = "/tmp/zelk_merge_bench_XXXXXX";
        if (mkdtemp(pattern) == nullptr) {
            std::perror("mkdtemp");
            std::exit(1);
        }
        d->root = pattern;
        std::string global = d->root + "/zelklog.conf";
        std::string product = d->root + "/product-7.conf";
        setProperty(global, "7", "Names", "bench");
        setProperty(global, "7", "LogDirectory", d->root + "/interleaved16/");
        setProperty(global, "7", "ConfigPath", product);
        setProperty(product, "Default", "Names", "main");
        setenv("ZELKLOG_CONFIG", global.c_str(), 1);
        d->interleaved16 = interleaved(d->root + "/interleaved16/", 16, kRecords);
        d->rotated1000 = rotated(d->root + "/rotated1000/", 1000, kRecords);
        d->rotated4000 = rotated(d->root + "/rotated4000/", 4000, kRecords);
        d->rotated1000Small = rotated(d->root + "/rotated1000small/", 1000, kRecords / 10);
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

// Each returns the number of records handed out in order (-1 on a wrong order); with
// `maxOpen`, the merged fetch counts the descriptors open after each call.
int fetchPlain(LogQuery *query, int * /*maxOpen*/)
{
    ZelkLogMsg record;
    int fetched = 0;
    for (uint32_t rc = 0; rc != ZELKLOG_RC_NO_MORE_RECORDS;) {
        rc = zelkLogFetchNextEntry(query, &record);
        if (rc == ZELKLOG_RC_OK)
            ++fetched;
        zelkLogFreeMsg(&record);
    }
    return fetched;
}

int fetchSorted(LogQuery *query, int *maxOpen)
{
    const int base = maxOpen != nullptr ? zelk::test::openDescriptors() : 0;
    int fetched = 0;
    for (uint32_t rc = 0; rc != ZELKLOG_RC_NO_MORE_RECORDS;) {
        ZelkLogMsg *record = nullptr;
        rc = zelkLogFetchNextSortedEntry(query, &record);
        if (maxOpen != nullptr)
            *maxOpen = std::max(*maxOpen, zelk::test::openDescriptors() - base);
        if (rc == ZELKLOG_RC_OK) {
            if (record->timeMs != kBaseMs + fetched)
                return -1;
            ++fetched;
            zelkLogFreeMsg(record);
        }
    }
    return fetched;
}

int fetchFormatted(LogQuery *query, int * /*maxOpen*/)
{
    int fetched = 0;
    for (uint32_t rc = 0; rc != ZELKLOG_RC_NO_MORE_RECORDS;) {
        char *text = nullptr;
        rc = zelkLogFetchNextFormattedMessage(query, 0, nullptr, 0, &text);
        if (rc == ZELKLOG_RC_OK) {
            ++fetched;
            zelkLogFree(text);
        }
    }
    return fetched;
}

int createOnly(LogQuery * /*query*/, int * /*maxOpen*/)
{
    return 0;
}

using Fetch = int (*)(LogQuery *, int *);

void BM_Fetch(benchmark::State &state, Dataset Data::*set, Fetch fetch)
{
    const Dataset &dataset = data().*set;
    int fetched = 0;
    for (auto _ : state) {
        state.PauseTiming();
        LogQuery query;
        createQuery(dataset, &query);
        state.ResumeTiming();
        fetched = fetch(&query, nullptr);
        state.PauseTiming();
        zelkLogDestroyQuery(&query);
        state.ResumeTiming();
    }
    if (fetched != dataset.records)
        state.SkipWithError("not every record was handed out in order");
    state.SetItemsProcessed(state.iterations() * dataset.records);
}

void BM_CreateQuery(benchmark::State &state, Dataset Data::*set)
{
    const Dataset &dataset = data().*set;
    for (auto _ : state) {
        LogQuery query;
        createQuery(dataset, &query);
        zelkLogDestroyQuery(&query);
    }
    state.counters["files"] = dataset.files;
}

// Runs a whole fetch (creation included) in a child process; returns the child's peak
// resident size in KiB and passes back the most descriptors open after a merged call.
long peakInChild(Fetch fetch, const Dataset &dataset, int *maxOpen)
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return -1;
    pid_t child = fork();
    if (child == 0) {
        close(pipeEnds[0]);
        int open = 0;
        LogQuery query;
        createQuery(dataset, &query);
        int fetched = fetch(&query, &open);
        zelkLogDestroyQuery(&query);
        struct rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        long values[2] = {fetched < 0 ? -1 : usage.ru_maxrss, open};
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
    *maxOpen = std::max(*maxOpen, static_cast<int>(values[1]));
    return values[0];
}

void BM_PeakMemory(benchmark::State &state)
{
    const Data &d = data();
    int maxOpen = 0;
    const std::pair<const char *, Fetch> fetches[] = {
        {"plain", fetchPlain}, {"merged", fetchSorted}, {"formatted", fetchFormatted}};
    for (auto _ : state) {
        for (const auto &[name, fetch] : fetches) {
            state.counters[std::string("maxrss_kib_1000files_32000_") + name] =
                static_cast<double>(peakInChild(fetch, d.rotated1000Small, &maxOpen));
            state.counters[std::string("maxrss_kib_1000files_320000_") + name] =
                static_cast<double>(peakInChild(fetch, d.rotated1000, &maxOpen));
        }
        state.counters["maxrss_kib_create_4000files"] =
            static_cast<double>(peakInChild(createOnly, d.rotated4000, &maxOpen));
        peakInChild(fetchSorted, d.interleaved16, &maxOpen);
        state.counters["max_fds_open_after_merged_call"] = maxOpen;
    }
}

BENCHMARK_CAPTURE(BM_Fetch, Plain16Interleaved, &Data::interleaved16, fetchPlain)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_Fetch, Merged16Interleaved, &Data::interleaved16, fetchSorted)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_Fetch, Plain1000Rotated, &Data::rotated1000, fetchPlain)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_Fetch, Merged1000Rotated, &Data::rotated1000, fetchSorted)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_Fetch, Plain4000Rotated, &Data::rotated4000, fetchPlain)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_Fetch, Merged4000Rotated, &Data::rotated4000, fetchSorted)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_CreateQuery, Files4000, &Data::rotated4000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK(BM_PeakMemory)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
