// Fuzzes the property store: the input is written as a store file, then read through
// every read operation (open at the top and at each enumerated section, enumerate,
// get properties), changed (sets, creations and removals, with names and values taken
// from the input, which must read back unchanged) and read again.  The
// same file also serves as the global store for the configuration reader.
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>
#include <unistd.h>

namespace {

// Under $TMPDIR (scripts/fuzz.sh points it at a memory file system: every run writes
// a file), else /tmp.
std::string gDirectory;
std::string gPath;

const char *const kProperties[] = {"Names",     "LogDirectory", "ConfigPath",     "FileId",
                                   "FileNames", "JVMPath",      "FormatResource", ""};

void getAll(UtiPropertyStore &handle)
{
    for (const char *name : kProperties) {
        char *value = nullptr;
        if (utiGetPropertyAsStr(&handle, name, &value) == UTI_PS_OK)
            zelkLogFree(value);
    }
}

// Enumerates the sections (through a small buffer first, so that cut names occur) and
// opens each one, reading its properties.  Returns the section names.
std::vector<std::string> readStore()
{
    std::vector<std::string> sections;
    UtiPropertyStore top{nullptr};
    if (utiOpenPropertyStore(gPath.c_str(), "", &top, 0) != UTI_PS_OK) {
        utiClosePropertyStore(&top);
        return sections;
    }
    getAll(top);
    for (uint32_t index = 0; index < 10000; ++index) {
        char small[8];
        uint32_t length = sizeof small;
        if (utiEnumProductId(&top, index, small, &length) != UTI_PS_OK)
            break;
        std::string name(small);
        if (length >= sizeof small) {
            std::vector<char> large(length + 1);
            uint32_t fullLength = length + 1;
            if (utiEnumProductId(&top, index, large.data(), &fullLength) != UTI_PS_OK || fullLength != length)
                std::abort();
            name = large.data();
        }
        sections.push_back(name);
    }
    utiClosePropertyStore(&top);

    for (const std::string &section : sections) {
        UtiPropertyStore handle{nullptr};
        if (utiOpenPropertyStore(gPath.c_str(), section.c_str(), &handle, 0) == UTI_PS_OK)
            getAll(handle);
        utiClosePropertyStore(&handle);
    }
    return sections;
}

void readConfiguration()
{
    static ZelkLogProductCfg *records[8];
    uint64_t count = 0;
    zelkLogReadAllCfg(0, 8, records, &count);
    FreeConfigArray(records, count);
}

// The text of `length` input bytes from `from` (cut at a NUL, as C strings are).
std::string textOf(const uint8_t *data, size_t size, size_t from, size_t length)
{
    if (from >= size)
        return std::string();
    std::string text(reinterpret_cast<const char *>(data + from), std::min(length, size - from));
    return text.substr(0, text.find('\0'));
}

// A value set through a handle must read back unchanged through a fresh handle, whatever
// bytes its name and value hold.
void expectRoundTrip(const char *section, const std::string &name, const std::string &value)
{
    UtiPropertyStore handle{nullptr};
    char *read = nullptr;
    if (utiOpenPropertyStore(gPath.c_str(), section, &handle, 0) != UTI_PS_OK ||
        utiGetPropertyAsStr(&handle, name.c_str(), &read) != UTI_PS_OK || value != read)
        std::abort();
    zelkLogFree(read);
    utiClosePropertyStore(&handle);
}

// Changes the store: a property named and valued by input bytes is set in the first
// section (or the top) and read back, a section named by input bytes is created and
// found again, "Names" is removed, the last section is removed through a plain handle
// and the first through a product-removal handle.
void change(const std::vector<std::string> &sections, const uint8_t *data, size_t size)
{
    const char *section = sections.empty() ? "" : sections.front().c_str();
    const std::string name = textOf(data, size, size > 12 ? size - 12 : 0, 12);
    const std::string value = textOf(data, size, 0, 16);
    UtiPropertyStore handle{nullptr};
    if (utiOpenPropertyStore(gPath.c_str(), section, &handle, 0) == UTI_PS_OK) {
        if (utiSetPropertyAsStr(&handle, name.c_str(), value.c_str()) == UTI_PS_OK)
            expectRoundTrip(section, name, value);
        utiRemoveProperty(&handle, "Names");
        if (sections.size() > 1)
            utiRemovePropertyRoot(&handle, sections.back().c_str());
    }
    utiClosePropertyStore(&handle);

    const std::string created = textOf(data, size, 16, 12);
    UtiPropertyStore fresh{nullptr};
    if (!created.empty() && CreatePropertyString(gPath.c_str(), created.c_str(), &fresh) == UTI_PS_OK) {
        utiClosePropertyStore(&fresh);
        if (utiOpenPropertyStore(gPath.c_str(), created.c_str(), &fresh, 0) != UTI_PS_OK)
            std::abort();
    }
    utiClosePropertyStore(&fresh);

    UtiPropertyStore product{nullptr};
    if (!sections.empty() &&
        utiOpenPropertyStore(gPath.c_str(), section, &product, UTI_PS_OPEN_PRODUCT_REMOVAL) == UTI_PS_OK)
        utiRemovePropertyRoot(&product, section);
    utiClosePropertyStore(&product);
}

void cleanUp()
{
    unlink(gPath.c_str());
    unlink((gPath + ".lock").c_str());
    rmdir(gDirectory.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    const char *base = std::getenv("TMPDIR");
    gDirectory = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/zelk-store-fuzz-XXXXXX";
    if (mkdtemp(gDirectory.data()) == nullptr)
        std::abort();
    gPath = gDirectory + "/store.conf";
    setenv("ZELKLOG_CONFIG", gPath.c_str(), 1);
    std::atexit(cleanUp);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FILE *file = std::fopen(gPath.c_str(), "wb");
    if (file == nullptr)
        std::abort();
    std::fwrite(data, 1, size, file);
    std::fclose(file);

    std::vector<std::string> sections = readStore();
    readConfiguration();
    change(sections, data, size);
    readStore();
    return 0;
}
