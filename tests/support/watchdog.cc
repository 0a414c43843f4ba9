#include "tests/support/watchdog.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace zelk::test {
namespace {

// Written outside the signal handler; the handler only reads them.
char testName[512];
const char *volatile waitingFor = nullptr;
volatile unsigned armedSeconds = 0;

void put(const char *text)
{
    size_t length = std::strlen(text);
    while (length > 0) {
        ssize_t written = ::write(STDERR_FILENO, text, length);
        if (written <= 0)
            return;
        text += written;
        length -= static_cast<size_t>(written);
    }
}

void expired(int)
{
    char seconds[24];
    unsigned value = armedSeconds;
    size_t at = sizeof seconds - 1;
    seconds[at] = '\0';
    do {
        seconds[--at] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value > 0 && at > 0);
    put("\n");
    put(testName);
    put(" did not finish within ");
    put(seconds + at);
    put(" s");
    if (const char *what = waitingFor) {
        put(", waiting for ");
        put(what);
    }
    put("\n");
    _exit(1);
}

unsigned testLimit()
{
    static const unsigned limit = [] {
        const char *text = std::getenv("ZELK_TEST_TIME_LIMIT");
        return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : 60u;
    }();
    return limit;
}

void arm(unsigned seconds)
{
    if (testLimit() == 0)
        return;
    armedSeconds = seconds;
    alarm(seconds);
}

class Watchdog : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo &test) override
    {
        std::snprintf(testName, sizeof testName, "%s.%s", test.test_suite_name(), test.name());
        waitingFor = nullptr;
        signal(SIGALRM, expired);
        arm(testLimit());
    }
    void OnTestEnd(const ::testing::TestInfo &) override { alarm(0); }
};

// Registered before main runs: every test program that links this file gets the limit.
const bool registered = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return true;
}();

}  // namespace

Waiting::Waiting(const char *what, unsigned seconds) : previous_(waitingFor)
{
    waitingFor = what;
    if (seconds != 0)
        arm(seconds);
}

Waiting::~Waiting()
{
    waitingFor = previous_;
    arm(testLimit());
}

}  // namespace zelk::test
