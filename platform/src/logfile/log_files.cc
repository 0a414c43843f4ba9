// GetLogFiles: the log files of every configured product's log directory, oldest first.
#include "platform/src/logfile/log_format.h"
#include "platform/src/logfile/read_state.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace zelk::core::logfile {
namespace {

struct FoundFile {
    int64_t modifiedNs;
    std::string name;
    size_t directory;  // index into the list of directories
    uint64_t device;
    uint64_t inode;
};

// Lists the directory's regular files that are long enough to hold a header.  One
// fstatat per name, relative to the directory: no file is opened here.  Its header is
// checked when it is first opened for reading (ReadNextLogFile), which drops a file whose
// header is not valid as if it had never been listed; so every file is opened once.
void scanDirectory(const std::string &path, size_t index, std::vector<FoundFile> &found)
{
    int directoryFd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directoryFd < 0)
        return;
    DIR *directory = fdopendir(directoryFd);
    if (directory == nullptr) {
        ::close(directoryFd);
        return;
    }
    while (const dirent *item = readdir(directory)) {
        // Hidden names are skipped: among them the files a writer is still creating.
        if (item->d_name[0] == '.' || std::strlen(item->d_name) >= sizeof(LogFileEntry::fileName))
            continue;
        // Links are followed; a FIFO, a device or a directory is never listed (nor opened).
        struct stat info;
        if (fstatat(directoryFd, item->d_name, &info, 0) != 0 || !S_ISREG(info.st_mode) ||
            info.st_size < off_t(kHeaderSize))
            continue;
        int64_t modified = int64_t(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
        found.push_back(
            FoundFile{modified, item->d_name, index, uint64_t(info.st_dev), uint64_t(info.st_ino)});
    }
    closedir(directory);
}

// The distinct, existing log directories of the products, in product order, each with
// a trailing "/".  The same directory under two spellings counts once.
std::vector<std::string> logDirectories(ZelkLogProductCfg **array, uint64_t count)
{
    std::vector<std::string> directories;
    std::vector<std::pair<dev_t, ino_t>> seen;
    for (uint64_t i = 0; i < count; ++i) {
        const ZelkLogProductCfg *record = array[i];
        if (record == nullptr)
            continue;
        std::string path(record->logDirectory, strnlen(record->logDirectory, sizeof record->logDirectory));
        struct stat info;
        if (path.empty() || stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
            continue;
        if (path.back() != '/')
            path += '/';
        // A directory that with its "/" does not fit an entry's field cannot be listed.
        if (path.size() >= sizeof(LogFileEntry::logDirectory))
            continue;
        auto identity = std::make_pair(info.st_dev, info.st_ino);
        if (std::find(seen.begin(), seen.end(), identity) != seen.end())
            continue;
        seen.push_back(identity);
        directories.push_back(std::move(path));
    }
    return directories;
}

// An entry is mostly its handle's read-ahead area, which stays untouched until the file
// is read: only the fields below are written, so that a list of thousands of files costs
// about two resident pages per file instead of the whole entry.
LogFileEntry *newEntry(const FoundFile &file, const std::string &directory)
{
    auto *entry = static_cast<LogFileEntry *>(zelkLogMalloc(sizeof(LogFileEntry)));
    if (entry == nullptr)
        return nullptr;
    entry->next = nullptr;
    entry->format = 0;  // the header is checked and the format read at the first open
    entry->file.fd = -1;
    entry->file.readerState = 0;
    storeState(&entry->file, freshState());
    std::memset(&entry->pending, 0, sizeof entry->pending);
    entry->coreWord1 = file.device;
    entry->coreWord2 = file.inode;
    entry->savedOffset = 0;
    std::memset(entry->headerText, 0, sizeof entry->headerText);
    std::memset(entry->logDirectory, 0, sizeof entry->logDirectory);
    std::memcpy(entry->logDirectory, directory.c_str(), directory.size() + 1);
    std::memset(entry->fileName, 0, sizeof entry->fileName);
    std::memcpy(entry->fileName, file.name.c_str(), file.name.size() + 1);
    return entry;
}

uint32_t listLogFiles(ZelkLogProductCfg **array, uint64_t count, LogQuery *query)
{
    std::vector<std::string> directories = logDirectories(array, count);
    std::vector<FoundFile> found;
    for (size_t i = 0; i < directories.size(); ++i)
        scanDirectory(directories[i], i, found);
    std::sort(found.begin(), found.end(), [](const FoundFile &a, const FoundFile &b) {
        return std::tie(a.modifiedNs, a.name, a.directory) < std::tie(b.modifiedNs, b.name, b.directory);
    });
    LogFileEntry *head = nullptr;
    LogFileEntry **tail = &head;
    for (const FoundFile &file : found) {
        LogFileEntry *entry = newEntry(file, directories[file.directory]);
        if (entry == nullptr) {
            while (head != nullptr) {
                LogFileEntry *next = head->next;
                zelkLogFree(head);
                head = next;
            }
            return ZELKLOG_RC_NO_MEMORY;
        }
        *tail = entry;
        tail = &entry->next;
    }
    // Behind the files the query may already hold.
    LogFileEntry **end = &query->currentFile;
    while (*end != nullptr)
        end = &(*end)->next;
    *end = head;
    return ZELKLOG_RC_OK;
}

}  // namespace
}  // namespace zelk::core::logfile

extern "C" {

// Builds the query's file list (docs/log-format.md, "Finding log files").  0 also when
// no file is found: the query then has no file and its first fetch answers 9.
ZELKLOG_API uint32_t GetLogFiles(ZelkLogProductCfg **array, uint64_t count, LogQuery *query)
{
    if (query == nullptr || (array == nullptr && count > 0))
        return ZELKLOG_RC_BAD_ARGUMENT;
    try {
        return zelk::core::logfile::listLogFiles(array, count, query);
    } catch (...) {
        return ZELKLOG_RC_NO_MEMORY;
    }
}

}  // extern "C"
