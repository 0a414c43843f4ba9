// Parsing and validating filters: a typical five-comparison filter, a filter of 10,000
// characters, and filters of 1 and 4 MiB of several shapes (parse time must grow
// linearly with the length).
#include "zelkLogRead.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace {

void parseAndValidate(benchmark::State &state, const std::string &query)
{
    for (auto _ : state) {
        QueryNode *root = nullptr;
        if (parseQueryString(query.c_str(), "en_US", &root) != 0 ||
            validateShortNames(nullptr, 0, root) != 0) {
            state.SkipWithError("the filter was refused");
            break;
        }
        benchmark::DoNotOptimize(root);
        removeTree(root);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * query.size()));
}

void BM_ParseTypicalFilter(benchmark::State &state)
{
    parseAndValidate(state, "SEV >= ERR && PID = 1234 && (HOSTNAME = 'alpha' || MSGTYPE = APP) && TID != 77");
}
BENCHMARK(BM_ParseTypicalFilter);

// 99 comparisons with long texts and blanks, 10,000 characters in all.
std::string longFilter()
{
    std::string query;
    for (int i = 0; i < 99; ++i) {
        query += i == 0 ? "" : (i % 3 ? " && " : " || ");
        query += i % 2 ? "HOSTNAME != 'host-" + std::string(150, static_cast<char>('a' + i % 26)) + "'"
                       : "PID = " + std::to_string(i);
    }
    if (query.size() > 10000)
        return {};
    query.resize(10000, ' ');
    return query;
}

void BM_ParseTenThousandCharacters(benchmark::State &state)
{
    parseAndValidate(state, longFilter());
}
BENCHMARK(BM_ParseTenThousandCharacters)->Unit(benchmark::kMicrosecond);

// Long filters: one token of `length` characters (a literal, a blank run, a digit run, a
// word), blanks and line feeds taking turns (line feeds are written to the scanner's echo
// stream), and a date text that no locale writes.  Each shape expects its own result code.
enum class Shape { Literal, Blanks, Digits, Word, LineFeeds, DateText };

struct LongFilter {
    std::string text;
    uint32_t expected;
};

LongFilter longFilterOf(Shape shape, size_t length)
{
    switch (shape) {
    case Shape::Literal:
        return {"WHO = '" + std::string(length, 'x') + "'", 0};
    case Shape::Blanks:
        return {std::string(length, ' ') + "PID = 5", 0};
    case Shape::Digits:
        return {"PID = " + std::string(length, '7'), 0};
    case Shape::Word:
        return {"PID = " + std::string(length, 'w'), ZELKLOG_RC_UNDEFINED_KEYWORD};
    case Shape::LineFeeds: {
        std::string text = "PID =";
        for (size_t i = 0; i < length / 2; ++i)
            text += " \n";  // a blank run and a line-feed run each time: two tokens
        return {text + "5", 0};
    }
    case Shape::DateText:
    default:
        return {"STDATE > '11/23/26, " + std::string(length, '1') + "'", ZELKLOG_RC_BAD_DATE};
    }
}

void BM_ParseLongFilter(benchmark::State &state, Shape shape)
{
    const LongFilter filter = longFilterOf(shape, static_cast<size_t>(state.range(0)));
    // Line feeds are echoed by the scanner; keep them out of the report.
    static FILE *sink = std::fopen("/dev/null", "w");
    yyout = sink;
    for (auto _ : state) {
        QueryNode *root = nullptr;
        const uint32_t rc = parseQueryString(filter.text.c_str(), "en_US", &root);
        if (rc != filter.expected) {
            state.SkipWithError("unexpected result code");
            break;
        }
        removeTree(root);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * filter.text.size()));
}

constexpr int64_t kMiB = 1 << 20;
BENCHMARK_CAPTURE(BM_ParseLongFilter, Literal, Shape::Literal)
    ->Arg(kMiB)
    ->Arg(4 * kMiB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ParseLongFilter, Blanks, Shape::Blanks)
    ->Arg(kMiB)
    ->Arg(4 * kMiB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ParseLongFilter, Digits, Shape::Digits)
    ->Arg(kMiB)
    ->Arg(4 * kMiB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ParseLongFilter, Word, Shape::Word)
    ->Arg(kMiB)
    ->Arg(4 * kMiB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ParseLongFilter, LineFeeds, Shape::LineFeeds)
    ->Arg(kMiB)
    ->Arg(4 * kMiB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ParseLongFilter, DateText, Shape::DateText)
    ->Arg(kMiB)
    ->Arg(4 * kMiB)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
