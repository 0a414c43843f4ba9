// Log files at the core level: writer, header reader and record reader together.
#include "tests/support/lock_probe.h"
#include "tests/support/log_fixture.h"
#include "src/core/zelkLogCore.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

using zelk::test::LogFile;
using zelk::test::TempDir;
using zelk::test::writeTexts;
using Texts = std::vector<std::string>;

namespace {

constexpr size_t kHeaderBytes = 544;
constexpr size_t kFrameBytes = 8;

// An open read handle on a log file (heap: the handle is 32 KiB); `report` switches the
// reader to the corrupt-record report mode (reader state -1).
struct Handle {
    std::unique_ptr<LogOsFile> file = std::make_unique<LogOsFile>();
    explicit Handle(const std::string &path, bool report = false)
    {
        file->fd = -1;
        EXPECT_EQ(zelkLogOs_open(file.get(), path.c_str(), 1, 0660), 0) << path;
        file->readerState = report ? -1 : file->readerState;
    }
    ~Handle() { zelkLogOs_close(file.get()); }
    std::string next()  // the next record's text, or "<none>"
    {
        textMessage message;
        init_text_msg(&message);
        if (readrecord(file.get(), &message) != 1)
            return "<none>";
        EXPECT_EQ(message.text, message.buffer);
        return message.text;
    }
    Texts all()
    {
        Texts texts;
        for (std::string text = next(); text != "<none>"; text = next())
            texts.push_back(text);
        return texts;
    }
    int64_t position() const { return zelkLogOs_getFileOffset(file.get()); }
};

std::string readBytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeBytes(const std::string &path, const std::string &bytes, bool append = false)
{
    std::ofstream(path, std::ios::binary | (append ? std::ios::app : std::ios::trunc)) << bytes;
}

uint32_t headerCode(const std::string &path, ZelkLogFileHeader *header)
{
    auto entry = std::make_unique<LogFileEntry>();
    std::memset(entry.get(), 0, sizeof *entry);
    entry->file.fd = -1;
    zelkLogOs_open(&entry->file, path.c_str(), 1, 0660);
    uint32_t code = ReadHeader(entry.get(), header);
    zelkLogOs_close(&entry->file);
    return code;
}

std::string textOfLength(size_t length, char seed)
{
    std::string text(length, 'x');
    for (size_t i = 0; i < length; ++i)
        text[i] = char('a' + (seed + i * 7) % 26);
    return text;
}

// The writer refuses bad records, arguments and files; the header reader and the record
// reader are harmless on what is no log file or no open handle.
TEST(LogFile, BadInput)
{
    TempDir dir;
    LogFile file(dir.file("a.log"), ZELKLOG_FORMAT_10006);
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterOpen(dir.file("a.log").c_str(), &writer), 0u);
    std::string tooLong = textOfLength(4096, 1);
    EXPECT_EQ(zelkLogWriterAppend(writer, tooLong.data(), tooLong.size()), ZELKLOG_RC_RECORD_TOO_LONG);
    EXPECT_EQ(zelkLogWriterAppend(writer, "ab\0c", 4), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogWriterClose(writer), 0u);

