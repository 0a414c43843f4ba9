#include "tools/terminal.h"

#include "zelkLogRead.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zelktool {

volatile std::sig_atomic_t stopRequested = 0;

namespace {

void onStopSignal(int)
{
    stopRequested = 1;
}

// True when `program` is an executable file in a directory of $PATH.
bool inPath(const std::string &program)
{
    const char *path = std::getenv("PATH");
    std::string directories = path != nullptr ? path : "/usr/bin:/bin";
    size_t start = 0;
    while (start <= directories.size()) {
        size_t end = directories.find(':', start);
        if (end == std::string::npos)
            end = directories.size();
        std::string candidate = directories.substr(start, end - start) + "/" + program;
        if (access(candidate.c_str(), X_OK) == 0)
            return true;
        start = end + 1;
    }
    return false;
}

}  // namespace

void installStopSignals()
{
    struct sigaction action {};
    action.sa_handler = onStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

Terminal::Terminal(const TerminalOptions &options)
    : stdoutTty_(isatty(STDOUT_FILENO) == 1), noPager_(options.noPager)
{
    const char *noColour = std::getenv("NO_COLOR");
    colour_ = stdoutTty_ && !options.noColour && (noColour == nullptr || *noColour == '\0');
}

Terminal::~Terminal()
{
    finishPager();
}

void Terminal::startPager()
{
    if (!stdoutTty_ || noPager_ || pagerPid_ != -1)
        return;
    const char *fromEnvironment = std::getenv("PAGER");
    std::string command;
    if (fromEnvironment != nullptr) {
        command = fromEnvironment;
        if (command.empty() || command == "cat")
            return;
    } else {
        if (!inPath("less"))
            return;
        command = "less -FRSX";
    }
    int fds[2];
    if (pipe(fds) != 0)
        return;
    pid_t pid = fork();
    if (pid < 0) {
        close(fds[0]);
        close(fds[1]);
        return;
    }
    if (pid == 0) {
        dup2(fds[0], STDIN_FILENO);
        close(fds[0]);
        close(fds[1]);
        // less keeps its own colours when it sees R; LESS from the user wins otherwise.
        setenv("LESS", "FRSX", 0);
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char *>(nullptr));
        _exit(127);
    }
    dup2(fds[1], STDOUT_FILENO);
    close(fds[0]);
    close(fds[1]);
    pagerPid_ = pid;
}

void Terminal::finishPager()
{
    if (pagerPid_ == -1)
        return;
    close(STDOUT_FILENO);
    // Interrupting the pager must not end the tool before the pager is gone.
    int status = 0;
    while (waitpid(pagerPid_, &status, 0) < 0 && errno == EINTR) {
    }
    pagerPid_ = -1;
}

void Progress::show(uint64_t records, uint64_t filesDone, uint64_t filesTotal)
{
    auto now = std::chrono::steady_clock::now();
    if (now - start_ < std::chrono::milliseconds(500) || now - last_ < std::chrono::milliseconds(200))
        return;
    last_ = now;
    std::fprintf(stderr, "\r\033[K%llu records, %llu/%llu files", static_cast<unsigned long long>(records),
                 static_cast<unsigned long long>(filesDone), static_cast<unsigned long long>(filesTotal));
    std::fflush(stderr);
    shown_ = true;
}

void Progress::clear()
{
    if (!shown_)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    shown_ = false;
}

const char *severityColour(uint32_t kind, uint32_t severity)
{
    if (kind != ZELKLOG_MSG_APP)
        return nullptr;
    if (severity >= ZELKLOG_SEV_ERR)
        return "\033[1;31m";
    if (severity == ZELKLOG_SEV_WARNING)
        return "\033[33m";
    return nullptr;
}

}  // namespace zelktool
