// Test fixture: temporary directories, records built from a few fields, and log files
// written with the real writer.  A record from makeRecord points into its RecordFields:
// keep the fields alive while the record is used, and never release it with zelkLogFreeMsg.
#ifndef TESTS_SUPPORT_LOG_FIXTURE_H_
#define TESTS_SUPPORT_LOG_FIXTURE_H_

#include "tests/support/open_descriptors.h"
#include "zelkLogRead.h"
#include "zelkLogWriter.h"

#include <ctime>
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
    const std::string &path() const { return path_; }  // with a trailing "/"
    std::string file(const std::string &name) const { return path_ + name; }

private:
    std::string path_;
};

// One open writer on a log file, closed on destruction; failures are test failures.
class LogFile {
public:
    LogFile(const std::string &path, uint64_t format, const std::string &headerText = "");  // creates
    explicit LogFile(const std::string &path);                                              // appends
    ~LogFile() { close(); }
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;
    bool ok() const { return writer_ != nullptr; }
    bool append(const std::string &text);
    bool append(const ZelkLogMsg &record);
    void close();

private:
    ZelkLogWriter *writer_ = nullptr;
};

struct RecordFields {
    uint32_t kind = ZELKLOG_MSG_APP;
    int64_t timeMs = 1000;
    uint64_t tid = 1;  // the tests' record number
    uint64_t pid = 1234, productId = 7, originatorId = 112, fileId = 0, msgId = 100;
    uint32_t severity = ZELKLOG_SEV_INFO;                 // kind 2
    std::string who, subject, contextToken, contextText;  // "": none
};

// Record number `tid` (its thread id) of `kind`, one second after the one before it.
inline RecordFields numbered(uint64_t tid, uint32_t kind = ZELKLOG_MSG_APP)
{
    RecordFields fields;
    fields.tid = tid;
    fields.kind = kind;
    fields.timeMs = 1700000000000 + static_cast<int64_t>(tid) * 1000;
    return fields;
}

ZelkLogMsg makeRecord(const RecordFields &fields);
ZelkLogMsg makeRecord(uint32_t kind, int64_t timeMs, uint64_t tid = 1);                   // no texts
std::string serialize(const ZelkLogMsg &record, uint64_t format = ZELKLOG_FORMAT_10006);  // "": refused

// Writes `path` with one record per text; returns `path` ("" on failure).
std::string writeTexts(const std::string &path, const std::vector<std::string> &texts,
                       uint64_t format = ZELKLOG_FORMAT_10006, const std::string &headerText = "");
// Writes `path` with the records and sets its modification time, which orders the file
// list (oldest first).
void writeLogFile(const std::string &path, const std::vector<RecordFields> &records, time_t mtime,
                  uint64_t format = ZELKLOG_FORMAT_10006, const std::string &headerText = "test host");
// Appends records, or one raw text, to an existing log file.
void appendRecords(const std::string &path, const std::vector<RecordFields> &records);
void appendRawRecord(const std::string &path, const std::string &text);
void setModificationTime(const std::string &path, time_t mtime);

}  // namespace zelk::test

#endif  // TESTS_SUPPORT_LOG_FIXTURE_H_
