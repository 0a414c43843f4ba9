#include "tools/record_writers.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace zelktool {

namespace {

const char kHex[] = "0123456789abcdef";

void appendUnsigned(std::string &out, uint64_t value)
{
    char digits[24];
    out.append(digits,
               static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, value).ptr - digits));
}

void appendSigned(std::string &out, int64_t value)
{
    char digits[24];
    out.append(digits,
               static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, value).ptr - digits));
}

// Length of the valid UTF-8 sequence at text[i], or 0.
size_t utf8Length(std::string_view text, size_t i)
{
    unsigned char lead = static_cast<unsigned char>(text[i]);
    size_t length;
    uint32_t minimum;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        minimum = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        minimum = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        minimum = 0x10000;
    } else {
        return 0;
    }
    if (i + length > text.size())
        return 0;
    uint32_t code = lead & (0x3F >> (length - 1));
    for (size_t k = 1; k < length; ++k) {
        unsigned char c = static_cast<unsigned char>(text[i + k]);
        if ((c & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (c & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return 0;
    return length;
}

void appendUtf8(std::string &out, uint32_t code)
{
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (code >> 18)));
        out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

std::string wideToUtf8(const wchar_t *text)
{
    std::string utf8;
    for (; text != nullptr && *text != L'\0'; ++text) {
        uint32_t code = static_cast<uint32_t>(*text);
        appendUtf8(utf8, code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF) ? 0xFFFD : code);
    }
    return utf8;
}

void appendKey(std::string &out, const char *key)
{
    out.push_back(',');
    out.push_back('"');
    out.append(key);
    out.append("\":");
}

void appendStringField(std::string &out, const char *key, const char *value)
{
    appendKey(out, key);
    if (value == nullptr)
        out.append("null");
    else
        appendJsonString(out, value);
}

void appendDouble(std::string &out, double value)
{
    if (std::isnan(value)) {
        out.append("\"NaN\"");
    } else if (std::isinf(value)) {
        out.append(value > 0 ? "\"Infinity\"" : "\"-Infinity\"");
    } else {
        char digits[32];
        auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        std::string_view text(digits, static_cast<size_t>(end - digits));
        out.append(text);
        // Keep it a JSON number that reads back as a double, not an integer.
        if (text.find_first_of(".eE") == std::string_view::npos)
            out.append(".0");
    }
}

void appendArgs(std::string &out, const ZelkLogMsgArgList &list, int depth);

void appendArg(std::string &out, const ZelkLogMsgArg &arg, int depth)
{
    const ZelkLogMsgArgValue &v = arg.value;
    out.append("{\"type\":\"");
    switch (arg.type) {
    case ZELKLOG_ARG_WCHAR: {
        out.append("wchar\",\"value\":");
        wchar_t text[2] = {v.wideChar, L'\0'};
        appendJsonString(out, wideToUtf8(text));
        break;
    }
    case ZELKLOG_ARG_INT:
    case ZELKLOG_ARG_DINT:
        out.append(arg.type == ZELKLOG_ARG_INT ? "int\",\"size\":" : "dint\",\"size\":");
        appendUnsigned(out, v.sizedInt.size);
        out.append(",\"value\":");
        appendSigned(out, v.sizedInt.value);
        break;
    case ZELKLOG_ARG_UINT:
        out.append("uint\",\"size\":");
        appendUnsigned(out, v.sizedUInt.size);
        out.append(",\"value\":");
        appendUnsigned(out, v.sizedUInt.value);
        break;
    case ZELKLOG_ARG_DOUBLE:
        out.append("double\",\"value\":");
        appendDouble(out, v.real);
        break;
    case ZELKLOG_ARG_UINT64:
        out.append("uint64\",\"value\":");
        appendUnsigned(out, v.uint64);
        break;
    case ZELKLOG_ARG_INT64:
        out.append("int64\",\"value\":");
        appendSigned(out, v.int64);
        break;
    case ZELKLOG_ARG_WSTRING:
        out.append("wstring\",\"value\":");
        appendJsonString(out, wideToUtf8(v.wideString));
        break;
    case ZELKLOG_ARG_XSTRING:
    case ZELKLOG_ARG_STRING:
        out.append(arg.type == ZELKLOG_ARG_STRING ? "string\",\"value\":" : "xstring\",\"value\":");
        appendJsonString(out, v.string != nullptr ? v.string : "");
        break;
    case ZELKLOG_ARG_LIST:
        out.append("list\",\"msg_id\":");
        appendUnsigned(out, v.list != nullptr ? v.list->msgId : 0);
        out.append(",\"value\":");
        if (v.list != nullptr)
            appendArgs(out, *v.list, depth + 1);
        else
            out.append("[]");
        break;
    default:
        out.append("unknown\",\"code\":");
        appendUnsigned(out, arg.type);
        break;
    }
    out.push_back('}');
}

void appendArgs(std::string &out, const ZelkLogMsgArgList &list, int depth)
{
    out.push_back('[');
    if (list.args != nullptr && depth < 64) {
        for (ZelkLogMsgArg **arg = list.args; *arg != nullptr; ++arg) {
            if (arg != list.args)
                out.push_back(',');
            appendArg(out, **arg, depth);
        }
    }
    out.push_back(']');
}

}  // namespace

