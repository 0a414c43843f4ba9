// zelklog write FILE: JSON lines of the shape `zelklog query -o json` prints, appended as
// records through the writer of the logging core.
#include "tools/commands.h"

#include "tools/errors.h"
#include "tools/record_writers.h"
#include "zelkLogWriter.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <deque>
#include <fstream>
#include <iostream>
#include <limits>
#include <sys/stat.h>
#include <vector>

namespace zelktool {

namespace {

using nlohmann::json;

struct LineError {
    std::string message;
};

// Storage of one record's texts and arguments while it is written.
struct RecordStore {
    std::deque<std::string> texts;
    std::deque<std::wstring> wideTexts;
    std::deque<ZelkLogMsgArg> args;
    std::deque<std::vector<ZelkLogMsgArg *>> argArrays;
    std::deque<ZelkLogMsgArgList> lists;

    char *text(const std::string &value)
    {
        texts.push_back(value);
        return texts.back().data();
    }
};

std::wstring utf8ToWide(const std::string &text)
{
    std::wstring wide;
    for (size_t i = 0; i < text.size();) {
        unsigned char lead = static_cast<unsigned char>(text[i]);
        uint32_t code;
        size_t length;
        if (lead < 0x80) {
            code = lead;
            length = 1;
        } else if ((lead & 0xE0) == 0xC0) {
            code = lead & 0x1F;
            length = 2;
        } else if ((lead & 0xF0) == 0xE0) {
            code = lead & 0x0F;
            length = 3;
        } else {
            code = lead & 0x07;
            length = 4;
        }
        if (i + length > text.size())
            throw LineError{"a wide string that is not UTF-8"};
        for (size_t k = 1; k < length; ++k)
            code = (code << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        wide.push_back(static_cast<wchar_t>(code));
        i += length;
    }
    return wide;
}

const json &member(const json &object, const char *key)
{
    auto found = object.find(key);
    if (found == object.end())
        throw LineError{std::string("\"") + key + "\" is missing"};
    return *found;
}

template <typename T> T number(const json &object, const char *key, T fallback)
{
    auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return fallback;
    if (!found->is_number_integer())
        throw LineError{std::string("\"") + key + "\" is not a whole number"};
    if (std::is_unsigned_v<T> && found->is_number_unsigned() == false && found->get<int64_t>() < 0)
        throw LineError{std::string("\"") + key + "\" is negative"};
    return found->get<T>();
}

char *optionalText(RecordStore &store, const json &object, const char *key)
{
    auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return nullptr;
    if (!found->is_string())
        throw LineError{std::string("\"") + key + "\" is not a string"};
    return store.text(found->get<std::string>());
}

uint32_t wordOrNumber(const json &value, const char *key, const char *const *words, uint32_t count)
{
    if (value.is_number_unsigned())
        return value.get<uint32_t>();
    if (value.is_string()) {
        std::string word = value.get<std::string>();
        for (uint32_t i = 0; i < count; ++i) {
            if (word == words[i])
                return i;
        }
    }
    throw LineError{std::string("\"") + key + "\" is not one of the known words"};
}

double doubleOf(const json &value)
{
    if (value.is_number())
        return value.get<double>();
    if (value.is_string()) {
        std::string text = value.get<std::string>();
        if (text == "NaN")
            return std::numeric_limits<double>::quiet_NaN();
        if (text == "Infinity")
            return std::numeric_limits<double>::infinity();
        if (text == "-Infinity")
            return -std::numeric_limits<double>::infinity();
    }
    throw LineError{"a double argument that is not a number"};
}

void fillList(RecordStore &store, const json &array, ZelkLogMsgArgList &list, int depth);

ZelkLogMsgArg *makeArg(RecordStore &store, const json &item, int depth)
{
    if (!item.is_object())
        throw LineError{"an argument that is not an object"};
    std::string type = member(item, "type").get<std::string>();
    const json &value = member(item, "value");
    ZelkLogMsgArg &arg = store.args.emplace_back();
    std::memset(&arg, 0, sizeof arg);
    if (type == "wchar") {
        std::wstring wide = utf8ToWide(value.get<std::string>());
        if (wide.size() != 1)
            throw LineError{"a wchar argument that is not one character"};
        arg.type = ZELKLOG_ARG_WCHAR;
        arg.value.wideChar = wide[0];
    } else if (type == "int" || type == "dint") {
        arg.type = type == "int" ? ZELKLOG_ARG_INT : ZELKLOG_ARG_DINT;
        arg.value.sizedInt.size = number<uint16_t>(item, "size", 8);
        arg.value.sizedInt.value = value.get<int64_t>();
    } else if (type == "uint") {
        arg.type = ZELKLOG_ARG_UINT;
        arg.value.sizedUInt.size = number<uint16_t>(item, "size", 8);
        arg.value.sizedUInt.value = value.get<uint64_t>();
    } else if (type == "double") {
        arg.type = ZELKLOG_ARG_DOUBLE;
        arg.value.real = doubleOf(value);
    } else if (type == "uint64") {
        arg.type = ZELKLOG_ARG_UINT64;
        arg.value.uint64 = value.get<uint64_t>();
    } else if (type == "int64") {
        arg.type = ZELKLOG_ARG_INT64;
        arg.value.int64 = value.get<int64_t>();
    } else if (type == "wstring") {
        arg.type = ZELKLOG_ARG_WSTRING;
        arg.ownsValue = 1;
        store.wideTexts.push_back(utf8ToWide(value.get<std::string>()));
        arg.value.wideString = store.wideTexts.back().data();
    } else if (type == "string" || type == "xstring") {
        arg.type = type == "string" ? ZELKLOG_ARG_STRING : ZELKLOG_ARG_XSTRING;
        arg.ownsValue = 1;
        arg.value.string = store.text(value.get<std::string>());
    } else if (type == "list") {
        if (depth >= 32)
            throw LineError{"argument lists nested more than 32 levels deep"};
        arg.type = ZELKLOG_ARG_LIST;
        arg.ownsValue = 1;
        ZelkLogMsgArgList &list = store.lists.emplace_back();
        std::memset(&list, 0, sizeof list);
        list.msgId = number<uint64_t>(item, "msg_id", 0);
        fillList(store, value, list, depth + 1);
        arg.value.list = &list;
    } else {
        throw LineError{"an argument of the unknown type \"" + type + "\""};
    }
    return &arg;
}

void fillList(RecordStore &store, const json &array, ZelkLogMsgArgList &list, int depth)
{
    if (!array.is_array())
        throw LineError{"\"args\" is not an array"};
    if (array.empty())
        return;
    std::vector<ZelkLogMsgArg *> &pointers = store.argArrays.emplace_back();
    for (const json &item : array)
        pointers.push_back(makeArg(store, item, depth));
    uint64_t count = pointers.size();
    pointers.push_back(nullptr);
    list.args = pointers.data();
    list.listInfo = count | (count << 32);
}

void buildRecord(const json &object, RecordStore &store, ZelkLogMsg &record)
{
    static const char *const kinds[] = {"DEBUG", "DIAG", "APP", "CONTEXT", "AUDIT"};
    static const char *const severities[] = {"INFO", "WARNING", "ERR", "CRIT", "EMERG"};
    if (!object.is_object())
        throw LineError{"not a JSON object"};
    std::memset(&record, 0, sizeof record);
    record.kind = wordOrNumber(member(object, "kind"), "kind", kinds, 5);
    record.timeMs = number<int64_t>(object, "time_ms", 0);
    if (record.timeMs == 0)
        throw LineError{"\"time_ms\" is missing or 0"};
    record.productId = number<uint64_t>(object, "product_id", 0);
    record.originatorId = number<uint64_t>(object, "originator_id", 0);
    record.fileId = number<uint64_t>(object, "file_id", 0);
    record.pid = number<uint64_t>(object, "pid", 0);
    record.tid = number<uint64_t>(object, "tid", 0);
    record.auxNumber = number<uint64_t>(object, "aux_number", 0);
    record.auxText = optionalText(store, object, "aux_text");
    record.contextToken = optionalText(store, object, "context_token");
    switch (record.kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
        record.kindData.first.level = number<int32_t>(object, "level", 0);
        record.kindData.second.who = optionalText(store, object, "who");
        break;
    case ZELKLOG_MSG_APP:
        record.kindData.first.severity =
            object.contains("severity") ? wordOrNumber(object["severity"], "severity", severities, 5) : 0;
        record.kindData.second.who = optionalText(store, object, "who");
        break;
    case ZELKLOG_MSG_CTX:
        record.kindData.first.contextText = optionalText(store, object, "context_text");
        break;
    case ZELKLOG_MSG_AUDIT:
        record.kindData.second.subject = optionalText(store, object, "subject");
        record.kindData.returnValue = number<int32_t>(object, "return_value", 0);
        break;
    default:
        throw LineError{"\"kind\" is not a message kind"};
    }
    record.args.msgId = number<uint64_t>(object, "msg_id", 0);
    if (object.contains("args") && !object["args"].is_null())
        fillList(store, object["args"], record.args, 1);
}

uint64_t formatOf(const std::string &text)
{
    char *end = nullptr;
    errno = 0;
    unsigned long long value = std::strtoull(text.c_str(), &end, 0);
    if (errno != 0 || end == text.c_str() || *end != '\0' || value < ZELKLOG_FORMAT_10004 ||
        value > ZELKLOG_FORMAT_10008)
        failUsage("--format: '" + text + "' is not a format code 0x10004 to 0x10008");
    return value;
}

}  // namespace

int runWrite(const WriteOptions &options)
{
    std::ifstream file;
    std::istream *in = &std::cin;
    if (options.input != "-") {
        file.open(options.input);
        if (!file)
            throw ToolError(kExitFailure, options.input + ": " + std::strerror(errno));
        in = &file;
    }
    uint64_t format = options.format.empty() ? 0 : formatOf(options.format);
    struct stat info {};
    bool exists = stat(options.file.c_str(), &info) == 0;
    if (options.create && exists)
        failWithCode("write " + options.file, ZELKLOG_RC_LOGFILE_EXISTS);

    ZelkLogWriter *writer = nullptr;
    struct Closer {
        ZelkLogWriter *&writer;
        ~Closer() { zelkLogWriterClose(writer); }
    } closer{writer};
    auto open = [&](uint64_t recordFormat) {
        uint32_t rc;
        if (exists) {
            rc = zelkLogWriterOpen(options.file.c_str(), &writer);
        } else {
            uint64_t chosen = format != 0 ? format : recordFormat != 0 ? recordFormat : ZELKLOG_FORMAT_10006;
            rc =
                zelkLogWriterCreate(options.file.c_str(), chosen,
                                    options.header.empty() ? nullptr : options.header.c_str(), 0644, &writer);
        }
        if (rc != 0)
            failWithCode("write " + options.file, rc,
                         rc == 1 ? std::string(": ") + std::strerror(errno) : "");
    };
    if (options.create)
        open(0);

    std::string line;
    uint64_t lineNumber = 0;
    uint64_t written = 0;
    while (std::getline(*in, line)) {
        ++lineNumber;
        if (line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        try {
            json object;
            try {
                object = json::parse(line);
            } catch (const json::exception &error) {
                throw LineError{std::string("not JSON: ") + error.what()};
            }
            RecordStore store;
            ZelkLogMsg record;
            try {
                buildRecord(object, store, record);
            } catch (const json::exception &error) {
                throw LineError{error.what()};
            }
            if (writer == nullptr) {
                uint64_t recordFormat = 0;
                if (object.contains("format") && object["format"].is_string())
                    recordFormat = std::strtoull(object["format"].get<std::string>().c_str(), nullptr, 0);
                if (recordFormat < ZELKLOG_FORMAT_10004 || recordFormat > ZELKLOG_FORMAT_10008)
                    recordFormat = 0;
                open(recordFormat);
            }
            uint32_t rc = zelkLogWriterAppendMsg(writer, &record);
            if (rc != 0)
                throw LineError{"not appended: " + describeCode(rc)};
            ++written;
        } catch (const LineError &error) {
            std::string input = options.input == "-" ? std::string("standard input") : options.input;
            throw ToolError(kExitFailure, "write " + options.file + ": " + input + " line " +
                                              std::to_string(lineNumber) + ": " + error.message +
                                              "; nothing of it was written (" + std::to_string(written) +
                                              " records before it were)");
        }
    }
    if (writer == nullptr && !exists)
        open(0);
    return kExitOk;
}

}  // namespace zelktool
