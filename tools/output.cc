#include "tools/output.h"

#include "tools/errors.h"

#include <cerrno>
#include <cstring>
#include <charconv>
#include <unistd.h>

namespace zelktool {

Output::~Output()
{
    try {
        flush();
    } catch (const BrokenPipe &) {
    }
}

void Output::writeUnsigned(uint64_t value)
{
    char *at = reserve(24);
    commit(static_cast<size_t>(std::to_chars(at, at + 24, value).ptr - at));
}

void Output::writeSigned(int64_t value)
{
    char *at = reserve(24);
    commit(static_cast<size_t>(std::to_chars(at, at + 24, value).ptr - at));
}

void Output::flush()
{
    size_t length = used_;
    used_ = 0;
    writeAll(buffer_, length);
}

void Output::writeAll(const char *data, size_t length)
{
    while (length > 0) {
        ssize_t written = ::write(fd_, data, length);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            if (errno == EPIPE)
                throw BrokenPipe{};
            throw ToolError(kExitFailure, std::string("standard output: ") + std::strerror(errno));
        }
        data += written;
        length -= static_cast<size_t>(written);
    }
}

}  // namespace zelktool
