// Writes the records of bench/compare.sh once into a data directory:
//
//   <dir>/zelklog.conf, product-7.conf   the configuration (product 7, default originator)
//   <dir>/catalog/root.ini               the text of message 1001
//   <dir>/interleaved16/part-NN.log      16 files, record i in file i % 16
//   <dir>/rotated1000/, rotated4000/     1000 and 4000 files of consecutive times
//   <dir>/export/part-NN.export          the records of interleaved16/part-NN.log in the
//                                        journal export format (one stream per file)
//
// Record i (of N, 1,000,000 by default): an application message at 1700000000000 + i ms,
// severity INFO/WARNING/ERR/CRIT/EMERG at 70/15/10/4/1 %, 1 % of them from PID 1234, who
// "user<i%977> on vol<i%13>", message 1001 with the arguments "user<i%977>", "vol<i%13>"
// and i: "disk quota exceeded for user<i%977> on volume vol<i%13>: <i> blocks".  The same
// draw gives the journal entry, so both sides hold the same records.
//
// Usage: compare_gen DIR [RECORDS]
#include "src/core/zelkLogCore.h"
#include "zelkLogWriter.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int64_t kBaseMs = 1700000000000;
constexpr int kInterleavedFiles = 16;

void fail(const std::string &what)
{
    std::fprintf(stderr, "compare_gen: %s\n", what.c_str());
    std::exit(1);
}

void setProperty(const std::string &store, const char *section, const char *name, const std::string &value)
{
    UtiPropertyStore handle{};
    if (CreatePropertyString(store.c_str(), section, &handle) != 0 ||
        utiSetPropertyAsStr(&handle, name, value.c_str()) != 0)
        fail("cannot write " + store);
    utiClosePropertyStore(&handle);
}

struct Drawn {
    uint32_t severity;
    uint64_t pid;
};

// Severity and process of record i, from one seeded generator shared by both outputs.
class Draw {
public:
    Drawn next()
    {
        uint64_t value = random_();
        unsigned percent = static_cast<unsigned>(value % 100);
        uint32_t severity = percent < 70   ? ZELKLOG_SEV_INFO
                            : percent < 85 ? ZELKLOG_SEV_WARNING
                            : percent < 95 ? ZELKLOG_SEV_ERR
                            : percent < 99 ? ZELKLOG_SEV_CRIT
                                           : ZELKLOG_SEV_EMERG;
        uint64_t pid = (value >> 16) % 100 == 0 ? 1234 : 2000 + (value >> 24) % 64;
        return {severity, pid};
    }

private:
    std::mt19937_64 random_{20261123};
};

struct Record {
    char user[16];
    char volume[16];
    char who[40];
    ZelkLogMsgArg userArg{};
    ZelkLogMsgArg volumeArg{};
    ZelkLogMsgArg countArg{};
    ZelkLogMsgArg *args[4] = {&userArg, &volumeArg, &countArg, nullptr};
    ZelkLogMsg msg;

    void fill(int64_t i, const Drawn &drawn)
    {
        std::snprintf(user, sizeof user, "user%d", static_cast<int>(i % 977));
        std::snprintf(volume, sizeof volume, "vol%d", static_cast<int>(i % 13));
        std::snprintf(who, sizeof who, "%s on %s", user, volume);
        std::memset(&msg, 0, sizeof msg);
        msg.kind = ZELKLOG_MSG_APP;
        msg.timeMs = kBaseMs + i;
        msg.pid = drawn.pid;
        msg.tid = drawn.pid;
        msg.productId = 7;
        msg.originatorId = 112;
        msg.kindData.first.severity = drawn.severity;
        msg.kindData.second.who = who;
        msg.args.msgId = 1001;
        userArg.type = ZELKLOG_ARG_STRING;
        userArg.value.string = user;
        volumeArg.type = ZELKLOG_ARG_STRING;
        volumeArg.value.string = volume;
        countArg.type = ZELKLOG_ARG_INT;
        countArg.value.sizedInt.size = 8;
        countArg.value.sizedInt.value = i;
        msg.args.args = args;
        msg.args.listInfo = 3 | (uint64_t{3} << 32);
    }
};

// The journal's priorities for INFO, WARNING, ERR, CRIT, EMERG.
constexpr int kPriority[] = {6, 4, 3, 2, 0};

