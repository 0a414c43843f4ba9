// Log files at the core level: writer, header reader and record reader together.
#include "log_fixture.h"
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

using zelk::test::LogFile;
using zelk::test::TempDir;
using zelk::test::writeLogFile;

namespace {

constexpr size_t kHeaderBytes = 544;
constexpr size_t kFrameBytes = 8;

// An open read handle on a log file (heap: the handle is 32 KiB).
struct Handle {
    LogOsFile *file = new LogOsFile;
    explicit Handle(const std::string &path)
    {
        file->fd = -1;
        EXPECT_EQ(zelkLogOs_open(file, path.c_str(), 1, 0660), 0) << path;
    }
    ~Handle()
    {
        zelkLogOs_close(file);
        delete file;
    }
    // The next record's text, or nullopt-like marker "<none>".
    std::string next()
    {
        textMessage message;
        init_text_msg(&message);
        if (readrecord(file, &message) != 1)
            return "<none>";
        EXPECT_EQ(message.text, message.buffer);
        return message.text;
    }
    std::vector<std::string> all()
    {
        std::vector<std::string> texts;
        for (std::string text = next(); text != "<none>"; text = next())
            texts.push_back(text);
        return texts;
    }
    int64_t position() const { return int64_t(lseek(file->fd, 0, SEEK_CUR)) - std::max(file->readerState, 0); }
    void seek(int64_t offset)
    {
        lseek(file->fd, offset, SEEK_SET);
        file->readerState = 0;
    }
};

std::string readBytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeBytes(const std::string &path, const std::string &bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

uint32_t headerCode(const std::string &path, ZelkLogFileHeader *header)
{
    auto *entry = new LogFileEntry;
    std::memset(entry, 0, sizeof *entry);
    entry->file.fd = -1;
    zelkLogOs_open(&entry->file, path.c_str(), 1, 0660);
    uint32_t code = ReadHeader(entry, header);
    zelkLogOs_close(&entry->file);
    delete entry;
    return code;
}

std::string textOfLength(size_t length, char seed)
{
    std::string text(length, 'x');
    for (size_t i = 0; i < length; ++i)
        text[i] = char('a' + (seed + i * 7) % 26);
    return text;
}

TEST(LogFile, RoundTripInEveryFormat)
{
    TempDir dir;
    const std::vector<std::string> texts = {"a", "2,7,3,1,0,999,42,17,0:,3:abc,0:,1,(100|A5:h\xc3\xa9llo,i4:-1|)",
                                            textOfLength(4095, 3), "last"};
    for (uint64_t format = ZELKLOG_FORMAT_10004; format <= ZELKLOG_FORMAT_10008; ++format) {
        std::string name = "f" + std::to_string(format);
        std::string path = writeLogFile(dir.path(), name, format, texts, "header of " + name);
        ZelkLogFileHeader header;
        EXPECT_EQ(headerCode(path, &header), 0u);
        EXPECT_EQ(header.format, format);
        EXPECT_STREQ(header.text, ("header of " + name).c_str());
        Handle handle(path);
        EXPECT_EQ(handle.all(), texts);
    }
}

TEST(LogFile, WriterRefusesBadRecordsAndArguments)
{
    TempDir dir;
    LogFile file(dir.file("a.log"), ZELKLOG_FORMAT_10006);
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterOpen(dir.file("a.log").c_str(), &writer), 0u);
    std::string tooLong = textOfLength(4096, 1);
    EXPECT_EQ(zelkLogWriterAppend(writer, tooLong.data(), tooLong.size()), ZELKLOG_RC_RECORD_TOO_LONG);
    EXPECT_EQ(zelkLogWriterAppend(writer, "ab\0c", 4), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogWriterAppend(writer, "", 0), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogWriterAppend(nullptr, "a", 1), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogWriterClose(writer), 0u);

    ZelkLogWriter *other = nullptr;
    EXPECT_EQ(zelkLogWriterCreate(dir.file("a.log").c_str(), ZELKLOG_FORMAT_10006, "", 0660, &other),
              ZELKLOG_RC_LOGFILE_EXISTS);
    EXPECT_EQ(zelkLogWriterCreate(dir.file("b.log").c_str(), 0x10009, "", 0660, &other), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogWriterCreate(dir.file("b.log").c_str(), ZELKLOG_FORMAT_10006, textOfLength(512, 0).c_str(),
                                  0660, &other),
              ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(other, nullptr);
    writeBytes(dir.file("plain.txt"), "not a log file at all");
    EXPECT_EQ(zelkLogWriterOpen(dir.file("plain.txt").c_str(), &other), ZELKLOG_RC_NOT_A_LOG_FILE);
    EXPECT_EQ(zelkLogWriterClose(nullptr), 0u);
    file.close();
    Handle handle(dir.file("a.log"));
    EXPECT_EQ(handle.all(), std::vector<std::string>{});
}

TEST(LogFile, HeaderReportsActiveWritersUntilTheLastCloses)
{
    TempDir dir;
    std::string path = dir.file("a.log");
    ZelkLogFileHeader header;
    auto first = std::make_unique<LogFile>(path, ZELKLOG_FORMAT_10005, "hdr");
    EXPECT_EQ(headerCode(path, &header), ZELKLOG_RC_HEADER_NOTICE);
    EXPECT_STREQ(header.text, "hdr");
    auto second = std::make_unique<LogFile>(path);
    first.reset();
    EXPECT_EQ(headerCode(path, &header), ZELKLOG_RC_HEADER_NOTICE);
    second.reset();
    EXPECT_EQ(headerCode(path, &header), 0u);

    // A writer that dies without closing leaves its count behind: readers see that no
    // writer is alive, and the next writer repairs the count.
    pid_t child = fork();
    if (child == 0) {
        ZelkLogWriter *writer = nullptr;
        _exit(zelkLogWriterOpen(path.c_str(), &writer) == 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(WEXITSTATUS(status), 0);
    auto writerCount = [&] { return uint8_t(readBytes(path)[16]); };
    EXPECT_EQ(writerCount(), 1u);
    EXPECT_EQ(headerCode(path, &header), 0u);
    {
        LogFile again(path);
        EXPECT_EQ(writerCount(), 1u);
        EXPECT_EQ(headerCode(path, &header), ZELKLOG_RC_HEADER_NOTICE);
    }
    EXPECT_EQ(writerCount(), 0u);
}

TEST(LogFile, HeaderReaderIsHarmlessOnBadInput)
{
    TempDir dir;
    writeBytes(dir.file("junk"), std::string(600, 'j'));
    ZelkLogFileHeader header;
    EXPECT_EQ(headerCode(dir.file("junk"), &header), ZELKLOG_RC_NOT_A_LOG_FILE);
    EXPECT_STREQ(header.text, "");
    EXPECT_EQ(headerCode(dir.file("missing"), &header), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(ReadHeader(nullptr, &header), ZELKLOG_RC_BAD_ARGUMENT);

    // A damaged header byte is caught by the header's checksum.
    std::string path = writeLogFile(dir.path(), "a.log", ZELKLOG_FORMAT_10004, std::vector<std::string>{"r"}, "t");
    std::string bytes = readBytes(path);
    bytes[30] ^= 1;
    writeBytes(path, bytes);
    EXPECT_EQ(headerCode(path, &header), ZELKLOG_RC_NOT_A_LOG_FILE);

    // Reading a handle that is not open, or twice closed, is harmless.
    LogOsFile closed;
    closed.fd = -1;
    textMessage message;
    init_text_msg(&message);
    EXPECT_EQ(readrecord(&closed, &message), 0);
    EXPECT_EQ(zelkLogOs_close(&closed), 0);
    EXPECT_NE(zelkLogOs_open(&closed, dir.file("missing").c_str(), 1, 0660), 0);
    EXPECT_EQ(closed.fd, -1);
}

TEST(LogFile, TornLastRecordIsReadUpToItAndLaterAppendsFollow)
{
    TempDir dir;
    std::string path = writeLogFile(dir.path(), "a.log", ZELKLOG_FORMAT_10006,
                                    std::vector<std::string>{"one", "two", textOfLength(300, 5)});
    std::string bytes = readBytes(path);
    for (size_t cut : {size_t(1), size_t(150), size_t(300 + kFrameBytes - 1)}) {
        writeBytes(path, bytes.substr(0, bytes.size() - cut));
        Handle handle(path);
        EXPECT_EQ(handle.all(), (std::vector<std::string>{"one", "two"})) << "cut " << cut;
    }
    // A writer appends behind the torn frame: the reader steps over the torn bytes.
    writeBytes(path, bytes.substr(0, bytes.size() - 100));
    Handle handle(path);
    EXPECT_EQ(handle.all(), (std::vector<std::string>{"one", "two"}));
    LogFile(path).append("three");
    EXPECT_EQ(handle.all(), (std::vector<std::string>{"three"}));
}

TEST(LogFile, PartlyWrittenFrameIsNoRecordYet)
{
    TempDir dir;
    std::string source = writeLogFile(dir.path(), "src.log", ZELKLOG_FORMAT_10006,
                                      std::vector<std::string>{"first", "second"});
    std::string bytes = readBytes(source);
    size_t secondFrame = kHeaderBytes + kFrameBytes + 5;
    std::string path = dir.file("a.log");
    writeBytes(path, bytes.substr(0, secondFrame + 3));
    Handle handle(path);
    EXPECT_EQ(handle.next(), "first");
    EXPECT_EQ(handle.next(), "<none>");
    EXPECT_EQ(handle.position(), int64_t(secondFrame));
    std::ofstream(path, std::ios::binary | std::ios::app) << bytes.substr(secondFrame + 3, 6);
    EXPECT_EQ(handle.next(), "<none>");
    std::ofstream(path, std::ios::binary | std::ios::app) << bytes.substr(secondFrame + 9);
    EXPECT_EQ(handle.next(), "second");
    EXPECT_EQ(handle.next(), "<none>");
}

// Damage in the middle of a file: normal reading skips it, the corrupt-record report
// (reader-state word -1 after opening) gets it handed out as a record of its own.
TEST(LogFile, DamagedFrameInTheMiddle)
{
    struct Case {
        const char *name;
        size_t offset;         // byte of the second frame to damage (xor 3)
        std::string reported;  // what report mode hands out for the frame
    };
    const std::vector<Case> cases = {
        {"text", kFrameBytes + 1, "sfcond"},       // the damaged text as it stands
        {"checksum", 5, "second"},                 // framing whole: the frame's text
        {"marker", 0, std::string("\xf6R\x06")},  // raw bytes up to the next frame (a NUL ends the text)
    };
    TempDir dir;
    std::string source =
        writeLogFile(dir.path(), "src.log", ZELKLOG_FORMAT_10006, std::vector<std::string>{"first", "second", "third"});
    std::string bytes = readBytes(source);
    size_t second = kHeaderBytes + kFrameBytes + 5;
    for (const Case &c : cases) {
        std::string damaged = bytes;
        damaged[second + c.offset] ^= 0x03;
        std::string path = dir.file(std::string("d-") + c.name);
        writeBytes(path, damaged);
        {
            Handle handle(path);
            EXPECT_EQ(handle.all(), (std::vector<std::string>{"first", "third"})) << c.name;
        }
        Handle report(path);
        report.file->readerState = -1;
        EXPECT_EQ(report.all(), (std::vector<std::string>{"first", c.reported, "third"})) << c.name;
    }
}

// Random damage anywhere behind the header: normal reading yields only whole records of
// the original file, in their order; report mode reads through without fault.
TEST(LogFile, AnyDamageYieldsOnlyOriginalRecordsInOrder)
{
    TempDir dir;
    std::mt19937 random(20261123);
    std::vector<std::string> texts;
    for (int i = 0; i < 150; ++i)
        texts.push_back(std::to_string(i) + ":" + textOfLength(random() % 600, char(i)));
    std::string bytes = readBytes(writeLogFile(dir.path(), "src.log", ZELKLOG_FORMAT_10006, texts));
    std::string path = dir.file("damaged.log");
    for (int round = 0; round < 300; ++round) {
        std::string damaged = bytes;
        size_t where = kHeaderBytes + random() % (damaged.size() - kHeaderBytes);
        size_t span = 1 + random() % 40;
        switch (round % 4) {
        case 0:
            for (size_t i = where; i < std::min(damaged.size(), where + span); i += 1 + random() % 5)
                damaged[i] = char(random());
            break;
        case 1: damaged.erase(where, span); break;
        case 2: damaged.insert(where, std::string(span, char(random()))); break;
        default: damaged.resize(where); break;
        }
        writeBytes(path, damaged);
        Handle handle(path);
        size_t expected = 0;
        for (const std::string &text : handle.all()) {
            while (expected < texts.size() && texts[expected] != text)
                ++expected;
            ASSERT_LT(expected, texts.size()) << "round " << round << " gave a record that was never written";
        }
        Handle report(path);
        report.file->readerState = -1;
        EXPECT_GE(report.all().size(), 1u) << "round " << round;
    }
}

// Records of all lengths across many buffer refills, read back whole, and the position
// convention of the handle: saved after any record, restored in a fresh handle.
TEST(LogFile, BufferedReadingAndPositionRestore)
{
    TempDir dir;
    std::vector<std::string> texts;
    for (size_t i = 0; i < 200; ++i)
        texts.push_back(textOfLength(1 + (i * 977) % 4095, char(i)));
    std::string path = writeLogFile(dir.path(), "a.log", ZELKLOG_FORMAT_10007, texts);
    std::vector<int64_t> positions;
    {
        Handle handle(path);
        for (size_t i = 0; i < texts.size(); ++i) {
            ASSERT_EQ(handle.next(), texts[i]) << i;
            positions.push_back(handle.position());
        }
        EXPECT_EQ(handle.next(), "<none>");
    }
    Handle again(path);
    for (size_t i : {size_t(0), size_t(7), size_t(8), size_t(55), size_t(198), size_t(3)}) {
        again.seek(positions[i]);
        EXPECT_EQ(again.next(), texts[i + 1]) << i;
        EXPECT_EQ(again.position(), positions[i + 1]);
    }
    // Position 0 (a file not started) reads from the first record.
    again.seek(0);
    EXPECT_EQ(again.next(), texts[0]);
}

TEST(LogFile, ReaderFollowsAWriterThatAppendsMeanwhile)
{
    TempDir dir;
    std::string path = dir.file("a.log");
    LogFile file(path, ZELKLOG_FORMAT_10006);
    constexpr int kRecords = 3000;
    pid_t child = fork();
    if (child == 0) {
        LogFile writer(path);
        for (int i = 0; i < kRecords; ++i)
            writer.append("record " + std::to_string(i) + " " + textOfLength(size_t(i % 500), char(i)));
        writer.close();
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    Handle handle(path);
    int seen = 0;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (seen < kRecords && std::chrono::steady_clock::now() < deadline) {
        std::string text = handle.next();
        if (text == "<none>") {
            sched_yield();
            continue;
        }
        ASSERT_EQ(text, "record " + std::to_string(seen) + " " + textOfLength(size_t(seen % 500), char(seen)));
        ++seen;
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(seen, kRecords);
}

TEST(LogFile, SeveralProcessesAppendWholeRecords)
{
    TempDir dir;
    std::string path = dir.file("a.log");
    LogFile file(path, ZELKLOG_FORMAT_10008);
    constexpr int kWriters = 4;
    constexpr int kEach = 400;
    std::vector<pid_t> children;
    for (int w = 0; w < kWriters; ++w) {
        pid_t child = fork();
        if (child == 0) {
            LogFile writer(path);
            for (int i = 0; i < kEach; ++i)
                writer.append(std::to_string(w) + ":" + std::to_string(i) + ":" + textOfLength(size_t(i * 13 % 3000), char(w)));
            writer.close();
            _exit(::testing::Test::HasFailure() ? 1 : 0);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
    std::vector<int> next(kWriters, 0);
    Handle handle(path);
    for (const std::string &text : handle.all()) {
        int w = std::stoi(text);
        int i = std::stoi(text.substr(text.find(':') + 1));
        ASSERT_EQ(i, next[w]) << "writer " << w;
        ASSERT_EQ(text, std::to_string(w) + ":" + std::to_string(i) + ":" + textOfLength(size_t(i * 13 % 3000), char(w)));
        ++next[w];
    }
    EXPECT_EQ(next, std::vector<int>(kWriters, kEach));
    ZelkLogFileHeader header;
    file.close();
    EXPECT_EQ(headerCode(path, &header), 0u);
}

}  // namespace
