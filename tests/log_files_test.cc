// Finding log files: GetLogFiles, logset file names, and the time-zone shift of a query.
#include "log_fixture.h"
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

using zelk::test::setModifiedTime;
using zelk::test::TempDir;
using zelk::test::writeLogFile;

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
            std::strncpy(records[i].logDirectory, directories[i].c_str(), sizeof records[i].logDirectory - 1);
            pointers.push_back(&records[i]);
        }
    }
};

struct Listed {
    std::string directory;
    std::string name;
    uint64_t format;
};

std::vector<Listed> listFiles(const std::vector<std::string> &directories, uint32_t *code)
{
    Products products(directories);
    LogQuery query;
    std::memset(&query, 0, sizeof query);
    *code = GetLogFiles(products.pointers.data(), products.pointers.size(), &query);
    std::vector<Listed> listed;
    for (LogFileEntry *entry = query.currentFile; entry != nullptr;) {
        EXPECT_EQ(entry->file.fd, -1);
        EXPECT_EQ(entry->savedOffset, 0);
        EXPECT_EQ(entry->pending.timeMs, 0);
        EXPECT_STREQ(entry->headerText, "");
        listed.push_back({entry->logDirectory, entry->fileName, entry->format});
        LogFileEntry *next = entry->next;
        zelkLogFree(entry);
        entry = next;
    }
    return listed;
}

std::vector<std::string> names(const std::vector<Listed> &listed)
{
    std::vector<std::string> result;
    for (const Listed &file : listed)
        result.push_back(file.name);
    return result;
}

TEST(GetLogFiles, OldestFirstAcrossDirectoriesSkippingWhatIsNoLogFile)
{
    TempDir one;
    TempDir two;
    const std::vector<std::string> record{"r"};
    struct File {
        TempDir *dir;
        const char *name;
        int64_t modified;
        uint64_t format;
    };
    const File files[] = {
        {&one, "c.log", 300, ZELKLOG_FORMAT_10006}, {&one, "b.log", 100, ZELKLOG_FORMAT_10004},
        {&two, "a.log", 100, ZELKLOG_FORMAT_10008}, {&two, "d.log", 200, ZELKLOG_FORMAT_10005},
        {&one, "a.log", 100, ZELKLOG_FORMAT_10007},
    };
    for (const File &f : files) {
        std::string path = writeLogFile(f.dir->path(), f.name, f.format, record);
        ASSERT_TRUE(setModifiedTime(path, f.modified));
    }
    // Not log files: a text file, a hidden log file, a directory, a header cut short.
    std::ofstream(one.file("plain.txt")) << std::string(1000, 'p');
    zelk::test::LogFile(one.file("short.log"), ZELKLOG_FORMAT_10006).close();
    EXPECT_EQ(truncate(one.file("short.log").c_str(), 100), 0);
    writeLogFile(one.path(), ".hidden.log", ZELKLOG_FORMAT_10006, record);
    mkdir(two.file("sub").c_str(), 0700);

    std::string oneNoSlash = one.path().substr(0, one.path().size() - 1);
    uint32_t code = 99;
    // The first directory is named twice (once without its "/"); a missing one is skipped.
    std::vector<Listed> listed = listFiles({oneNoSlash, two.file("missing/"), two.path(), one.path()}, &code);
    EXPECT_EQ(code, 0u);
    // By modification time, then name, then the order of the directories.
    EXPECT_EQ(names(listed), (std::vector<std::string>{"a.log", "a.log", "b.log", "d.log", "c.log"}));
    ASSERT_EQ(listed.size(), 5u);
    EXPECT_EQ(listed[0].directory, one.path());
    EXPECT_EQ(listed[0].format, ZELKLOG_FORMAT_10007);
    EXPECT_EQ(listed[1].directory, two.path());
    EXPECT_EQ(listed[1].format, ZELKLOG_FORMAT_10008);
    EXPECT_EQ(listed[3].directory, two.path());
}

