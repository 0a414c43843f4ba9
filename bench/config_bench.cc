// Catalogue operations over a global store of 1024 products (each with a store of two
// originators), written into a temporary directory.
#include "src/core/zelkLogCore.h"
#include "zelkLogRead.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int kProducts = 1024;

class Configuration {
public:
    Configuration()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "zelkbench.XXXXXX").string();
        directory_ = ::mkdtemp(&pattern[0]) != nullptr ? pattern : "/tmp";
        std::string global;
        for (int id = 1; id <= kProducts; ++id) {
            std::string store = directory_ + "/product-" + std::to_string(id) + ".conf";
            global += "[" + std::to_string(id) + "]\nNames = product" + std::to_string(id) +
                      "\nLogDirectory = /var/log/p" + std::to_string(id) + "/\nConfigPath = " + store + "\n";
            std::ofstream(store)
                << "[Default]\nNames = main\n[5]\nNames = worker\nFileId = 9\nFileNames = jobs\n";
        }
        std::ofstream(directory_ + "/zelklog.conf") << global;
        ::setenv("ZELKLOG_CONFIG", (directory_ + "/zelklog.conf").c_str(), 1);
    }
    ~Configuration() { std::filesystem::remove_all(directory_); }

private:
    std::string directory_;
};

Configuration &configuration()
{
    static Configuration instance;
    return instance;
}

void BM_ListProductsWithNames(benchmark::State &state)
{
    configuration();
    std::vector<uint64_t> ids(kProducts);
    std::vector<char *> names(kProducts);
    for (auto _ : state) {
        uint64_t count = 0;
        if (zelkLogGetAllProductsEx(ids.data(), kProducts, &count, names.data()) != 0 || count != kProducts)
            state.SkipWithError("listing failed");
        for (uint64_t i = 0; i < count; ++i)
            zelkLogFree(names[i]);
    }
}
BENCHMARK(BM_ListProductsWithNames)->Unit(benchmark::kMillisecond);

void BM_ReadAllConfiguration(benchmark::State &state)
{
    configuration();
    ZelkLogProductCfg *records[ZELKLOG_MAX_PRODUCTS];
    for (auto _ : state) {
        uint64_t count = 0;
        if (zelkLogReadAllCfg(0, ZELKLOG_MAX_PRODUCTS, records, &count) != 0 || count != kProducts)
            state.SkipWithError("reading failed");
        FreeConfigArray(records, count);
    }
}
BENCHMARK(BM_ReadAllConfiguration)->Unit(benchmark::kMillisecond);

void BM_IdFromName(benchmark::State &state)
{
    configuration();
    for (auto _ : state)
        if (zelkLogGetIdFromName("product1024", ZELKLOGREC_PRODID) != kProducts)
            state.SkipWithError("lookup failed");
}
BENCHMARK(BM_IdFromName)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
