// Text rendering of decoded records for test expectations.
#include "tests/support/record_text.h"

#include <cstdio>
#include <type_traits>

namespace zelk::test {
namespace {

// Printable ASCII as is, anything else escaped with `escape` (a printf format).
void append(std::string &out, uint32_t c, const char *escape)
{
    char piece[16] = {static_cast<char>(c), '\0'};
    if (c < 0x20 || c >= 0x7F)
        std::snprintf(piece, sizeof piece, escape, c);
    out += piece;
}

// A C string ("-" for none), character by character; `Char` is char or wchar_t.
template <typename Char> std::string escaped(const Char *text, const char *escape)
{
    std::string out = text == nullptr ? "-" : "";
    for (const Char *p = text; p != nullptr && *p != 0; ++p)
        append(out, static_cast<std::make_unsigned_t<Char>>(*p), escape);
    return out;
}

std::string narrow(const char *text)
{
    return escaped(text, "\\x%02X");
}
std::string wide(const wchar_t *text)
{
    return escaped(text, "\\u{%X}");
}

std::string sized(const char *tag, uint16_t size, const std::string &value)
{
    return tag + std::to_string(size) + ":" + value;
}

std::string renderArg(const ZelkLogMsgArg &arg)
{
    const ZelkLogMsgArgValue &v = arg.value;
    std::string out;
    char number[64];
    switch (arg.type) {
    case ZELKLOG_ARG_WCHAR:
        out = "1'";
        append(out, static_cast<uint32_t>(v.wideChar), "\\u{%X}");
        break;
    case ZELKLOG_ARG_INT:
        out = sized("i", v.sizedInt.size, std::to_string(v.sizedInt.value));
        break;
    case ZELKLOG_ARG_UINT:
        out = sized("u", v.sizedUInt.size, std::to_string(v.sizedUInt.value));
        break;
    case ZELKLOG_ARG_DINT:
        out = sized("D", v.sizedInt.size, std::to_string(v.sizedInt.value));
        break;
    case ZELKLOG_ARG_DOUBLE:
        std::snprintf(number, sizeof number, "8%g", v.real);
        out = number;
        break;
    case ZELKLOG_ARG_UINT64:
        out = "9" + std::to_string(v.uint64);
        break;
    case ZELKLOG_ARG_INT64:
        out = "C" + std::to_string(v.int64);
        break;
    case ZELKLOG_ARG_WSTRING:
        out = "A\"" + wide(v.wideString) + "\"";
        break;
    case ZELKLOG_ARG_LIST:
        out = v.list == nullptr ? "(null)" : renderArgs(*v.list);
        break;
    case ZELKLOG_ARG_XSTRING:
        out = "X\"" + narrow(v.string) + "\"";
        break;
    case ZELKLOG_ARG_STRING:
        out = "S\"" + narrow(v.string) + "\"";
        break;
    default:
        out = "?" + std::to_string(arg.type);
        break;
    }
    bool owning = arg.type == ZELKLOG_ARG_WSTRING || arg.type == ZELKLOG_ARG_LIST ||
                  arg.type == ZELKLOG_ARG_XSTRING || arg.type == ZELKLOG_ARG_STRING;
    return arg.ownsValue != (owning ? 1u : 0u) ? out + "!owns" : out;
}

}  // namespace

std::string renderArgs(const ZelkLogMsgArgList &list)
{
    std::string out = "(" + std::to_string(list.msgId) + "|";
    uint64_t count = list.listInfo & 0xFFFFFFFFu;
    for (uint64_t i = 0; list.args != nullptr && i < count; ++i)
        out += (i == 0 ? "" : ",") + renderArg(*list.args[i]);
    if (list.args != nullptr && list.args[count] != nullptr)
        out += "!unterminated";
    return out + ")";
}

std::string renderRecord(const ZelkLogMsg &r)
{
    std::string out = "k" + std::to_string(r.kind) + " p" + std::to_string(r.productId) + " o" +
                      std::to_string(r.originatorId) + " f" + std::to_string(r.fileId) + " n" +
                      std::to_string(r.auxNumber) + " t" + std::to_string(r.timeMs) + " pid" +
                      std::to_string(r.pid) + " tid" + std::to_string(r.tid) +
                      " ctx=" + narrow(r.contextToken) + " aux=" + narrow(r.auxText);
    const ZelkLogMsgKindData &d = r.kindData;
    switch (r.kind) {
    case ZELKLOG_MSG_DEBUG:
    case ZELKLOG_MSG_DIAG:
        out += " who=" + narrow(d.second.who) + " level" + std::to_string(d.first.level);
        break;
    case ZELKLOG_MSG_APP:
        out += " who=" + narrow(d.second.who) + " sev" + std::to_string(d.first.severity);
        break;
    case ZELKLOG_MSG_CTX:
        out += " title=" + narrow(d.first.contextText);
        break;
    case ZELKLOG_MSG_AUDIT:
        out += " subject=" + narrow(d.second.subject) + " ret" + std::to_string(d.returnValue);
        break;
    default:
        break;
    }
    return out + " " + renderArgs(r.args);
}

}  // namespace zelk::test
