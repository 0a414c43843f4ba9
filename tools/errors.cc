// Result codes in words, and where a refused filter goes wrong.
#include "tools/errors.h"

#include "zelkLogConfigLayout.h"
#include "zelkLogRead.h"
#include "zelkLogWriter.h"

#include <cstdio>
#include <cstdlib>

namespace zelktool {

const char *codeMeaning(uint32_t code)
{
    switch (code) {
    case 0:
        return "success";
    case 1:
        return "failure: a syntax error, an unopenable file, a malformed message or an ICU failure";
    case 2:
        return "the parser's stack is exhausted";
    case 3:
        return "a missing or invalid argument";
    case 4:
        return "out of memory";
    case 6:
        return "the configuration store is unavailable";
    case 9:
        return "no more records";
    case 11:
        return "a word that is not a keyword";
    case 12:
        return "a string without its closing quote";
    case 13:
        return "a character that belongs to no token";
    case 14:
        return "a comparison without exactly one field keyword";
    case 15:
        return "CTXTOK takes only = or !=";
    case 16:
        return "a date that cannot be read, or an unusable PREVTIME value";
    case 17:
        return "PREVTIME takes only =";
    case 18:
        return "CTXTOK and WHO compare only with a text";
    case 19:
        return "a filter without an operator";
    case 20:
        return "more than 199 operators in the filter";
    case 21:
        return "text that is not valid UTF-8";
    case 23:
        return "a record that cannot be decoded";
    case 24:
        return "end of a log file";
    case 25:
        return "a record that does not match";
    case 26:
        return "a name that the configuration does not hold";
    case 43:
        return "SUBJECT compares only with a text";
    case 44:
        return "SUBJECT takes only = or !=";
    case 48:
        return "a writer still holds the log file";
    case 49:
        return "WHO takes only = or !=";
    case ZELKLOG_RC_LOGFILE_EXISTS:
        return "the file exists already";
    case ZELKLOG_RC_NOT_A_LOG_FILE:
        return "not a log file";
    case ZELKLOG_RC_RECORD_TOO_LONG:
        return "the record is longer than 4095 bytes";
    case 55:
        return "the configuration store denies access";
    case ZELKLOG_RC_FILE_UNOPENABLE:
        return "a log file cannot be opened";
    default:
        return "an unknown code";
    }
}

std::string describeCode(uint32_t code)
{
    int shown = static_cast<int32_t>(code) < 0 ? static_cast<int32_t>(code) : static_cast<int>(code);
    return "code " + std::to_string(shown) + " (" + codeMeaning(code) + ")";
}

void failWithCode(const std::string &what, uint32_t code, const std::string &detail)
{
    throw ToolError(kExitFailure, what + ": " + describeCode(code) + detail);
}

void failUsage(const std::string &message)
{
    throw ToolError(kExitUsage, message);
}

std::string configFileName()
{
    const char *fromEnvironment = std::getenv(ZELKLOG_CONFIG_ENV);
    return fromEnvironment != nullptr && *fromEnvironment != '\0' ? fromEnvironment : ZELKLOG_DEFAULT_CONFIG;
}

namespace {

// The field keyword that a refused comparison code points at, or 0.
int64_t fieldOfCode(uint32_t code)
{
    switch (code) {
    case 15:
        return ZELKLOGREC_CTXTOK;
    case 16:
        return ZELKLOGREC_STDATE;
    case 17:
        return ZELKLOGREC_PREVTIME;
    case 43:
    case 44:
        return ZELKLOGREC_SUBJECT;
    case 49:
        return ZELKLOGREC_WHO;
    default:
        return 0;
    }
}

struct Token {
    int code = 0;
    uint64_t value = 0;
    std::string text;
};

}  // namespace

std::string filterErrorPosition(const std::string &filter, uint32_t code)
{
    // The library's scanner cuts the text again; its tokens show where the refused piece
    // is.  Line feeds are echoed to yyout, so it writes to /dev/null meanwhile.
    FILE *sink = std::fopen("/dev/null", "w");
    if (sink == nullptr || yysetbuffer(filter.c_str()) == 0) {
        if (sink != nullptr)
            std::fclose(sink);
        return {};
    }
    FILE *savedOut = yyout;
    yyout = sink;
    std::string found;
    Token previous[2];
    int64_t wantedField = fieldOfCode(code);
    for (;;) {
        QueryNode value{};
        Token token;
        token.code = yylex(&value);
        if (token.code == 0)
            break;
        token.value = value.value;
        token.text.assign(yytext, static_cast<size_t>(yyleng));
        if (!found.empty())
            continue;  // drain the rest so that no scanner state is left behind
        if (token.code == ERROR_FOUND && token.value == code) {
            found = token.text;
        } else if (wantedField != 0 && token.code == KEYWORDS) {
            bool match =
                static_cast<int64_t>(token.value) == wantedField ||
                (code == 16 && (token.value == ZELKLOGREC_ENDATE || token.value == ZELKLOGREC_PREVTIME));
            if (match)
                found = token.text;
        } else if (code == 26 && token.code == STRINGCONST && previous[0].code >= LESS &&
                   previous[0].code <= NOTEQUAL && previous[1].code == KEYWORDS &&
                   previous[1].value >= ZELKLOGREC_PRODID && previous[1].value <= ZELKLOGREC_SHORGID) {
            std::string name =
                token.text.size() >= 2 ? token.text.substr(1, token.text.size() - 2) : token.text;
            if (zelkLogGetIdFromName(name.c_str(), static_cast<uint32_t>(previous[1].value)) == -1)
                found = name;
        }
        previous[1] = previous[0];
        previous[0] = token;
    }
    yyunsetbuffer();
    yyout = savedOut;
    std::fclose(sink);
    return found.empty() ? std::string() : " at '" + found + "'";
}

}  // namespace zelktool
