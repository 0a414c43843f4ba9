// Finding log files: GetLogFiles, logset file names, and the limits of the time-zone shift.
#include "tests/support/log_fixture.h"
#include "src/core/zelkLogCore.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

using zelk::test::TempDir;
using zelk::test::writeTexts;

namespace {

// Product configuration records as the configuration reader hands them out; only the
// log directory matters to GetLogFiles.
struct Products {
    std::vector<ZelkLogProductCfg> records;
    std::vector<ZelkLogProductCfg *> pointers;
    explicit Products(const std::vector<std::string> &directories) : records(directories.size())
    {
        for (size_t i = 0; i < directories.size(); ++i) {
            std::memset(&records[i], 0, sizeof records[i]);
            // A path of the field's whole size stays unterminated, as a record may hold it.
            std::memcpy(records[i].logDirectory, directories[i].data(),
                        std::min(directories[i].size(), sizeof records[i].logDirectory));
            pointers.push_back(&records[i]);
        }
    }
};

// The listed files as "<directory><name>", and GetLogFiles' code.
std::vector<std::string> listFiles(const std::vector<std::string> &directories, uint32_t *code)
{
    Products products(directories);
    LogQuery query;
    std::memset(&query, 0, sizeof query);
    *code = GetLogFiles(products.pointers.data(), products.pointers.size(), &query);
    std::vector<std::string> listed;
    for (LogFileEntry *entry = query.currentFile; entry != nullptr;) {
        EXPECT_EQ(entry->file.fd, -1) << "listed, not opened";
        EXPECT_EQ(entry->format, 0u) << "the header is read at the first open";
        listed.push_back(std::string(entry->logDirectory) + entry->fileName);
        LogFileEntry *next = entry->next;
        zelkLogFree(entry);
        entry = next;
    }
    return listed;
}

TEST(GetLogFiles, OldestFirstAcrossDirectoriesSkippingWhatCannotBeALogFile)
{
    TempDir one;
    TempDir two;
    const struct {
        TempDir *dir;
        const char *name;
        int64_t modified;
        uint64_t format;
    } files[] = {
        {&one, "c.log", 300, ZELKLOG_FORMAT_10006}, {&one, "b.log", 100, ZELKLOG_FORMAT_10004},
        {&two, "a.log", 100, ZELKLOG_FORMAT_10008}, {&two, "d.log", 200, ZELKLOG_FORMAT_10005},
        {&one, "a.log", 100, ZELKLOG_FORMAT_10007},
    };
    for (const auto &f : files) {
        ASSERT_NE(writeTexts(f.dir->file(f.name), {"r"}, f.format), "");
        zelk::test::setModificationTime(f.dir->file(f.name), f.modified);
    }
    // Not listed: a hidden log file, a directory, a file too short for a header.  A text
    // file long enough is listed: the fetches drop it at its first open.
    std::ofstream(one.file("plain.txt")) << std::string(1000, 'p');
    zelk::test::setModificationTime(one.file("plain.txt"), 400);
    zelk::test::LogFile(one.file("short.log"), ZELKLOG_FORMAT_10006).close();
    EXPECT_EQ(truncate(one.file("short.log").c_str(), 100), 0);
    writeTexts(one.file(".hidden.log"), {"r"});
    mkdir(two.file("sub").c_str(), 0700);
    // A link to a log file that holds only its header is listed under the link's name.
    zelk::test::LogFile(two.file("sub/e.log"), ZELKLOG_FORMAT_10006).close();
    zelk::test::setModificationTime(two.file("sub/e.log"), 400);
    ASSERT_EQ(symlink(two.file("sub/e.log").c_str(), one.file("e.log").c_str()), 0);

    std::string oneNoSlash = one.path().substr(0, one.path().size() - 1);
    uint32_t code = 99;
    // The first directory is named twice (once without its "/"); a missing one is skipped.
    // By modification time, then name, then the order of the directories.
    EXPECT_EQ(
        listFiles({oneNoSlash, two.file("missing/"), two.path(), one.path()}, &code),
        (std::vector<std::string>{one.file("a.log"), two.file("a.log"), one.file("b.log"), two.file("d.log"),
                                  one.file("c.log"), one.file("e.log"), one.file("plain.txt")}));
    EXPECT_EQ(code, 0u);
}

TEST(GetLogFiles, NoFilesIsAnEmptyListAndBadArgumentsAreRefused)
{
    TempDir empty;
    uint32_t code = 99;
    EXPECT_TRUE(listFiles({empty.path(), "", "/nonexistent/zelklog/"}, &code).empty());
    EXPECT_EQ(code, 0u);
    // A log directory filling the record's whole 1024-byte field: with its "/" it fits
    // no entry, so its files are not listed (nor written past the entry's field).
    std::string deep = empty.path();
    while (deep.size() + 100 < sizeof(ZelkLogProductCfg::logDirectory)) {
        deep += std::string(99, 'd');
        ASSERT_EQ(mkdir(deep.c_str(), 0700), 0);
        deep += '/';
    }
    deep += std::string(sizeof(ZelkLogProductCfg::logDirectory) - deep.size(), 'd');
    ASSERT_EQ(mkdir(deep.c_str(), 0700), 0);
    ASSERT_NE(writeTexts(deep + "/x.log", {"r"}), "");
    EXPECT_TRUE(listFiles({deep}, &code).empty());
    EXPECT_EQ(code, 0u);
    LogQuery query;
    std::memset(&query, 0, sizeof query);
    EXPECT_EQ(GetLogFiles(nullptr, 1, &query), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST(LogSetFileName, PatternIsReadBackAndOtherNamesRejected)
{
    const std::string longest(135, 'n');
    const struct {
        std::string fileName;
        uint64_t id;
        std::string name;
    } cases[] = {
        // id 0: no logset
        {"ls-00000000000000AB-Up", 0xab, "Up"},
        {"ls-ffffffffffffffff-a_b-c.7.log", ~0ull, "a_b-c"},
        {"ls-0000000000000001-" + longest, 1, longest},
        {"ls-0000000000000001-" + longest + "n", 0, ""},
        {"ls-000000000000001-short", 0, ""},
        {"ls-000000000000001g-bad", 0, ""},
        {"ls-0000000000000000-zero", 0, ""},
        {"ls-0000000000000001-.log", 0, ""},
        {"LS-0000000000000001-name", 0, ""},
        {"ls-0000000000000001-dir/name", 0, ""},
    };
    for (const auto &c : cases) {
        uint64_t id = 7;
        char name[136] = "x";
        char scratch[17];
        EXPECT_EQ(getSLidfromfilename(c.fileName.c_str(), &id, name, scratch), c.id != 0 ? 1 : 0)
            << c.fileName;
        EXPECT_EQ(id, c.id) << c.fileName;
        EXPECT_EQ(name, c.name) << c.fileName;
    }

    char out[256];
    EXPECT_EQ(zelkLogMakeLogSetFileName(0x1f, "nightly", ".log", out, sizeof out), 0u);
    EXPECT_STREQ(out, "ls-000000000000001f-nightly.log");
    EXPECT_EQ(zelkLogMakeLogSetFileName(1, longest.c_str(), nullptr, out, sizeof out), 0u);
    EXPECT_EQ(out, cases[2].fileName);
    EXPECT_EQ(zelkLogMakeLogSetFileName(0, "n", "", out, sizeof out), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogMakeLogSetFileName(1, "a.b", "", out, sizeof out), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogMakeLogSetFileName(1, "n", ".log", out, 10), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_STREQ(out, "");
}

// Which constants move is checked through query creation; here the limits of the shift.
TEST(UpdateQueryForTZ, HeldAtTheLimitsOfATime)
{
    QueryNode token{};
    token.value = uint64_t(INT64_MAX - 5);
    QueryNode *big = addNewNode(INTCONST, &token, nullptr);
    big->visitMark = ZELKLOG_DATE_TEXT_MARK;  // as the date check leaves a date text
    token.value = ZELKLOGREC_STDATE;
    QueryNode *root = addNewNode(LESS, addNewNode(KEYWORDS, &token, nullptr), big);
    EXPECT_EQ(updateQueryForTZ(root, 10), 0u);
    EXPECT_EQ(int64_t(big->value), INT64_MAX);
    EXPECT_EQ(updateQueryForTZ(root, ZELKLOG_NO_TZ_ADJUST), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(updateQueryForTZ(nullptr, 5), ZELKLOG_RC_BAD_ARGUMENT);
    removeTree(root);
}

}  // namespace
