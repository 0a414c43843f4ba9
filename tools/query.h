// zelklog query: matching records of the configured log files (or --log-dir), in time
// order, in one of the output shapes; --follow and --cursor-file.
#ifndef ZELKLOG_TOOL_QUERY_H
#define ZELKLOG_TOOL_QUERY_H

#include "tools/terminal.h"
#include "zelkLogRead.h"

#include <cstdint>
#include <string>

namespace zelktool {

struct QueryOptions {
    std::string filter;  // empty: every record
    bool fileOrder = false;
    std::string output = "text";  // text, cat, json, raw, export
    std::string flags;            // formatted line's bits, "0xF03" style; empty: the default
    std::string locale;
    std::string logDirectory;
    std::string formatResource;
    std::string tz;
    std::string since;
    std::string until;
    std::string grep;
    bool ignoreCase = false;
    int64_t limit = -1;
    bool follow = false;
    std::string cursorFile;
    bool withMessage = false;  // -o json: add the message text
    TerminalOptions terminal;
};

int runQuery(const QueryOptions &options);

struct VerifyOptions {
    std::string logDirectory;
    TerminalOptions terminal;
};

int runVerify(const VerifyOptions &options);

// Owns a LogQuery record and destroys it.
struct QueryRecord {
    LogQuery query{};
    bool live = false;
    QueryRecord() = default;
    QueryRecord(const QueryRecord &) = delete;
    QueryRecord &operator=(const QueryRecord &) = delete;
    ~QueryRecord() { destroy(); }
    void destroy()
    {
        if (live)
            zelkLogDestroyQuery(&query);
        live = false;
    }
};

// A filter that every record matches, context records included.
extern const char *const kEveryRecord;

// Creates a query or throws ToolError naming the filter's fault (and where) or the
// configuration file.  The record is destroyed when creation fails.
void createQueryOrFail(LogQuery &query, const std::string &filter, const std::string &locale,
                       const std::string &logDirectory, const std::string &formatResource, int64_t tzOffset);

}  // namespace zelktool

#endif
