// Raw record reading: readrecord over a large log file (page cache warm).
#include "src/core/zelkLogCore.h"
#include "zelkLogWriter.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

constexpr int kRecords = 500000;

// A kind-2 record text of a typical size (about 130 bytes), varied per record.
std::string recordText(int i)
{
    return "2,7,3,1,0," + std::to_string(1700000000000LL + i) + ",1234," + std::to_string(i % 64) +
           ",5:ctx42,3:abc,4:root,2,(100|A11:hello world,i4:" + std::to_string(i) +
           "|80.25|S18:some narrow string,)";
}

class LogFileOnDisk {
public:
    LogFileOnDisk()
    {
        const char *base = std::getenv("TMPDIR");
        path_ = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/zelklog-readrecord-bench-" +
                std::to_string(getpid()) + ".log";
        ZelkLogWriter *writer = nullptr;
        if (zelkLogWriterCreate(path_.c_str(), ZELKLOG_FORMAT_10006, "bench", 0600, &writer) != 0)
            std::abort();
        for (int i = 0; i < kRecords; ++i) {
            std::string text = recordText(i);
            bytes_ += text.size();
            if (zelkLogWriterAppend(writer, text.data(), text.size()) != 0)
                std::abort();
        }
        zelkLogWriterClose(writer);
    }
    ~LogFileOnDisk() { unlink(path_.c_str()); }
    const std::string &path() const { return path_; }
    size_t bytes() const { return bytes_; }

private:
    std::string path_;
    size_t bytes_ = 0;
};

void BM_ReadRecord(benchmark::State &state)
{
    static LogFileOnDisk file;
    auto handle = std::make_unique<LogOsFile>();
    textMessage message;
    int64_t records = 0;
    for (auto _ : state) {
        if (zelkLogOs_open(handle.get(), file.path().c_str(), 1, 0660) != 0)
            std::abort();
        init_text_msg(&message);
        int count = 0;
        while (readrecord(handle.get(), &message) == 1)
            ++count;
        benchmark::DoNotOptimize(message.buffer[0]);
        zelkLogOs_close(handle.get());
        if (count != kRecords)
            state.SkipWithError("short read");
        records += count;
    }
    state.SetItemsProcessed(records);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.bytes()));
}
BENCHMARK(BM_ReadRecord)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