void appendExportField(std::string &out, std::string_view name, std::string_view value)
{
    out.append(name);
    if (value.find('\n') == std::string_view::npos) {
        out.push_back('=');
        out.append(value);
    } else {
        out.push_back('\n');
        uint64_t length = value.size();
        for (int i = 0; i < 8; ++i)
            out.push_back(static_cast<char>((length >> (8 * i)) & 0xFF));
        out.append(value);
    }
    out.push_back('\n');
}

namespace {

void appendExportNumber(std::string &out, std::string_view name, uint64_t value)
{
    out.append(name);
    out.push_back('=');
    appendUnsigned(out, value);
    out.push_back('\n');
}

void appendExportSigned(std::string &out, std::string_view name, int64_t value)
{
    out.append(name);
    out.push_back('=');
    appendSigned(out, value);
    out.push_back('\n');
}

// The journal takes entry times above 0 and below 2^55 microseconds: any other
// __REALTIME_TIMESTAMP makes systemd-journal-remote stop reading the whole stream, and an
// entry without one is refused or takes the previous entry's time.  Times outside are held
// at the nearest end of that range; ZELKLOG_TIME_MS keeps the record's own.
uint64_t journalTime(int64_t timeMs)
{
    constexpr uint64_t kLast = (uint64_t{1} << 55) - 1;
    if (timeMs <= 0)
        return 1;
    return static_cast<uint64_t>(timeMs) >= kLast / 1000 ? kLast : static_cast<uint64_t>(timeMs) * 1000u;
}

// The syslog priority of a record: its severity for application messages, else by kind.
int priorityOf(const ZelkLogMsg &record)
{
    switch (record.kind) {
    case ZELKLOG_MSG_APP:
        switch (record.kindData.first.severity) {
        case ZELKLOG_SEV_INFO:
            return 6;
        case ZELKLOG_SEV_WARNING:
            return 4;
        case ZELKLOG_SEV_ERR:
            return 3;
        case ZELKLOG_SEV_CRIT:
            return 2;
        default:
            return 0;
        }
    case ZELKLOG_MSG_AUDIT:
        return 5;
    case ZELKLOG_MSG_CTX:
        return 6;
    default:
        return 7;
    }
}

}  // namespace

const char *kindWord(uint32_t kind)
{
    static const char *const words[] = {"DEBUG", "DIAG", "APP", "CONTEXT", "AUDIT"};
    return kind < 5 ? words[kind] : "UNKNOWN";
}

const char *severityWord(uint32_t severity)
{
    static const char *const words[] = {"INFO", "WARNING", "ERR", "CRIT", "EMERG"};
    return severity < 5 ? words[severity] : "UNKNOWN";
}

void appendJsonString(std::string &out, std::string_view text)
{
    out.push_back('"');
    size_t plainStart = 0;
    for (size_t i = 0; i < text.size();) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\' && c < 0x80) {
            ++i;
            continue;
        }
        if (c >= 0x80) {
            size_t length = utf8Length(text, i);
            if (length != 0) {
                i += length;
                continue;
            }
        }
        out.append(text.data() + plainStart, i - plainStart);
        switch (c) {
        case '"':
            out.append("\\\"");
            break;
        case '\\':
            out.append("\\\\");
            break;
        case '\n':
            out.append("\\n");
            break;
        case '\t':
            out.append("\\t");
            break;
        case '\r':
            out.append("\\r");
            break;
        default:
            if (c < 0x20) {
                out.append("\\u00");
                out.push_back(kHex[c >> 4]);
                out.push_back(kHex[c & 15]);
            } else {
                out.append("\\ufffd");
            }
        }
        ++i;
        plainStart = i;
    }
    out.append(text.data() + plainStart, text.size() - plainStart);
    out.push_back('"');
}

