// Test fixture: log files written with the real writer into temporary directories.
#ifndef ZELKLOG_TEST_LOG_FIXTURE_H
#define ZELKLOG_TEST_LOG_FIXTURE_H

#include "zelkLogRead.h"
#include "zelkLogWriter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelk::test {

// A fresh directory under $TMPDIR (or /tmp), removed with its content on destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;
    // The directory, with a trailing "/" (as log directories are written).
    const std::string &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + name; }

private:
    std::string path_;
};

// One open writer on a log file; closed (writer-active mark cleared) on destruction.
// Failures are reported as GoogleTest failures and by the results.
class LogFile {
public:
    // Creates `path` with a header of `format` and `headerText`.
    LogFile(const std::string &path, uint64_t format, const std::string &headerText = "");
    // Opens the existing file `path` for appending.
    explicit LogFile(const std::string &path);
    ~LogFile();
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;

    bool ok() const { return writer_ != nullptr; }
    bool append(const std::string &text);
    bool append(const ZelkLogMsg &record);
    void close();

private:
    ZelkLogWriter *writer_ = nullptr;
};

// Writes the log file `directory` + `fileName` (directory with a trailing "/") holding
// one record per text, or per record, in order; the writer is closed afterwards.
// Returns the full path ("" on failure).
std::string writeLogFile(const std::string &directory, const std::string &fileName, uint64_t format,
                         const std::vector<std::string> &texts, const std::string &headerText = "");
std::string writeLogFile(const std::string &directory, const std::string &fileName, uint64_t format,
                         const std::vector<ZelkLogMsg> &records, const std::string &headerText = "");

// The serialized text of a record in a format ("" when it cannot be serialized).
std::string serialize(const ZelkLogMsg &record, uint64_t format);

// A cleared record of `kind` at `timeMs`, with product 1, originator 112, file 1,
// pid 100, tid 200 and, for kinds 1 to 4, message identifier 1 and no arguments.
// String members are left null; tests may point them at their own strings (the writer
// only reads them).  Never hand such a record to zelkLogFreeMsg.
ZelkLogMsg makeRecord(uint32_t kind, int64_t timeMs);

// Sets the modification time of `path` (seconds since 1970) - for ordering tests.
bool setModifiedTime(const std::string &path, int64_t seconds);

}  // namespace zelk::test

#endif
