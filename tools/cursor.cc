#include "tools/cursor.h"

#include "tools/errors.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace zelktool {

namespace {

constexpr const char *kCursorKind = "zelklog-cursor";

std::string directoryOf(const std::string &path)
{
    size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

[[noreturn]] void failFile(const std::string &fileName, const std::string &what)
{
    throw ToolError(kExitFailure, "cursor file " + fileName + ": " + what);
}

int64_t positionOf(const LogFileEntry *entry)
{
    LogFileEntry *mutableEntry = const_cast<LogFileEntry *>(entry);
    if (zelkLogOs_isvalidfilehandle(&mutableEntry->file) != 0)
        return zelkLogOs_getFileOffset(&mutableEntry->file);
    return entry->savedOffset;
}

}  // namespace

void Cursor::load(const std::string &fileName)
{
    std::ifstream in(fileName, std::ios::binary);
    if (!in) {
        if (errno == ENOENT)
            return;
        failFile(fileName, std::strerror(errno));
    }
    nlohmann::json cursor;
    try {
        in >> cursor;
        if (cursor.at("kind").get<std::string>() != kCursorKind || cursor.at("version").get<int>() != 1)
            failFile(fileName, "not a cursor of this version");
        for (const auto &file : cursor.at("files")) {
            FilePlace place;
            place.path = file.at("path").get<std::string>();
            place.offset = file.at("offset").get<int64_t>();
            place.header = file.value("header", "");
            files_[{file.at("device").get<uint64_t>(), file.at("inode").get<uint64_t>()}] = place;
        }
    } catch (const nlohmann::json::exception &error) {
        failFile(fileName, std::string("not a cursor (") + error.what() + ")");
    }
}

void Cursor::save(const std::string &fileName) const
{
    nlohmann::json files = nlohmann::json::array();
    for (const auto &[key, place] : files_) {
        files.push_back({{"path", place.path},
                         {"device", key.first},
                         {"inode", key.second},
                         {"offset", place.offset},
                         {"header", place.header}});
    }
    std::string text = nlohmann::json{{"kind", kCursorKind}, {"version", 1}, {"files", files}}.dump(
                           -1, ' ', false, nlohmann::json::error_handler_t::replace) +
                       "\n";

    std::string temporary = fileName + ".tmp.XXXXXX";
    int fd = mkstemp(temporary.data());
    if (fd < 0)
        failFile(fileName, std::string("cannot create a temporary file: ") + std::strerror(errno));
    const char *at = text.data();
    size_t left = text.size();
    int error = 0;
    while (left > 0 && error == 0) {
        ssize_t written = write(fd, at, left);
        if (written < 0) {
            if (errno != EINTR)
                error = errno;
            continue;
        }
        at += written;
        left -= static_cast<size_t>(written);
    }
    if (error == 0 && fsync(fd) != 0)
        error = errno;
    if (close(fd) != 0 && error == 0)
        error = errno;
    if (error == 0 && rename(temporary.c_str(), fileName.c_str()) != 0)
        error = errno;
    if (error != 0) {
        unlink(temporary.c_str());
        failFile(fileName, std::string("not updated, the old cursor is kept: ") + std::strerror(error));
    }
    int directory = open(directoryOf(fileName).c_str(), O_RDONLY | O_DIRECTORY);
    if (directory >= 0) {
        fsync(directory);
        close(directory);
    }
}

void Cursor::attach(LogQuery &query)
{
    entries_.clear();
    for (auto &[key, place] : files_)
        place.seen = false;
    for (LogFileEntry *entry = query.currentFile; entry != nullptr; entry = entry->next) {
        std::string path = std::string(entry->logDirectory) + entry->fileName;
        struct stat info {};
        if (stat(path.c_str(), &info) != 0)
            continue;
        FilePlace &place = files_[{static_cast<uint64_t>(info.st_dev), static_cast<uint64_t>(info.st_ino)}];
        if (place.path != path) {
            place.path = path;
            changed_ = true;
        }
        place.seen = true;
        if (place.offset > info.st_size) {
            // Shorter than where we stopped: truncated and written anew.
            place.offset = 0;
            place.header.clear();
            changed_ = true;
        }
        if (place.offset > 0 && entry->savedOffset == 0) {
            entry->savedOffset = place.offset;
            std::snprintf(entry->headerText, sizeof entry->headerText, "%s", place.header.c_str());
        }
        entries_[entry] = &place;
    }
}

void Cursor::advance(const LogFileEntry *entry)
{
    auto found = entries_.find(entry);
    if (found == entries_.end())
        return;
    FilePlace &place = *found->second;
    int64_t position = positionOf(entry);
    if (position <= 0)
        return;
    if (place.offset == 0)
        place.header = entry->headerText;
    place.offset = position;
    changed_ = true;
}

void Cursor::detach()
{
    entries_.clear();
    for (auto it = files_.begin(); it != files_.end();) {
        if (!it->second.seen) {
            it = files_.erase(it);
            changed_ = true;
        } else {
            ++it;
        }
    }
}

}  // namespace zelktool
