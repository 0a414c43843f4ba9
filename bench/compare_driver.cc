// Runs one workload of bench/compare.sh through the library's public interface and
// writes one line of figures to standard error:
//
//   matched=<records handed out> seconds=<CPU time of the workload> code=<last code>
//
//   compare_driver plain DIR FILTER             plain fetch of every file, file after file
//   compare_driver merged DIR FILTER            merged (time-ordered) fetch
//   compare_driver formatted DIR FILTER FLAGS CATALOG
//                                               formatted fetch in en_US, each line written
//                                               to standard output
//   compare_driver create DIR REPEAT            query creation and destruction, REPEAT times
//                                               (seconds is the time of one)
//   compare_driver filter DIR BYTES SHAPE       creation with a filter of about BYTES bytes:
//                                               SHAPE "string" (a long WHO text) or "date"
//                                               (a long STDATE text); code is creation's
//
// The configuration comes from the environment (ZELKLOG_CONFIG), as for any caller.
#include "zelkLogRead.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

// CPU time of the process: on a shared machine it is what the workload itself costs.
struct Clock {
    using time_point = double;
    static double now()
    {
        timespec now;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    }
};

[[noreturn]] void usage()
{
    std::fputs("usage: compare_driver plain|merged DIR FILTER | formatted DIR FILTER FLAGS CATALOG |"
               " create DIR REPEAT | filter DIR BYTES string|date\n",
               stderr);
    std::exit(2);
}

void createOrExit(const char *filter, const char *directory, const char *catalog, LogQuery *query)
{
    uint32_t rc = zelkLogCreateQueryEx(filter, "en_US", directory, catalog, query);
    if (rc != ZELKLOG_RC_OK) {
        std::fprintf(stderr, "compare_driver: query creation over %s gives %u\n", directory, rc);
        std::exit(1);
    }
}

void report(long matched, Clock::time_point start, uint32_t code)
{
    const double seconds = Clock::now() - start;
    std::fprintf(stderr, "matched=%ld seconds=%.6f code=%u\n", matched, seconds, code);
}

int plain(const char *directory, const char *filter)
{
    const auto start = Clock::now();
    LogQuery query;
    createOrExit(filter, directory, nullptr, &query);
    ZelkLogMsg record;
    long matched = 0;
    uint32_t rc;
    while ((rc = zelkLogFetchNextEntry(&query, &record)) != ZELKLOG_RC_NO_MORE_RECORDS) {
        matched += rc == ZELKLOG_RC_OK ? 1 : 0;
        zelkLogFreeMsg(&record);
    }
    zelkLogDestroyQuery(&query);
    report(matched, start, rc);
    return 0;
}

int merged(const char *directory, const char *filter)
{
    const auto start = Clock::now();
    LogQuery query;
    createOrExit(filter, directory, nullptr, &query);
    long matched = 0;
    uint32_t rc;
    for (;;) {
        ZelkLogMsg *record = nullptr;
        rc = zelkLogFetchNextSortedEntry(&query, &record);
        if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
            break;
        if (rc == ZELKLOG_RC_OK) {
            ++matched;
            zelkLogFreeMsg(record);
        } else if (rc != ZELKLOG_RC_END_OF_FILE && rc != ZELKLOG_RC_CORRUPT_RECORD) {
            break;
        }
    }
    zelkLogDestroyQuery(&query);
    report(matched, start, rc);
    return 0;
}

int formatted(const char *directory, const char *filter, uint64_t flags, const char *catalog)
{
    static char outBuffer[1 << 16];
    std::setvbuf(stdout, outBuffer, _IOFBF, sizeof outBuffer);
    const auto start = Clock::now();
    LogQuery query;
    createOrExit(filter, directory, catalog, &query);
    long matched = 0;
    uint32_t rc;
    for (;;) {
        char *text = nullptr;
        rc = zelkLogFetchNextFormattedMessage(&query, 0, "en_US", flags, &text);
        if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
            break;
        if (rc == ZELKLOG_RC_OK) {
            ++matched;
            std::fputs(text, stdout);
            std::putc('\n', stdout);
            zelkLogFree(text);
        } else if (rc != ZELKLOG_RC_END_OF_FILE && rc != ZELKLOG_RC_CORRUPT_RECORD) {
            break;
        }
    }
    zelkLogDestroyQuery(&query);
    std::fflush(stdout);
    report(matched, start, rc);
    return 0;
}

int create(const char *directory, int repeat)
{
    const auto start = Clock::now();
    for (int i = 0; i < repeat; ++i) {
        LogQuery query;
        createOrExit("PID > 0", directory, nullptr, &query);
        zelkLogDestroyQuery(&query);
    }
    const double seconds = Clock::now() - start;
    std::fprintf(stderr, "matched=0 seconds=%.6f code=0\n", seconds / repeat);
    return 0;
}

int longFilter(const char *directory, size_t bytes, const std::string &shape)
{
    std::string filter;
    if (shape == "string") {
        filter = "PID = 1234 && WHO = '";
        filter.append(bytes, 'x');
        filter += "'";
    } else if (shape == "date") {
        filter = "PID = 1234 && STDATE > '11/14/23, 10:13:20 PM";
        filter.append(bytes, ' ');
        filter += "'";
    } else {
        usage();
    }
    const auto start = Clock::now();
    LogQuery query;
    uint32_t rc = zelkLogCreateQueryEx(filter.c_str(), "en_US", directory, nullptr, &query);
    if (rc != ZELKLOG_RC_BAD_ARGUMENT)
        zelkLogDestroyQuery(&query);
    report(0, start, rc);
    return 0;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 4)
        usage();
    const std::string workload = argv[1];
    if (workload == "plain")
        return plain(argv[2], argv[3]);
    if (workload == "merged")
        return merged(argv[2], argv[3]);
    if (workload == "formatted" && argc >= 6)
        return formatted(argv[2], argv[3], std::strtoull(argv[4], nullptr, 0), argv[5]);
    if (workload == "create")
        return create(argv[2], std::atoi(argv[3]));
    if (workload == "filter" && argc >= 5)
        return longFilter(argv[2], std::strtoull(argv[3], nullptr, 0), argv[4]);
    usage();
}
