#include "tools/follow.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace zelktool {

DirectoryWatch::~DirectoryWatch()
{
    if (fd_ >= 0)
        close(fd_);
}

void DirectoryWatch::start()
{
    if (fd_ < 0)
        fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
}

void DirectoryWatch::add(const std::string &directory)
{
    if (fd_ >= 0 && watched_.insert(directory).second)
        inotify_add_watch(fd_, directory.c_str(),
                          IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ATTRIB);
}

void DirectoryWatch::wait()
{
    struct pollfd watch {};
    watch.fd = fd_;
    watch.events = POLLIN;
    if (poll(&watch, fd_ >= 0 ? 1 : 0, 1000) > 0) {
        // Let a burst of appends settle, then drop the events: the next pass reads it all.
        usleep(20000);
        char events[8192];
        while (read(fd_, events, sizeof events) > 0) {
        }
    }
}

}  // namespace zelktool
