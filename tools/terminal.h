// What the tool does differently on a terminal: the pager, colours and progress on
// standard error; and the signals that end a long run cleanly.
#ifndef ZELKLOG_TOOL_TERMINAL_H
#define ZELKLOG_TOOL_TERMINAL_H

#include <chrono>
#include <csignal>
#include <cstdint>
#include <string>

namespace zelktool {

// Set by SIGINT and SIGTERM once installStopSignals() ran.
extern volatile std::sig_atomic_t stopRequested;
void installStopSignals();

struct TerminalOptions {
    bool noPager = false;
    bool noColour = false;
};

class Terminal {
public:
    explicit Terminal(const TerminalOptions &options);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    bool colour() const { return colour_; }
    bool stdoutIsTerminal() const { return stdoutTty_; }
    // Sends standard output through the pager from now on (terminal only).
    void startPager();
    // Closes the pager's input and waits for it (call after the last flush).
    void finishPager();

private:
    bool stdoutTty_;
    bool colour_;
    bool noPager_;
    int pagerPid_ = -1;
};

// "1234 records, 3/16 files" on standard error, at most five times a second, only when
// both standard output and standard error are terminals.
class Progress {
public:
    explicit Progress(bool enabled) : enabled_(enabled), start_(std::chrono::steady_clock::now()) {}
    ~Progress() { clear(); }
    // True now and then while enabled: the caller then calls show().
    bool due() { return enabled_ && ++calls_ % 4096 == 0; }
    void show(uint64_t records, uint64_t filesDone, uint64_t filesTotal);
    void clear();
    void disable()
    {
        clear();
        enabled_ = false;
    }

private:
    bool enabled_;
    bool shown_ = false;
    uint64_t calls_ = 0;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point last_{};
};

// ANSI colours of a severity word (null: no colour).
const char *severityColour(uint32_t kind, uint32_t severity);
constexpr const char *kColourReset = "\033[0m";

}  // namespace zelktool

#endif
