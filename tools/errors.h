// Errors of the zelklog tool: the exit codes, the words for the library's result codes,
// and the exception that carries a message up to main.
#ifndef ZELKLOG_TOOL_ERRORS_H
#define ZELKLOG_TOOL_ERRORS_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zelktool {

enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

// Thrown to end a subcommand with a message on standard error and an exit code.
class ToolError : public std::runtime_error {
public:
    ToolError(int exitCode, const std::string &message) : std::runtime_error(message), exitCode_(exitCode) {}
    int exitCode() const { return exitCode_; }

private:
    int exitCode_;
};

// What a result code of the library or the logging core means, in words.
const char *codeMeaning(uint32_t code);

// "code 11 (a word that is not a keyword)"
std::string describeCode(uint32_t code);

// A library failure: "<what>: code N (meaning)<detail>", exit code 1.
[[noreturn]] void failWithCode(const std::string &what, uint32_t code, const std::string &detail = {});

// Usage error, exit code 2.
[[noreturn]] void failUsage(const std::string &message);

// Where a filter that the library refused with `code` goes wrong, as " at '<token>'", or
// empty when the position cannot be known.  Uses the library's own scanner.
std::string filterErrorPosition(const std::string &filter, uint32_t code);

// The configuration file the logging core reads (ZELKLOG_CONFIG or the default).
std::string configFileName();

}  // namespace zelktool

#endif
