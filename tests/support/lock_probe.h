// Fail-fast checks for locks left held: a step that would block on such a lock runs in a
// child process, and the test waits for it a few seconds only (then the child is killed
// and the test says what it waited for).  The child inherits the caller's state, a lock
// that the caller holds included.
#ifndef ZELK_TEST_LOCK_PROBE_H
#define ZELK_TEST_LOCK_PROBE_H

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace zelk::test {

template <typename Step> bool finishesWithin(int seconds, Step step)
{
    pid_t child = fork();
    if (child == 0) {
        step();
        _exit(0);
    }
    if (child < 0)
        return false;
    int status = 0;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// True when the logging core's common lock can be taken within a second.
bool commonLockIsFree();

}  // namespace zelk::test

#endif
