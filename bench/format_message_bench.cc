// Formatting one record per iteration through a query's localiser list (catalogue cached),
// the date field with and without its per-second cache, and the date helpers that parse
// a filter's date constants.
#include "src/core/zelkLogCore.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

struct Fixture {
    std::string dir;
    LogQuery query;
    ZelkLogMsg record;
    ZelkLogMsgArg fileArg{}, codeArg{};
    ZelkLogMsgArg *args[3] = {&fileArg, &codeArg, nullptr};
    char fileName[16] = "backup.tar";

    Fixture()
    {
        char pattern[] = "/tmp/zelk-bench-XXXXXX";
        dir = mkdtemp(pattern) != nullptr ? pattern : "/tmp";
        std::ofstream(dir + "/root.ini")
            << "[messages]\n1001 = Could not open {0}: error {1,number,integer}\n";
        std::memset(&query, 0, sizeof query);
        query.formatResource = dir.data();
        std::memset(&record, 0, sizeof record);
        record.kind = ZELKLOG_MSG_APP;
        record.kindData.first.severity = ZELKLOG_SEV_ERR;
        record.productId = 42;
        record.originatorId = 112;
        record.timeMs = 1700000000123;
        record.pid = 100;
        record.tid = 7;
        record.args.msgId = 1001;
        fileArg.type = ZELKLOG_ARG_STRING;
        fileArg.value.string = fileName;
        codeArg.type = ZELKLOG_ARG_INT;
        codeArg.value.sizedInt.value = 1234;
        record.args.args = args;
    }
    ~Fixture()
    {
        RemoveAllLocalizers(&query.localizers);
        std::filesystem::remove_all(dir);
    }
};

void BM_FormatMessageEx(benchmark::State &state)
{
    Fixture fixture;
    const auto flags = static_cast<uint32_t>(state.range(0));
    for (auto _ : state) {
        char *text = nullptr;
        zelkLogFormatMessageEx(&fixture.query, "de_DE", 0, flags, 0, &fixture.record, &text);
        benchmark::DoNotOptimize(text);
        zelkLogFree(text);
    }
}
BENCHMARK(BM_FormatMessageEx)->Arg(0xF03)->Arg(0x800)->Arg(0x001);

void BM_FormatMessageUnknownId(benchmark::State &state)
{
    Fixture fixture;
    fixture.record.args.msgId = 9999;
    for (auto _ : state) {
        char *text = nullptr;
        zelkLogFormatMessageEx(&fixture.query, "de_DE", 0, 0x800, 0, &fixture.record, &text);
        benchmark::DoNotOptimize(text);
        zelkLogFree(text);
    }
}
BENCHMARK(BM_FormatMessageUnknownId);

// The date field alone over consecutive records: 1 ms apart, a thousand records share
// one second and its cached text; 1000 ms apart, every record formats its own second.
// Flags 0x001 (seconds) and 0x005 (with milliseconds put into the cached text).
void BM_FormatDate(benchmark::State &state)
{
    Fixture fixture;
    const int64_t stepMs = state.range(0);
    const auto flags = static_cast<uint32_t>(state.range(1));
    int64_t timeMs = fixture.record.timeMs;
    for (auto _ : state) {
        fixture.record.timeMs = timeMs;
        timeMs += stepMs;
        char *text = nullptr;
        zelkLogFormatMessageEx(&fixture.query, "de_DE", 0, flags, 0, &fixture.record, &text);
        benchmark::DoNotOptimize(text);
        zelkLogFree(text);
    }
}
BENCHMARK(BM_FormatDate)
    ->ArgNames({"step_ms", "flags"})
    ->Args({1, 0x001})
    ->Args({1000, 0x001})
    ->Args({1, 0x005})
    ->Args({1000, 0x005});

void BM_GetDateFromFormat(benchmark::State &state)
{
    for (auto _ : state) {
        int64_t time = 0;
        benchmark::DoNotOptimize(zelkLogGetDateFromFormat(2, 3, "en_US", "11/14/23, 10:13:20 PM", &time));
    }
}
BENCHMARK(BM_GetDateFromFormat);

}  // namespace

BENCHMARK_MAIN();
