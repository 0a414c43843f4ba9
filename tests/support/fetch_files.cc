#include "fetch_files.h"

#include "zelkLogWriter.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>

namespace zelk::test {

namespace {

char *textOrNull(const std::string &text)
{
    return text.empty() ? nullptr : const_cast<char *>(text.c_str());
}

}  // namespace

ZelkLogMsg makeRecord(const RecordSpec &spec)
{
    ZelkLogMsg record;
    std::memset(&record, 0, sizeof record);
    record.kind = spec.kind;
    record.timeMs = spec.timeMs;
    record.tid = spec.tid;
    record.pid = spec.pid;
    record.productId = spec.productId;
    record.originatorId = spec.originatorId;
    record.fileId = spec.fileId;
    record.args.msgId = spec.msgId;
    record.contextToken = textOrNull(spec.contextToken);
    switch (spec.kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
        record.kindData.first.level = spec.level;
        record.kindData.second.who = textOrNull(spec.who);
        break;
    case ZELKLOG_MSG_APP:
        record.kindData.first.severity = spec.severity;
        record.kindData.second.who = textOrNull(spec.who);
        break;
    case ZELKLOG_MSG_CTX:
        record.kindData.first.contextText = textOrNull(spec.contextText);
        break;
    default:
        record.kindData.second.subject = textOrNull(spec.subject);
        record.kindData.returnValue = spec.returnValue;
        break;
    }
    return record;
}

std::string serialize(const RecordSpec &spec, uint64_t format)
{
    ZelkLogMsg record = makeRecord(spec);
    char text[ZELKLOG_MAX_RECORD_TEXT + 1];
    size_t length = 0;
    EXPECT_EQ(zelkLogSerializeMsg(&record, format, text, sizeof text, &length), 0u);
    return std::string(text, length);
}

void writeLogFile(const std::string &path, const std::vector<RecordSpec> &records, time_t mtime,
                  uint64_t format, const std::string &headerText)
{
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterCreate(path.c_str(), format, headerText.c_str(), 0644, &writer), 0u) << path;
    for (const RecordSpec &spec : records) {
        ZelkLogMsg record = makeRecord(spec);
        EXPECT_EQ(zelkLogWriterAppendMsg(writer, &record), 0u) << path;
    }
    EXPECT_EQ(zelkLogWriterClose(writer), 0u);
    setModificationTime(path, mtime);
}

void setModificationTime(const std::string &path, time_t mtime)
{
    struct timespec times[2] = {{mtime, 0}, {mtime, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

void appendRawRecord(const std::string &path, const std::string &text)
{
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterOpen(path.c_str(), &writer), 0u) << path;
    EXPECT_EQ(zelkLogWriterAppend(writer, text.data(), text.size()), 0u);
    EXPECT_EQ(zelkLogWriterClose(writer), 0u);
}

void appendRecords(const std::string &path, const std::vector<RecordSpec> &records)
{
    ZelkLogWriter *writer = nullptr;
    ASSERT_EQ(zelkLogWriterOpen(path.c_str(), &writer), 0u) << path;
    for (const RecordSpec &spec : records) {
        ZelkLogMsg record = makeRecord(spec);
        EXPECT_EQ(zelkLogWriterAppendMsg(writer, &record), 0u) << path;
    }
    EXPECT_EQ(zelkLogWriterClose(writer), 0u);
}

long fileSize(const std::string &path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? static_cast<long>(info.st_size) : -1;
}

int openDescriptors()
{
    DIR *directory = opendir("/proc/self/fd");
    if (directory == nullptr)
        return -1;
    int count = 0;
    while (struct dirent *entry = readdir(directory)) {
        if (entry->d_name[0] != '.')
            ++count;
    }
    closedir(directory);
    return count - 1;  // the directory's own descriptor
}

}  // namespace zelk::test
