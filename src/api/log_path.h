// Full paths of log files, bounded copies of the fixed-size texts of a file entry, and the
// internal code of a listed file that proves to be no log file.
#ifndef SRC_API_LOG_PATH_H_
#define SRC_API_LOG_PATH_H_

#include "zelkLogRead.h"

#include <cstring>

namespace zelk::read {

// ReadNextLogFile's code for a file opened for the first time whose header shows that it
// is no log file (the listing does not open files to check them).  The file is closed
// again; every fetch drops it silently, as if it had never been listed: dropping it is
// no read of theirs and changes no code they return.  Internal: never handed to a caller.
inline constexpr uint32_t kRcNoLogFile = 0xFFFF0033u;

// Copies at most `sourceSize` characters of `source` and always terminates `target`.
inline void copyText(char *target, size_t targetSize, const char *source, size_t sourceSize)
{
    if (targetSize == 0)
        return;
    size_t length = strnlen(source, sourceSize);
    if (length >= targetSize)
        length = targetSize - 1;
    std::memcpy(target, source, length);
    target[length] = '\0';
}

// The path of an entry's file: its directory (ending with "/") followed by its name.
// Both parts are read only up to their buffers' ends, so an unterminated field cannot
// run the copy past the entry.
class LogPath {
public:
    explicit LogPath(const LogFileEntry &entry)
    {
        size_t directory = strnlen(entry.logDirectory, sizeof entry.logDirectory);
        size_t name = strnlen(entry.fileName, sizeof entry.fileName);
        std::memcpy(path_, entry.logDirectory, directory);
        std::memcpy(path_ + directory, entry.fileName, name);
        path_[directory + name] = '\0';
    }
    const char *text() const { return path_; }

private:
    char path_[sizeof(LogFileEntry::logDirectory) + sizeof(LogFileEntry::fileName) + 1];
};

}  // namespace zelk::read

#endif  // SRC_API_LOG_PATH_H_
