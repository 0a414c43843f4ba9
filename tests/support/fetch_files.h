// Helpers for the fetching tests: records built from a few fields, log files written
// through the logging core's writer, and the process's open descriptors.
//
//   zelk::test::RecordFields fields;  // kind 2, pid 1234, product 7, originator 112
//   fields.tid = 3;
//   zelk::test::writeLogFile(dir + "a.log", {fields}, 100);  // modification time 100 s
//
// A record from makeRecord points into its RecordFields: keep the fields alive while the
// record is used, and never release such a record with zelkLogFreeMsg.
#ifndef ZELK_TEST_FETCH_FILES_H
#define ZELK_TEST_FETCH_FILES_H

#include "open_descriptors.h"
#include "zelkLogRead.h"

#include <ctime>
#include <string>
#include <vector>

namespace zelk::test {

struct RecordFields {
    uint32_t kind = ZELKLOG_MSG_APP;
    int64_t timeMs = 1000;
    uint64_t tid = 1;  // the tests' record number
    uint64_t pid = 1234, productId = 7, originatorId = 112, fileId = 0, msgId = 100;
    uint32_t severity = ZELKLOG_SEV_INFO;  // kind 2
    std::string who, subject, contextToken, contextText;  // "": none
};

ZelkLogMsg makeRecord(const RecordFields &fields);
std::string serialize(const RecordFields &fields, uint64_t format = ZELKLOG_FORMAT_10006);

// Writes the log file `path` with the records and sets its modification time, which
// orders the file list (oldest first).
void writeLogFile(const std::string &path, const std::vector<RecordFields> &records, time_t mtime,
                  uint64_t format = ZELKLOG_FORMAT_10006, const std::string &headerText = "test host");
// Appends records, or one raw text, to an existing log file.
void appendRecords(const std::string &path, const std::vector<RecordFields> &records);
void appendRawRecord(const std::string &path, const std::string &text);

void setModificationTime(const std::string &path, time_t mtime);
long fileSize(const std::string &path);

}  // namespace zelk::test

#endif
