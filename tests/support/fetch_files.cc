#include "fetch_files.h"

#include "zelkLogWriter.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>

namespace zelk::test {

namespace {

char *textOrNull(const std::string &text)
{
    return text.empty() ? nullptr : const_cast<char *>(text.c_str());
}

void append(ZelkLogWriter *writer, const std::vector<RecordFields> &records)
{
    for (const RecordFields &fields : records) {
        ZelkLogMsg record = makeRecord(fields);
        EXPECT_EQ(zelkLogWriterAppendMsg(writer, &record), 0u) << "record " << fields.tid;
    }
    EXPECT_EQ(zelkLogWriterClose(writer), 0u);
}

}  // namespace

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

std::string serialize(const RecordFields &fields, uint64_t format)
{
    ZelkLogMsg record = makeRecord(fields);
    char text[ZELKLOG_MAX_RECORD_TEXT + 1];
    size_t length = 0;
    EXPECT_EQ(zelkLogSerializeMsg(&record, format, text, sizeof text, &length), 0u);
    return std::string(text, length);
}

void writeLogFile(const std::string &path, const std::vector<RecordFields> &records, time_t mtime,
                  uint64_t format, const std::string &headerText)
{
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterCreate(path.c_str(), format, headerText.c_str(), 0644, &writer), 0u) << path;
    append(writer, records);
    setModificationTime(path, mtime);
}

void appendRecords(const std::string &path, const std::vector<RecordFields> &records)
{
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterOpen(path.c_str(), &writer), 0u) << path;
    append(writer, records);
}

void appendRawRecord(const std::string &path, const std::string &text)
{
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterOpen(path.c_str(), &writer), 0u) << path;
    EXPECT_EQ(zelkLogWriterAppend(writer, text.data(), text.size()), 0u);
    append(writer, {});
}

void setModificationTime(const std::string &path, time_t mtime)
{
    struct timespec times[2] = {{mtime, 0}, {mtime, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

long fileSize(const std::string &path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? static_cast<long>(info.st_size) : -1;
}

}  // namespace zelk::test
