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

void append(ZelkLogWriter *writer, const std::vector<RecordSpec> &records)
{
    for (const RecordSpec &spec : records) {
        ZelkLogMsg record = makeRecord(spec);
        EXPECT_EQ(zelkLogWriterAppendMsg(writer, &record), 0u) << "record " << spec.tid;
    }
    EXPECT_EQ(zelkLogWriterClose(writer), 0u);
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
    if (spec.kind == ZELKLOG_MSG_CTX) {
        record.kindData.first.contextText = textOrNull(spec.contextText);
    } else if (spec.kind == ZELKLOG_MSG_AUDIT) {
        record.kindData.second.subject = textOrNull(spec.subject);
    } else {
        record.kindData.first.severity = spec.kind == ZELKLOG_MSG_APP ? spec.severity : 0;
        record.kindData.second.who = textOrNull(spec.who);
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
    append(writer, records);
    setModificationTime(path, mtime);
}

void appendRecords(const std::string &path, const std::vector<RecordSpec> &records)
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

int openDescriptors()
{
    int count = 0;
    if (DIR *directory = opendir("/proc/self/fd")) {
        while (struct dirent *entry = readdir(directory))
            count += entry->d_name[0] != '.' ? 1 : 0;
        closedir(directory);
    }
    return count - 1;  // the directory's own descriptor
}

}  // namespace zelk::test
