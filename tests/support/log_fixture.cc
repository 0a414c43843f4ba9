// Test fixture: log files written with the real writer into temporary directories.
#include "log_fixture.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/time.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace zelk::test {

TempDir::TempDir()
{
    const char *base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/zelklog-test-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) == nullptr) {
        ADD_FAILURE() << "mkdtemp failed for " << pattern;
        return;
    }
    path_ = std::string(buffer.data()) + "/";
}

TempDir::~TempDir()
{
    if (!path_.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
}

LogFile::LogFile(const std::string &path, uint64_t format, const std::string &headerText)
{
    uint32_t code = zelkLogWriterCreate(path.c_str(), format, headerText.c_str(), 0660, &writer_);
    if (code != 0)
        ADD_FAILURE() << "zelkLogWriterCreate(" << path << ") = " << code;
}

LogFile::LogFile(const std::string &path)
{
    uint32_t code = zelkLogWriterOpen(path.c_str(), &writer_);
    if (code != 0)
        ADD_FAILURE() << "zelkLogWriterOpen(" << path << ") = " << code;
}

LogFile::~LogFile()
{
    close();
}

bool LogFile::append(const std::string &text)
{
    uint32_t code = zelkLogWriterAppend(writer_, text.data(), text.size());
    if (code != 0)
        ADD_FAILURE() << "zelkLogWriterAppend = " << code;
    return code == 0;
}

bool LogFile::append(const ZelkLogMsg &record)
{
    uint32_t code = zelkLogWriterAppendMsg(writer_, &record);
    if (code != 0)
        ADD_FAILURE() << "zelkLogWriterAppendMsg = " << code;
    return code == 0;
}

void LogFile::close()
{
    if (writer_ != nullptr) {
        uint32_t code = zelkLogWriterClose(writer_);
        if (code != 0)
            ADD_FAILURE() << "zelkLogWriterClose = " << code;
        writer_ = nullptr;
    }
}

namespace {

template <typename Item>
std::string writeItems(const std::string &directory, const std::string &fileName, uint64_t format,
                       const std::vector<Item> &items, const std::string &headerText)
{
    std::string path = directory + fileName;
    LogFile file(path, format, headerText);
    if (!file.ok())
        return "";
    for (const Item &item : items) {
        if (!file.append(item))
            return "";
    }
    file.close();
    return path;
}

}  // namespace

std::string writeLogFile(const std::string &directory, const std::string &fileName, uint64_t format,
                         const std::vector<std::string> &texts, const std::string &headerText)
{
    return writeItems(directory, fileName, format, texts, headerText);
}

std::string writeLogFile(const std::string &directory, const std::string &fileName, uint64_t format,
                         const std::vector<ZelkLogMsg> &records, const std::string &headerText)
{
    return writeItems(directory, fileName, format, records, headerText);
}

std::string serialize(const ZelkLogMsg &record, uint64_t format)
{
    char text[ZELKLOG_MAX_RECORD_TEXT + 1];
    size_t length = 0;
    if (zelkLogSerializeMsg(&record, format, text, sizeof text, &length) != 0)
        return "";
    return std::string(text, length);
}

ZelkLogMsg makeRecord(uint32_t kind, int64_t timeMs)
{
    ZelkLogMsg record;
    std::memset(&record, 0, sizeof record);
    record.kind = kind;
    record.timeMs = timeMs;
    record.productId = 1;
    record.originatorId = 112;
    record.fileId = 1;
    record.pid = 100;
    record.tid = 200;
    if (kind != ZELKLOG_MSG_DEBUG)
        record.args.msgId = 1;
    return record;
}

bool setModifiedTime(const std::string &path, int64_t seconds)
{
    struct timeval times[2];
    times[0].tv_sec = time_t(seconds);
    times[0].tv_usec = 0;
    times[1] = times[0];
    return utimes(path.c_str(), times) == 0;
}

}  // namespace zelk::test