void appendJsonRecord(std::string &out, const ZelkLogMsg &record, const RecordOrigin &origin)
{
    out.append("{\"time_ms\":");
    appendSigned(out, record.timeMs);
    out.append(",\"kind\":\"");
    out.append(kindWord(record.kind));
    out.push_back('"');
    appendKey(out, "product_id");
    appendUnsigned(out, record.productId);
    appendKey(out, "originator_id");
    appendUnsigned(out, record.originatorId);
    appendKey(out, "file_id");
    appendUnsigned(out, record.fileId);
    appendKey(out, "pid");
    appendUnsigned(out, record.pid);
    appendKey(out, "tid");
    appendUnsigned(out, record.tid);
    appendKey(out, "aux_number");
    appendUnsigned(out, record.auxNumber);
    appendStringField(out, "aux_text", record.auxText);
    appendStringField(out, "context_token", record.contextToken);
    const ZelkLogMsgKindData &data = record.kindData;
    switch (record.kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
        appendKey(out, "level");
        appendSigned(out, data.first.level);
        appendStringField(out, "who", data.second.who);
        break;
    case ZELKLOG_MSG_APP:
        appendKey(out, "severity");
        out.push_back('"');
        out.append(severityWord(data.first.severity));
        out.push_back('"');
        appendStringField(out, "who", data.second.who);
        break;
    case ZELKLOG_MSG_CTX:
        appendStringField(out, "context_text", data.first.contextText);
        break;
    case ZELKLOG_MSG_AUDIT:
        appendStringField(out, "subject", data.second.subject);
        appendKey(out, "return_value");
        appendSigned(out, data.returnValue);
        break;
    default:
        break;
    }
    appendKey(out, "msg_id");
    appendUnsigned(out, record.args.msgId);
    appendKey(out, "args");
    appendArgs(out, record.args, 0);
    if (record.logsetName[0] != '\0')
        appendStringField(out, "logset", record.logsetName);
    if (record.fileHeaderText[0] != '\0')
        appendStringField(out, "header", record.fileHeaderText);
    if (origin.fileName != nullptr)
        appendStringField(out, "file", origin.fileName);
    if (origin.format != 0) {
        appendKey(out, "format");
        char hex[24] = "\"0x";
        auto end = std::to_chars(hex + 3, hex + sizeof hex - 1, origin.format, 16).ptr;
        *end++ = '"';
        out.append(hex, static_cast<size_t>(end - hex));
    }
}

void appendExportRecord(std::string &out, const ZelkLogMsg &record, const RecordOrigin &origin,
                        std::string_view identifier)
{
    appendExportNumber(out, "__REALTIME_TIMESTAMP", journalTime(record.timeMs));
    appendExportNumber(out, "PRIORITY", static_cast<uint64_t>(priorityOf(record)));
    appendExportField(out, "SYSLOG_IDENTIFIER", identifier);
    appendExportNumber(out, "_PID", record.pid);
    appendExportSigned(out, "ZELKLOG_TIME_MS", record.timeMs);
    appendExportField(out, "ZELKLOG_KIND", kindWord(record.kind));
    appendExportNumber(out, "ZELKLOG_PRODUCT_ID", record.productId);
    appendExportNumber(out, "ZELKLOG_ORIGINATOR_ID", record.originatorId);
    if (record.fileId != 0)
        appendExportNumber(out, "ZELKLOG_FILE_ID", record.fileId);
    appendExportNumber(out, "ZELKLOG_TID", record.tid);
    if (record.contextToken != nullptr)
        appendExportField(out, "ZELKLOG_CONTEXT_TOKEN", record.contextToken);
    const ZelkLogMsgKindData &data = record.kindData;
    const char *who = nullptr;
    switch (record.kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
        appendExportSigned(out, "ZELKLOG_LEVEL", data.first.level);
        who = data.second.who;
        break;
    case ZELKLOG_MSG_APP:
        appendExportField(out, "ZELKLOG_SEVERITY", severityWord(data.first.severity));
        who = data.second.who;
        break;
    case ZELKLOG_MSG_CTX:
        if (data.first.contextText != nullptr)
            appendExportField(out, "ZELKLOG_CONTEXT_TEXT", data.first.contextText);
        break;
    case ZELKLOG_MSG_AUDIT:
        if (data.second.subject != nullptr)
            appendExportField(out, "ZELKLOG_SUBJECT", data.second.subject);
        appendExportSigned(out, "ZELKLOG_RETURN_VALUE", data.returnValue);
        break;
    default:
        break;
    }
    if (who != nullptr)
        appendExportField(out, "ZELKLOG_WHO", who);
    if (record.auxNumber != 0)
        appendExportNumber(out, "ZELKLOG_AUX_NUMBER", record.auxNumber);
    if (record.auxText != nullptr)
        appendExportField(out, "ZELKLOG_AUX_TEXT", record.auxText);
    appendExportNumber(out, "ZELKLOG_MSG_ID", record.args.msgId);
    if (record.args.args != nullptr) {
        std::string args;
        appendArgs(args, record.args, 0);
        appendExportField(out, "ZELKLOG_ARGS", args);
    }
    if (record.logsetName[0] != '\0')
        appendExportField(out, "ZELKLOG_LOGSET", record.logsetName);
    if (origin.fileName != nullptr)
        appendExportField(out, "ZELKLOG_FILE", origin.fileName);
}

}  // namespace zelktool
