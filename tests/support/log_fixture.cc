// Test fixture: records built from a few fields and log files written with the real writer.
#include "tests/support/log_fixture.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace zelk::test {

TempDir::TempDir()
{
    const char *base = std::getenv("TMPDIR");
    std::string pattern =
        std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/zelklog-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        ADD_FAILURE() << "mkdtemp failed for " << pattern;
        return;
    }
    path_ = pattern + "/";
}

TempDir::~TempDir()
{
    if (!path_.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
}

// Every writer call reports a failure as a test failure and through its result.
static bool check(uint32_t code, const char *what)
{
    EXPECT_EQ(code, 0u) << what;
    return code == 0;
}

LogFile::LogFile(const std::string &path, uint64_t format, const std::string &headerText)
{
    check(zelkLogWriterCreate(path.c_str(), format, headerText.c_str(), 0660, &writer_), path.c_str());
}

LogFile::LogFile(const std::string &path)
{
    check(zelkLogWriterOpen(path.c_str(), &writer_), path.c_str());
}

bool LogFile::append(const std::string &text)
{
    return check(zelkLogWriterAppend(writer_, text.data(), text.size()), "append");
}

bool LogFile::append(const ZelkLogMsg &record)
{
    return check(zelkLogWriterAppendMsg(writer_, &record), "append");
}

void LogFile::close()
{
    if (writer_ != nullptr)
        check(zelkLogWriterClose(writer_), "close");
    writer_ = nullptr;
}

static char *textOrNull(const std::string &text)
{
    return text.empty() ? nullptr : const_cast<char *>(text.c_str());
}

ZelkLogMsg makeRecord(const RecordFields &fields)
{
    ZelkLogMsg record;
    std::memset(&record, 0, sizeof record);
    record.kind = fields.kind;
    record.timeMs = fields.timeMs;
    record.tid = fields.tid;
    record.pid = fields.pid;
    record.productId = fields.productId;
    record.originatorId = fields.originatorId;
    record.fileId = fields.fileId;
    record.args.msgId = fields.msgId;
    record.contextToken = textOrNull(fields.contextToken);
    if (fields.kind == ZELKLOG_MSG_CTX) {
        record.kindData.first.contextText = textOrNull(fields.contextText);
    } else if (fields.kind == ZELKLOG_MSG_AUDIT) {
        record.kindData.second.subject = textOrNull(fields.subject);
    } else {
        record.kindData.first.severity = fields.kind == ZELKLOG_MSG_APP ? fields.severity : 0;
        record.kindData.second.who = textOrNull(fields.who);
    }
    return record;
}

ZelkLogMsg makeRecord(uint32_t kind, int64_t timeMs, uint64_t tid)
{
    RecordFields fields;
    fields.kind = kind;
    fields.timeMs = timeMs;
    fields.tid = tid;
    return makeRecord(fields);
}

std::string serialize(const ZelkLogMsg &record, uint64_t format)
{
    char text[ZELKLOG_MAX_RECORD_TEXT + 1];
    size_t length = 0;
    if (zelkLogSerializeMsg(&record, format, text, sizeof text, &length) != 0)
        return "";
    return std::string(text, length);
}

std::string writeTexts(const std::string &path, const std::vector<std::string> &texts, uint64_t format,
                       const std::string &headerText)
{
    LogFile file(path, format, headerText);
    for (const std::string &text : texts)
        if (!file.ok() || !file.append(text))
            return "";
    return file.ok() ? path : "";
}

void writeLogFile(const std::string &path, const std::vector<RecordFields> &records, time_t mtime,
                  uint64_t format, const std::string &headerText)
{
    LogFile(path, format, headerText).close();
    appendRecords(path, records);
    setModificationTime(path, mtime);
}

void appendRecords(const std::string &path, const std::vector<RecordFields> &records)
{
    LogFile file(path);
    for (const RecordFields &fields : records)
        file.append(makeRecord(fields));
}

void appendRawRecord(const std::string &path, const std::string &text)
{
    LogFile(path).append(text);
}

void setModificationTime(const std::string &path, time_t mtime)
{
    struct timespec times[2] = {{mtime, 0}, {mtime, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

}  // namespace zelk::test
