// Parsing and validating filters: a typical five-comparison filter and a filter of
// 10,000 characters.
#include "zelkLogRead.h"

#include <benchmark/benchmark.h>

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

}  // namespace

BENCHMARK_MAIN();
