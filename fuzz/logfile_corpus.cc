// Writes the starting corpus of the log-file fuzzer: real log files made by the writer,
// each stored as one input in mode 0 (a 0 byte, then the file's bytes; see
// logfile_fuzz.cc).  Run at build time: logfile_corpus OUTPUT_DIRECTORY.
#include "zelkLogRead.h"
#include "zelkLogWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Sample {
    const char *name;
    uint64_t format;
    int records;        // records of every kind in turn
    size_t textLength;  // length of each record's subject or context text
};

ZelkLogMsg record(int i, const std::string &text)
{
    static const uint32_t kinds[] = {ZELKLOG_MSG_DEBUG, ZELKLOG_MSG_DIAG, ZELKLOG_MSG_APP, ZELKLOG_MSG_CTX,
                                     ZELKLOG_MSG_AUDIT};
    ZelkLogMsg msg;
    std::memset(&msg, 0, sizeof msg);
    msg.kind = kinds[i % 5];
    msg.timeMs = 1700000000000 + i * 1000;
    msg.pid = 1234;
    msg.tid = uint64_t(i + 1);
    msg.productId = 7;
    msg.originatorId = 112;
    msg.fileId = i % 3 == 0 ? 9 : 0;
    msg.args.msgId = 100 + uint64_t(i % 4);
    msg.contextToken = const_cast<char *>(i % 2 == 0 ? "tok-1" : "");
    char *owned = const_cast<char *>(text.c_str());
    if (msg.kind == ZELKLOG_MSG_CTX) {
        msg.kindData.first.contextText = owned;
    } else if (msg.kind == ZELKLOG_MSG_AUDIT) {
        msg.kindData.second.subject = owned;
    } else {
        msg.kindData.first.severity = msg.kind == ZELKLOG_MSG_APP ? ZELKLOG_SEV_ERR : 0;
        msg.kindData.second.who = owned;
    }
    return msg;
}

bool writeSample(const std::string &directory, const Sample &sample)
{
    const std::string log = directory + "/" + sample.name + ".log";
    unlink(log.c_str());
    ZelkLogWriter *writer = nullptr;
    if (zelkLogWriterCreate(log.c_str(), sample.format, "corpus host", 0660, &writer) != 0)
        return false;
    bool ok = true;
    for (int i = 0; i < sample.records && ok; ++i) {
        std::string text(sample.textLength, char('a' + i % 26));
        ZelkLogMsg msg = record(i, text);
        ok = zelkLogWriterAppendMsg(writer, &msg) == 0;
    }
    ok = zelkLogWriterClose(writer) == 0 && ok;
    std::ifstream in(log, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    unlink(log.c_str());
    std::ofstream out(directory + "/" + sample.name, std::ios::binary | std::ios::trunc);
    out.put('\0');
    out << bytes;
    return ok && bool(out);
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT_DIRECTORY\n", argv[0]);
        return 2;
    }
    mkdir(argv[1], 0755);
    const Sample samples[] = {
        {"empty-10004", ZELKLOG_FORMAT_10004, 0, 0},
        {"few-10005", ZELKLOG_FORMAT_10005, 5, 12},
        {"few-10006", ZELKLOG_FORMAT_10006, 5, 40},
        {"few-10007", ZELKLOG_FORMAT_10007, 10, 3},
        {"logset-10008", ZELKLOG_FORMAT_10008, 5, 20},
        // Past one read-ahead buffer, so refills and moves of the unread bytes are reached.
        {"refills-10006", ZELKLOG_FORMAT_10006, 160, 250},
        {"long-10007", ZELKLOG_FORMAT_10007, 12, 3900},
    };
    for (const Sample &sample : samples) {
        if (!writeSample(argv[1], sample)) {
            std::fprintf(stderr, "logfile_corpus: cannot write %s\n", sample.name);
            return 1;
        }
    }
    return 0;
}