TEST(GetLogFiles, NoFilesIsAnEmptyListAndBadArgumentsAreRefused)
{
    TempDir empty;
    uint32_t code = 99;
    EXPECT_TRUE(listFiles({empty.path(), "", "/nonexistent/zelklog/"}, &code).empty());
    EXPECT_EQ(code, 0u);
    EXPECT_TRUE(listFiles({}, &code).empty());
    EXPECT_EQ(code, 0u);
    LogQuery query;
    std::memset(&query, 0, sizeof query);
    EXPECT_EQ(GetLogFiles(nullptr, 1, &query), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(GetLogFiles(nullptr, 0, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
}

TEST(LogSetFileName, ReadsWhatTheHelperBuilds)
{
    const std::string longest(135, 'n');
    struct Case {
        uint64_t id;
        std::string name;
        const char *suffix;
    };
    const Case cases[] = {{0x1f, "nightly", ".log"}, {~0ull, "a_b-c", nullptr}, {1, longest, ".7.log"}};
    for (const Case &c : cases) {
        char fileName[256];
        ASSERT_EQ(zelkLogMakeLogSetFileName(c.id, c.name.c_str(), c.suffix, fileName, sizeof fileName), 0u);
        uint64_t id = 0;
        char name[136];
        char scratch[17];
        ASSERT_EQ(getSLidfromfilename(fileName, &id, name, scratch), 1) << fileName;
        EXPECT_EQ(id, c.id);
        EXPECT_EQ(name, c.name);
    }
    char fileName[256];
    EXPECT_STREQ((zelkLogMakeLogSetFileName(0x1f, "nightly", ".log", fileName, sizeof fileName), fileName),
                 "ls-000000000000001f-nightly.log");
}

TEST(LogSetFileName, RejectsOtherNames)
{
    const std::string tooLong = "ls-0000000000000001-" + std::string(136, 'n');
    const char *rejected[] = {
        "app.log",                          // no logset
        "ls-000000000000001-short",         // 15 digits
        "ls-000000000000001g-bad",          // not hexadecimal
        "ls-0000000000000000-zero",         // identifier 0
        "ls-0000000000000001-",             // empty name
        "ls-0000000000000001-.log",         // empty name before the suffix
        "ls-0000000000000001_name",         // wrong separator
        "LS-0000000000000001-name",         // prefix is lower case
        tooLong.c_str(),                    // name longer than 135
        "ls-0000000000000001-dir/name",     // a path
    };
    for (const char *fileName : rejected) {
        uint64_t id = 7;
        char name[136] = "x";
        char scratch[17];
        EXPECT_EQ(getSLidfromfilename(fileName, &id, name, scratch), 0) << fileName;
        EXPECT_EQ(id, 0u);
        EXPECT_STREQ(name, "");
    }
    uint64_t id = 0;
    char name[136];
    char scratch[17];
    EXPECT_EQ(getSLidfromfilename("ls-00000000000000AB-Up", &id, name, scratch), 1);
    EXPECT_EQ(id, 0xabu);
    EXPECT_EQ(getSLidfromfilename(nullptr, &id, name, scratch), 0);

    char out[64];
    EXPECT_EQ(zelkLogMakeLogSetFileName(0, "n", "", out, sizeof out), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogMakeLogSetFileName(1, "a.b", "", out, sizeof out), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogMakeLogSetFileName(1, "n", "log", out, sizeof out), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogMakeLogSetFileName(1, "n", ".log", out, 10), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_STREQ(out, "");
}

QueryNode *node(int32_t kind, uint64_t value, QueryNode *left = nullptr, QueryNode *right = nullptr)
{
    auto *n = static_cast<QueryNode *>(zelkLogMalloc(sizeof(QueryNode)));
    std::memset(n, 0, sizeof *n);
    n->kind = kind;
    n->value = value;
    n->left = left;
    n->right = right;
    return n;
}

void release(QueryNode *n)
{
    if (n != nullptr) {
        release(n->left);
        release(n->right);
        zelkLogFree(n);
    }
}

TEST(UpdateQueryForTZ, ShiftsOnlyDateConstants)
{
    // (STDATE >= 1000 && 2000 > ENDATE) || (PID = 1000 && STDATE < MAX)
    QueryNode *start = node(INTCONST, 1000);
    QueryNode *end = node(INTCONST, 2000);
    QueryNode *pid = node(INTCONST, 1000);
    QueryNode *big = node(INTCONST, uint64_t(INT64_MAX - 5));
    QueryNode *root = node(
        OR, 0,
        node(AND, 0, node(GREATEREQ, 0, node(KEYWORDS, ZELKLOGREC_STDATE), start),
             node(GREATER, 0, end, node(KEYWORDS, ZELKLOGREC_ENDATE))),
        node(AND, 0, node(EQUAL, 0, node(KEYWORDS, ZELKLOGREC_PID), pid),
             node(LESS, 0, node(KEYWORDS, ZELKLOGREC_STDATE), big)));
    EXPECT_EQ(updateQueryForTZ(root, -3600), 0u);
    EXPECT_EQ(int64_t(start->value), -2600);
    EXPECT_EQ(int64_t(end->value), -1600);
    EXPECT_EQ(pid->value, 1000u);
    EXPECT_EQ(updateQueryForTZ(root, 3600 + 10), 0u);
    EXPECT_EQ(int64_t(start->value), 1010);
    EXPECT_EQ(int64_t(big->value), INT64_MAX);  // held at the limit
    EXPECT_EQ(updateQueryForTZ(nullptr, 5), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(updateQueryForTZ(root, ZELKLOG_NO_TZ_ADJUST), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(int64_t(start->value), 1010);
    release(root);
}

}  // namespace
