// Fuzzes the property store: the input is written as a store file, then read through
// every read operation (open at the top and at each enumerated section, enumerate,
// get properties), changed once by a set and once by a remove, and read again.  The
// same file also serves as the global store for the configuration reader.
#include "zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>
#include <unistd.h>

namespace {

char gDirectory[] = "/tmp/zelk-store-fuzz-XXXXXX";
std::string gPath;

const char *const kProperties[] = {"Names", "LogDirectory", "ConfigPath", "FileId", "FileNames",
                                   "JVMPath", "FormatResource", ""};

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

void change(const std::vector<std::string> &sections, const std::string &value)
{
    const char *section = sections.empty() ? "" : sections.front().c_str();
    UtiPropertyStore handle{nullptr};
    if (utiOpenPropertyStore(gPath.c_str(), section, &handle, 0) == UTI_PS_OK) {
        utiSetPropertyAsStr(&handle, "Fuzz Name=;[x]", value.c_str());
        utiRemoveProperty(&handle, "Names");
        if (sections.size() > 1)
            utiRemovePropertyRoot(&handle, sections.back().c_str());
    }
    utiClosePropertyStore(&handle);
}

void cleanUp()
{
    unlink(gPath.c_str());
    unlink((gPath + ".lock").c_str());
    rmdir(gDirectory);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    if (mkdtemp(gDirectory) == nullptr)
        std::abort();
    gPath = std::string(gDirectory) + "/store.conf";
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
    // The value carries the input's first bytes, control bytes and blanks included.
    change(sections, std::string(reinterpret_cast<const char *>(data), size < 16 ? size : 16).c_str());
    readStore();
    return 0;
}
