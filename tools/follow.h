// Waiting for log files to grow or appear (--follow): inotify on the log directories,
// and at most a second in any case, so that a directory missed by the watch still counts.
#ifndef ZELKLOG_TOOL_FOLLOW_H
#define ZELKLOG_TOOL_FOLLOW_H

#include <set>
#include <string>

namespace zelktool {

class DirectoryWatch {
public:
    DirectoryWatch() = default;
    ~DirectoryWatch();
    DirectoryWatch(const DirectoryWatch &) = delete;
    DirectoryWatch &operator=(const DirectoryWatch &) = delete;

    void start();
    void add(const std::string &directory);
    // Returns when a watched directory changed, after a second, or on a signal.
    void wait();

private:
    int fd_ = -1;
    std::set<std::string> watched_;
};

}  // namespace zelktool

#endif
