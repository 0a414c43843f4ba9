// Decoding throughput: a typical application message of format 0x10006 with a context
// token, a who-text and four arguments (wide string, sized integer, double, narrow
// string).  Each iteration copies the text into the raw-record buffer (decoding consumes
// it), decodes, and releases the record.
#include "src/core/zelkLogCore.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string counted(const std::string &text)
{
    return std::to_string(text.size()) + ":" + text + ",";
}

std::string typicalText()
{
    return "2,1001,112,7,0,1700000000123,4242,4243," + counted("ctx-0001") + "0:," + counted("scheduler") +
           "2,(30001|A" + counted("disk /dev/sda1 is full") + "i4:-28|8128.75|S" + counted("/var/log/app") +
           ")";
}

void DecodeTypicalAppMessage(benchmark::State &state)
{
    const std::string text = typicalText();
    textMessage message;
    init_text_msg(&message);
    ZelkLogMsg record{};
    for (auto _ : state) {
        std::memcpy(message.buffer, text.c_str(), text.size() + 1);
        message.text = message.buffer;
        record.format = ZELKLOG_FORMAT_10006;
        uint32_t rc = zelkLogMsgUnserialize(&message, &record);
        if (rc != 0) {
            state.SkipWithError("decoding failed");
            break;
        }
        benchmark::DoNotOptimize(record.args.args);
        free_text_msg(&message);
        zelkLogFreeMsg(&record);
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(DecodeTypicalAppMessage);

}  // namespace

BENCHMARK_MAIN();