    ZelkLogWriter *other = nullptr;
    const std::string b = dir.file("b.log");
    EXPECT_EQ(zelkLogWriterCreate(dir.file("a.log").c_str(), ZELKLOG_FORMAT_10006, "", 0660, &other),
              ZELKLOG_RC_LOGFILE_EXISTS);
    EXPECT_EQ(
        zelkLogWriterCreate(b.c_str(), ZELKLOG_FORMAT_10006, textOfLength(512, 0).c_str(), 0660, &other),
        ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(other, nullptr);
    writeBytes(dir.file("junk"), std::string(600, 'j'));
    EXPECT_EQ(zelkLogWriterOpen(dir.file("junk").c_str(), &other), ZELKLOG_RC_NOT_A_LOG_FILE);
    file.close();
    EXPECT_EQ(Handle(dir.file("a.log")).all(), Texts{});

    ZelkLogFileHeader header;
    EXPECT_EQ(headerCode(dir.file("junk"), &header), ZELKLOG_RC_NOT_A_LOG_FILE);
    EXPECT_EQ(headerCode(dir.file("missing"), &header), ZELKLOG_RC_BAD_ARGUMENT);
    std::string bytes = readBytes(dir.file("a.log"));  // a damaged header fails its checksum
    bytes[30] ^= 1;
    writeBytes(dir.file("a.log"), bytes);
    EXPECT_EQ(headerCode(dir.file("a.log"), &header), ZELKLOG_RC_NOT_A_LOG_FILE);

    // A FIFO under a log file's name is refused at once instead of blocking the open.
    ASSERT_EQ(mkfifo(dir.file("fifo.log").c_str(), 0644), 0);
    LogOsFile fifo;
    EXPECT_EQ(zelkLogOs_open(&fifo, dir.file("fifo.log").c_str(), 1, 0660), 1);
    EXPECT_EQ(fifo.fd, -1);
}

TEST(LogFile, HeaderOfEveryFormatAndActiveWriters)
{
    TempDir dir;
    ZelkLogFileHeader header;
    for (uint64_t format = ZELKLOG_FORMAT_10004; format <= ZELKLOG_FORMAT_10008; ++format) {
        const std::string name = "f" + std::to_string(format);
        ASSERT_NE(writeTexts(dir.file(name), {"r"}, format, "header of " + name), "");
        EXPECT_EQ(headerCode(dir.file(name), &header), 0u);
        EXPECT_EQ(header.format, format);
        EXPECT_EQ(header.text, "header of " + name);
    }
    std::string path = dir.file("a.log");
    auto first = std::make_unique<LogFile>(path, ZELKLOG_FORMAT_10005, "hdr");
    EXPECT_EQ(headerCode(path, &header), ZELKLOG_RC_HEADER_NOTICE);
    EXPECT_STREQ(header.text, "hdr");
    auto second = std::make_unique<LogFile>(path);
    // Each append takes the file's lock and gives it back: no other writer is kept waiting.
    EXPECT_TRUE(first->append("one"));
    EXPECT_TRUE(zelk::test::finishesWithin(2, [&] { second->append("two"); }))
        << "the second writer waited 2 s for the lock the first one left held";
    first.reset();
    EXPECT_EQ(headerCode(path, &header), ZELKLOG_RC_HEADER_NOTICE);
    second.reset();
    EXPECT_EQ(headerCode(path, &header), 0u);
    // Creation leaves no temporary file behind.
    for (const auto &entry : std::filesystem::directory_iterator(dir.path()))
        EXPECT_NE(entry.path().filename().string()[0], '.') << entry.path();
}

// A torn last record is read up to; a writer appending behind it is followed.  A frame
// still being written is no record yet, and the position stays before it.
TEST(LogFile, TornAndPartlyWrittenLastRecord)
{
    TempDir dir;
    std::string path = writeTexts(dir.file("a.log"), {"one", "two", textOfLength(300, 5)});
    std::string bytes = readBytes(path);
    for (size_t cut : {size_t(1), size_t(100), size_t(300 + kFrameBytes - 1)}) {
        writeBytes(path, bytes.substr(0, bytes.size() - cut));
        Handle handle(path);
        EXPECT_EQ(handle.all(), (Texts{"one", "two"})) << "cut " << cut;
        if (cut == 100) {
            LogFile(path).append("three");
            EXPECT_EQ(handle.all(), Texts{"three"});
        }
    }

    const size_t secondFrame = kHeaderBytes + kFrameBytes + 3;
    writeBytes(path, bytes.substr(0, secondFrame + 3));
    Handle handle(path);
    EXPECT_EQ(handle.next(), "one");
    EXPECT_EQ(handle.next(), "<none>");
    EXPECT_EQ(handle.position(), int64_t(secondFrame));
    writeBytes(path, bytes.substr(secondFrame + 3, 6), true);
    EXPECT_EQ(handle.next(), "<none>");
    writeBytes(path, bytes.substr(secondFrame + 9, kFrameBytes + 3 - 9), true);
    EXPECT_EQ(handle.next(), "two");
    EXPECT_EQ(handle.next(), "<none>");
}

// Damage in the middle of a file: normal reading skips it, the corrupt-record report
// gets it handed out as a record of its own.
TEST(LogFile, DamagedFrameInTheMiddle)
{
    const std::pair<size_t, std::string> cases[] = {
        {kFrameBytes + 1, "sfcond"},    // text: the damaged text as it stands
        {5, "second"},                  // checksum, framing whole: the frame's text
        {0, std::string("\xf6R\x06")},  // marker: raw bytes up to the next frame (a NUL ends the text)
    };
    TempDir dir;
    std::string bytes = readBytes(writeTexts(dir.file("src.log"), {"first", "second", "third"}));
    size_t second = kHeaderBytes + kFrameBytes + 5;
    for (const auto &[offset, reported] : cases) {
        std::string damaged = bytes;
        damaged[second + offset] ^= 0x03;
        std::string path = dir.file("d-" + std::to_string(offset));
        writeBytes(path, damaged);
        EXPECT_EQ(Handle(path).all(), (Texts{"first", "third"})) << offset;
        EXPECT_EQ(Handle(path, true).all(), (Texts{"first", reported, "third"})) << offset;
    }
}

// Damage where skipping it runs into a buffer refill that moves the unread bytes: the
// scan goes on behind the damage, in the moved bytes, and never past the buffer.
//  - 300 frames of 263 bytes, a text byte of the 124th flipped: the other 299 arrive.
//  - A damaged frame ending at buffer index 32700, followed by the first bytes of a
//    4095-byte record that a writer is still appending: the record arrives once whole.
TEST(LogFile, DamageAcrossABufferRefill)
{
    TempDir dir;
    std::string path = writeTexts(dir.file("equal.log"), Texts(300, textOfLength(255, 1)));
    std::string bytes = readBytes(path);
    bytes[kHeaderBytes + 123 * 263 + kFrameBytes + 40] ^= 0x01;
    writeBytes(path, bytes);
    EXPECT_EQ(Handle(path).all().size(), 299u);

    const std::string last = textOfLength(4095, 9);
    Texts texts(100, textOfLength(327 - kFrameBytes, 2));  // 100 frames end at index 32700
    texts.push_back(last);
    bytes = readBytes(writeTexts(dir.file("edge.log"), texts));
    bytes[kHeaderBytes + 99 * 327 + kFrameBytes + 5] ^= 0x01;
    const size_t written = kHeaderBytes + 32700 + 36;
    path = dir.file("edge-damaged.log");
    writeBytes(path, bytes.substr(0, written));
    Handle handle(path);
    EXPECT_EQ(handle.all().size(), 99u);
    writeBytes(path, bytes.substr(written), true);
    EXPECT_TRUE(handle.all() == Texts{last});
}

// Records of all lengths up to the largest across many buffer refills, read back whole,
// and the handle's position: saved after any record, restored in a fresh handle.
TEST(LogFile, BufferedReadingAndPositionRestore)
{
    TempDir dir;
    Texts texts = {textOfLength(4095, 3)};
    for (size_t i = 1; i < 200; ++i)
        texts.push_back(textOfLength(1 + (i * 977) % 4095, char(i)));
    std::string path = writeTexts(dir.file("a.log"), texts, ZELKLOG_FORMAT_10007);
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
    for (size_t i : {size_t(0), size_t(198), size_t(-1)}) {
        zelkLogOs_seek(again.file.get(), i == size_t(-1) ? 0 : positions[i]);  // 0: a file not started
        EXPECT_EQ(again.next(), texts[i + 1]) << i;
        EXPECT_EQ(again.position(), positions[i + 1]);
    }
}

// Several processes append at once while this one reads along: every record arrives
// whole and in its writer's order, and no writer is left marked afterwards.
TEST(LogFile, ReaderFollowsSeveralWritingProcesses)
{
    TempDir dir;
    std::string path = dir.file("a.log");
    LogFile file(path, ZELKLOG_FORMAT_10008);
    constexpr int kWriters = 3, kEach = 1000;
    auto text = [](int w, int i) {
        return std::to_string(w) + ":" + std::to_string(i) + ":" +
               textOfLength(size_t(i * 13 % 3000), char(w));
    };
    std::vector<pid_t> children;
    for (int w = 0; w < kWriters; ++w) {
        pid_t child = fork();
        if (child == 0) {
            LogFile writer(path);
            for (int i = 0; i < kEach; ++i)
                writer.append(text(w, i));
            writer.close();
            _exit(::testing::Test::HasFailure() ? 1 : 0);
        }
        children.push_back(child);
    }
    std::vector<int> next(kWriters, 0);
    Handle handle(path);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (int seen = 0; seen < kWriters * kEach && std::chrono::steady_clock::now() < deadline;) {
        std::string record = handle.next();
        if (record == "<none>") {
            sched_yield();
            continue;
        }
        int w = std::stoi(record);
        ASSERT_TRUE(w >= 0 && w < kWriters) << record.substr(0, 20);
        ASSERT_EQ(record, text(w, next[w])) << "writer " << w;
        ++next[w], ++seen;
    }
    if (next != std::vector<int>(kWriters, kEach)) {
        ADD_FAILURE() << "waited 20 s for the writers' records: a writer is blocked or died";
        for (pid_t child : children)
            kill(child, SIGKILL);
    }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "writer process " << child;
    }
    ZelkLogFileHeader header;
    file.close();
    EXPECT_EQ(headerCode(path, &header), 0u);
}

}  // namespace
