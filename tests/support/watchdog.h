// A time limit on every test case of a test program, so that a test blocked on a lock
// or a pipe that is never released fails within seconds and says which test it was and
// what it was waiting for, instead of hanging until the suite's own timeout.
//
// Every test case gets ZELK_TEST_TIME_LIMIT seconds (default 60; 0 turns the limit off,
// for runs under valgrind).  When the limit passes, the program writes
//     <test> did not finish within N s[, waiting for <what>]
// to standard error and exits with code 1.
#ifndef ZELK_TEST_WATCHDOG_H
#define ZELK_TEST_WATCHDOG_H

namespace zelk::test {

// Names what the enclosed steps may wait for, and gives them `seconds` (when not 0) in
// place of the test's own limit; the test's limit is armed again on leaving the scope.
class Waiting {
public:
    explicit Waiting(const char *what, unsigned seconds = 0);
    ~Waiting();
    Waiting(const Waiting &) = delete;
    Waiting &operator=(const Waiting &) = delete;

private:
    const char *previous_;
};

}  // namespace zelk::test

#endif
