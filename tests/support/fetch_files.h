// Helpers for the fetching tests: message records built from a few fields, log files
// written through the logging core's writer, and the process's open descriptors.
//
//   zelk::test::RecordSpec spec;          // kind 2, pid 1234, product 7, originator 112
//   spec.tid = 3; spec.timeMs = 5000;
//   zelk::test::writeLogFile(dir + "a.log", {zelk::test::makeRecord(spec)}, 100);
//
// Texts of a record built here point into its RecordSpec: keep the spec alive while the
// record is used, and never release such a record with zelkLogFreeMsg.
#ifndef ZELK_TEST_FETCH_FILES_H
#define ZELK_TEST_FETCH_FILES_H

#include "zelkLogRead.h"

#include <ctime>
#include <string>
#include <vector>

namespace zelk::test {

struct RecordSpec {
    uint32_t kind = ZELKLOG_MSG_APP;
    int64_t timeMs = 1000;
    uint64_t tid = 1;                 // the tests' record number
    uint64_t pid = 1234;
    uint64_t productId = 7;
    uint64_t originatorId = 112;
    uint64_t fileId = 0;
    uint64_t msgId = 100;
    int32_t level = 0;                // kinds 0, 1
    uint32_t severity = ZELKLOG_SEV_INFO;  // kind 2
    std::string who;                  // kinds 0, 1, 2 ("" = none)
    std::string subject;              // kind 4
    int32_t returnValue = 0;          // kind 4
    std::string contextToken;         // "" = none
    std::string contextText;          // kind 3
};

// A record with the spec's fields; its texts point into `spec`.
ZelkLogMsg makeRecord(const RecordSpec &spec);

// Writes the log file `path` in `format` with the records, closes the writer (unless
// `keepWriter` receives it) and sets the file's modification time to `mtime` seconds, so
// that the file-list builder orders files deterministically (oldest first).
void writeLogFile(const std::string &path, const std::vector<RecordSpec> &records, time_t mtime,
                  uint64_t format = ZELKLOG_FORMAT_10006, const std::string &headerText = "test host");

// Appends one raw text (serialized or not) to an existing log file.
void appendRawRecord(const std::string &path, const std::string &text);

// Appends records to an existing log file.
void appendRecords(const std::string &path, const std::vector<RecordSpec> &records);

// The serialized text of a record in a format.
std::string serialize(const RecordSpec &spec, uint64_t format = ZELKLOG_FORMAT_10006);

// Sets a file's modification time (seconds), which orders the file lists.
void setModificationTime(const std::string &path, time_t mtime);

// Size of a file in bytes (-1 when it cannot be read).
long fileSize(const std::string &path);

// Number of descriptors the process has open.
int openDescriptors();

}  // namespace zelk::test

#endif
