// The text form of a store, parsed with inih.
//
//   ; comment
//   TopLevelName = value
//   [Section name]
//   Name = value
//
// Names and values are written with backslash escapes so that any byte string survives
// a round trip: \\ \n \r \t and \xHH (other control bytes, the characters that inih
// would take as syntax in a name, and spaces at either end, which inih strips).
// Reading is lenient: a backslash before any other character stays as written.
//
// The packaged inih cuts section names at 49 bytes and reports a section only when a
// property follows its header.  The line reader handed to inih therefore notes each
// header line as it passes through, so the handler knows the full section name and
// empty sections are kept; everything else (comments, "name = value" splitting, blank
// stripping, syntax errors) is inih's.
#include "platform/src/store/store_data.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include "platform/src/common/inih_options.h"

#include <cstring>
#include <new>

namespace zelk::store {
namespace {

// Lines of any length (up to the largest readable store), no continuation lines, no
// inline comments (values keep every ';'), stop at the first error.
zelk::core::InihOptions storeOptions()
{
    zelk::core::InihOptions options;
    options.multiline = false;
    options.inlineComments = false;
    options.stopOnFirstError = true;
    options.useStack = false;
    options.allowRealloc = true;
    options.maxLine = static_cast<int>(UTI_PS_MAX_FILE_SIZE + 4);
    return options;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::string unescape(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c != '\\' || i + 1 == text.size()) {
            out.push_back(c);
            continue;
        }
        char next = text[i + 1];
        switch (next) {
        case '\\':
            out.push_back('\\');
            ++i;
            continue;
        case 'n':
            out.push_back('\n');
            ++i;
            continue;
        case 'r':
            out.push_back('\r');
            ++i;
            continue;
        case 't':
            out.push_back('\t');
            ++i;
            continue;
        case 'x':
            if (i + 3 < text.size() && hexDigit(text[i + 2]) >= 0 && hexDigit(text[i + 3]) >= 0) {
                int byte = hexDigit(text[i + 2]) * 16 + hexDigit(text[i + 3]);
                if (byte != 0) {
                    out.push_back(static_cast<char>(byte));
                    i += 3;
                    continue;
                }
            }
            break;
        default:
            break;
        }
        out.push_back(c);  // not an escape: the backslash stays
    }
    return out;
}

void appendHex(std::string &out, unsigned char c)
{
    static const char digits[] = "0123456789ABCDEF";
    out += "\\x";
    out.push_back(digits[c >> 4]);
    out.push_back(digits[c & 15]);
}

// isName: escape also what inih reads as syntax in a name or a section header.
void appendEscaped(std::string &out, std::string_view text, bool isName)
{
    for (size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        bool atEnd = i == 0 || i + 1 == text.size();
        if (c == '\\')
            out += "\\\\";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else if (c == '\t')
            out += "\\t";
        else if (c < 0x20 || c == 0x7f || (c == ' ' && atEnd))
            appendHex(out, c);
        else if (isName && std::strchr("=:;#[]", c) != nullptr)
            appendHex(out, c);
        else
            out.push_back(static_cast<char>(c));
    }
}

struct ParseState {
    std::string_view text;
    size_t position = 0;
    bool atLineStart = true;
    std::string section;  // full name of the section being read
    StoreData *data = nullptr;
    bool noMemory = false;
};

// Notes a section header at the start of the line that begins at `start`.
void noteHeader(ParseState &state, size_t start)
{
    std::string_view line = state.text.substr(start);
    line = line.substr(0, line.find('\n'));
    if (start == 0 && line.substr(0, 3) == "\xEF\xBB\xBF")
        line.remove_prefix(3);
    size_t first = 0;
    while (first < line.size() && isBlank(line[first]))
        ++first;
    if (first == line.size() || line[first] != '[')
        return;
    size_t close = line.find(']', first + 1);
    if (close == std::string_view::npos)
        return;  // inih reports the malformed header
    std::string_view raw = line.substr(first + 1, close - first - 1);
    while (!raw.empty() && isBlank(raw.front()))
        raw.remove_prefix(1);
    while (!raw.empty() && isBlank(raw.back()))
        raw.remove_suffix(1);
    state.section = unescape(raw);
    state.data->findOrAdd(state.section);
}

// fgets-like reader over the text.
char *readLine(char *buffer, int size, void *stream)
{
    auto &state = *static_cast<ParseState *>(stream);
    if (state.position >= state.text.size() || size < 2)
        return nullptr;
    if (state.atLineStart) {
        try {
            noteHeader(state, state.position);
        } catch (const std::bad_alloc &) {
            state.noMemory = true;
            return nullptr;
        }
    }
    size_t room = static_cast<size_t>(size) - 1;
    std::string_view rest = state.text.substr(state.position, room);
    size_t newline = rest.find('\n');
    size_t length = newline == std::string_view::npos ? rest.size() : newline + 1;
    std::memcpy(buffer, rest.data(), length);
    buffer[length] = '\0';
    state.position += length;
    state.atLineStart = buffer[length - 1] == '\n';
    return buffer;
}

int onProperty(void *user, const char * /*cutSection*/, const char *name, const char *value)
{
    auto &state = *static_cast<ParseState *>(user);
    if (name == nullptr || value == nullptr || *name == '\0')
        return 0;
    try {
        state.data->findOrAdd(state.section).set(unescape(name), unescape(value));
    } catch (const std::bad_alloc &) {
        state.noMemory = true;
        return 0;
    }
    return 1;
}

}  // namespace

uint32_t parseStore(std::string_view text, StoreData &out)
{
    if (text.size() > UTI_PS_MAX_FILE_SIZE || text.find('\0') != std::string_view::npos)
        return UTI_PS_CORRUPT;
    out = StoreData();
    ParseState state;
    state.text = text;
    state.data = &out;
    int result = zelk::core::parseWithOptions(storeOptions(), readLine, &state, onProperty, &state);
    if (state.noMemory || result == -2)
        return UTI_PS_NO_MEMORY;
    return result == 0 ? UTI_PS_OK : UTI_PS_CORRUPT;
}

std::string formatStore(const StoreData &data)
{
    std::string out = "; zelkLog property store: \"Name = value\" lines under [Section] headers.\n"
                      "; Escapes in names and values: \\\\ \\n \\r \\t \\xHH.\n";
    auto appendSection = [&out](const Section &section) {
        for (const Property &p : section.properties) {
            appendEscaped(out, p.name, true);
            out += " = ";
            appendEscaped(out, p.value, false);
            out.push_back('\n');
        }
    };
    appendSection(data.top());
    for (size_t i = 0; i < data.namedCount(); ++i) {
        const Section &section = data.named(i);
        out += "\n[";
        appendEscaped(out, section.name, true);
        out += "]\n";
        appendSection(section);
    }
    return out;
}

}  // namespace zelk::store
