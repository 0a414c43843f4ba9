// The library's formatted fetch alone, as a baseline for `zelklog query -o text`: creates
// the query, fetches every formatted line and writes it to standard output with stdio.
// Usage: tool_baseline LOG_DIRECTORY [FILTER]
#include "zelkLogRead.h"

#include <cstdio>
#include <cstring>

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: tool_baseline LOG_DIRECTORY [FILTER]\n");
        return 2;
    }
    const char *filter = argc > 2 ? argv[2] : "MSGTYPE >= 0 || CTXTOK = 'ALL'";
    LogQuery query;
    uint32_t rc = zelkLogCreateQueryEx(filter, nullptr, argv[1], nullptr, &query);
    if (rc != 0) {
        std::fprintf(stderr, "query: code %u\n", rc);
        return 1;
    }
    static char buffer[1 << 18];
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    unsigned long records = 0;
    for (;;) {
        char *text = nullptr;
        rc = zelkLogFetchNextFormattedMessage(&query, 0, nullptr, 0, &text);
        if (rc == 9)
            break;
        if (rc != 0)
            continue;
        std::fwrite(text, 1, std::strlen(text), stdout);
        std::fputc('\n', stdout);
        zelkLogFree(text);
        ++records;
    }
    zelkLogDestroyQuery(&query);
    std::fprintf(stderr, "%lu records\n", records);
    return 0;
}