void writeExport(FILE *out, int64_t i, const Record &record)
{
    std::fprintf(out,
                 "__REALTIME_TIMESTAMP=%lld\n__MONOTONIC_TIMESTAMP=%lld\n"
                 "_BOOT_ID=6f1ae0e4c5f64c41a43bd3e3cbbd1c70\n_MACHINE_ID=2b5a7a9c0d2e4f6a8b1c3d5e7f901234\n"
                 "_HOSTNAME=benchhost\nSYSLOG_IDENTIFIER=bench\n_PID=%llu\nPRIORITY=%d\nWHO=%s\n"
                 "MESSAGE=disk quota exceeded for %s on volume %s: %lld blocks\n\n",
                 static_cast<long long>((kBaseMs + i) * 1000), static_cast<long long>(1000000 + i * 1000),
                 static_cast<unsigned long long>(record.msg.pid),
                 kPriority[record.msg.kindData.first.severity], record.who, record.user, record.volume,
                 static_cast<long long>(i));
}

// One data set: `files` log files; record i goes to file fileOf(i).  Files get
// increasing modification times so that the file list is oldest first.
class Dataset {
public:
    Dataset(const std::string &directory, int files) : directory_(directory), writers_(files, nullptr)
    {
        std::filesystem::create_directories(directory);
        for (int f = 0; f < files; ++f) {
            std::string path = this->path(f);
            if (zelkLogWriterCreate(path.c_str(), ZELKLOG_FORMAT_10006, "benchhost", 0644, &writers_[f]) != 0)
                fail("cannot create " + path);
        }
    }

    void append(int file, const ZelkLogMsg &msg)
    {
        if (uint32_t rc = zelkLogWriterAppendMsg(writers_[file], &msg); rc != 0)
            fail("cannot append: code " + std::to_string(rc));
    }

    void close()
    {
        for (size_t f = 0; f < writers_.size(); ++f) {
            zelkLogWriterClose(writers_[f]);
            struct timespec times[2] = {{static_cast<time_t>(1000000 + f), 0},
                                        {static_cast<time_t>(1000000 + f), 0}};
            utimensat(AT_FDCWD, path(static_cast<int>(f)).c_str(), times, 0);
        }
    }

private:
    std::string path(int f) const
    {
        char name[32];
        std::snprintf(name, sizeof name, "/part-%04d.log", f);
        return directory_ + name;
    }

    std::string directory_;
    std::vector<ZelkLogWriter *> writers_;
};

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        fail("usage: compare_gen DIR [RECORDS]");
    const std::string dir = argv[1];
    const int64_t records = argc > 2 ? std::atoll(argv[2]) : 1000000;
    if (records < 4000)
        fail("at least 4000 records");
    // One descriptor per file of every data set is open while writing.
    struct rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < 8192) {
        limit.rlim_cur = limit.rlim_max < 8192 ? limit.rlim_max : 8192;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    std::filesystem::create_directories(dir + "/catalog");
    std::filesystem::create_directories(dir + "/export");

    const std::string global = dir + "/zelklog.conf";
    const std::string product = dir + "/product-7.conf";
    setProperty(global, "7", "Names", "bench");
    setProperty(global, "7", "LogDirectory", dir + "/interleaved16/");
    setProperty(global, "7", "ConfigPath", product);
    setProperty(product, "Default", "Names", "main");
    if (FILE *catalogue = std::fopen((dir + "/catalog/root.ini").c_str(), "w")) {
        std::fputs("[messages]\n1001 = disk quota exceeded for {0} on volume {1}: {2,number,#} blocks\n",
                   catalogue);
        std::fclose(catalogue);
    } else {
        fail("cannot write the catalogue");
    }

    Dataset interleaved(dir + "/interleaved16", kInterleavedFiles);
    Dataset rotated1000(dir + "/rotated1000", 1000);
    Dataset rotated4000(dir + "/rotated4000", 4000);
    std::vector<FILE *> exports;
    for (int f = 0; f < kInterleavedFiles; ++f) {
        char name[40];
        std::snprintf(name, sizeof name, "/export/part-%02d.export", f);
        FILE *out = std::fopen((dir + name).c_str(), "w");
        if (out == nullptr)
            fail(std::string("cannot write ") + name);
        exports.push_back(out);
    }

    Draw draw;
    Record record;
    for (int64_t i = 0; i < records; ++i) {
        record.fill(i, draw.next());
        const int file = static_cast<int>(i % kInterleavedFiles);
        interleaved.append(file, record.msg);
        rotated1000.append(static_cast<int>(i * 1000 / records), record.msg);
        rotated4000.append(static_cast<int>(i * 4000 / records), record.msg);
        writeExport(exports[file], i, record);
    }
    interleaved.close();
    rotated1000.close();
    rotated4000.close();
    for (FILE *out : exports) {
        if (std::fclose(out) != 0)
            fail("cannot finish an export stream");
    }
    return 0;
}
