// Full paths of log files and bounded copies of the fixed-size texts of a file entry.
#ifndef SRC_API_LOG_PATH_H_
#define SRC_API_LOG_PATH_H_

#include "zelkLogRead.h"

#include <cstring>

namespace zelk::read {

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
