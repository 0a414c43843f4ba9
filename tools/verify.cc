// zelklog verify: the corrupt-record report of the library over the log files, with a
// summary line and an exit code that says whether corrupt records were found.
#include "tools/errors.h"
#include "tools/output.h"
#include "tools/query.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace zelktool {

int runVerify(const VerifyOptions &options)
{
    QueryRecord current;
    createQueryOrFail(current.query, kEveryRecord, {}, options.logDirectory, {}, ZELKLOG_NO_TZ_ADJUST);
    current.live = true;
    uint64_t files = 0;
    for (const LogFileEntry *entry = current.query.currentFile; entry != nullptr; entry = entry->next)
        ++files;

    // The report goes to standard output; it is caught in a temporary file so that its
    // count decides the exit code.
    std::fflush(stdout);
    FILE *report = std::tmpfile();
    if (report == nullptr)
        throw ToolError(kExitFailure, std::string("verify: no temporary file: ") + std::strerror(errno));
    int savedStdout = dup(STDOUT_FILENO);
    dup2(fileno(report), STDOUT_FILENO);
    uint32_t rc = zelkLogShowCorruptLogRecords(&current.query);
    std::fflush(stdout);
    dup2(savedStdout, STDOUT_FILENO);
    close(savedStdout);
    if (rc != 0) {
        std::fclose(report);
        failWithCode("verify", rc);
    }
    std::string text;
    std::rewind(report);
    char chunk[65536];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, report)) > 0)
        text.append(chunk, got);
    std::fclose(report);

    // The report ends with "No corrupt records found." or "<n> corrupt records found.".
    unsigned long corrupt = 0;
    size_t found = text.rfind(" corrupt records found.");
    if (found != std::string::npos) {
        size_t start = found == 0 ? std::string::npos : text.find_last_of('\n', found - 1);
        start = start == std::string::npos ? 0 : start + 1;
        corrupt = std::strtoul(text.c_str() + start, nullptr, 10);
    }
    Terminal terminal(options.terminal);
    terminal.startPager();
    Output out;
    out.write(text);
    std::string summary = std::to_string(files) + (files == 1 ? " log file, " : " log files, ") +
                          std::to_string(corrupt) +
                          (corrupt == 1 ? " corrupt record\n" : " corrupt records\n");
    out.write(summary);
    out.flush();
    return corrupt > 0 ? kExitFailure : kExitOk;
}

}  // namespace zelktool
