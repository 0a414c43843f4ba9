// The property store on real files: round trips of any name and value, files written
// or damaged by hand, enumeration, handles, concurrent writers.
#include "tests/support/config_fixture.h"
#include "tests/support/watchdog.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

using zelk::test::ConfigFixture;
using zelk::test::Names;
using zelk::test::storeValue;

struct Store {
    UtiPropertyStore handle{};
    uint32_t code;
    Store(const std::string &location, const std::string &section, bool create = false)
        : code(create ? CreatePropertyString(location.c_str(), section.c_str(), &handle)
                      : utiOpenPropertyStore(location.c_str(), section.c_str(), &handle, 0))
    {
    }
    ~Store() { utiClosePropertyStore(&handle); }
    Names sections()
    {
        Names names;
        char name[80];
        for (uint32_t length = sizeof name; utiEnumProductId(&handle, names.size(), name, &length) == 0;)
            names.emplace_back(name), length = sizeof name;
        return names;
    }
};

TEST(PropertyStore, AnyNameAndValueSurvivesTheFile)
{
    ConfigFixture config;
    std::string location = config.path("odd.conf");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a=b:c;d#e[f]g", "x = y ; not a comment # nor this"},
        {"  padded  ", "  padded value\t "},
        {"#looks like a comment", "[x]"},
        {"back\\slash", "C:\\temp\\x41\\n"},
        {"multi\nline\r\nname", "line1\nline2\n\n"},
        {"ctl\x01\x1f\x7f\xc3\xa9", "bell\x07"},
        {std::string(10000, 'n'), std::string(100000, 'v')},
        {"empty", ""},
    };
    const std::string sectionNames[] = {"", "LOGSET." + std::string(400, 's'), "odd ] [ section\nname ", "7"};
    for (const std::string &section : sectionNames) {
        Store writer(location, section, true);
        ASSERT_EQ(writer.code, 0u);
        for (const auto &[name, value] : cases)
            ASSERT_EQ(utiSetPropertyAsStr(&writer.handle, name.c_str(), value.c_str()), 0u);
    }
    for (const std::string &section : sectionNames)
        for (const auto &[name, value] : cases)
            EXPECT_EQ(storeValue(location, section, name), value) << "[" << section << "] " << name;
    // Enumeration cuts a name to the buffer but reports its full length, then ends.
    Store top(location, "");
    EXPECT_EQ(top.sections(),
              (Names{("LOGSET." + std::string(400, 's')).substr(0, 79), sectionNames[2], "7"}));
    char name[80];
    uint32_t length = sizeof name;
    ASSERT_EQ(utiEnumProductId(&top.handle, 0, name, &length), 0u);
    EXPECT_EQ(length, 407u);
    EXPECT_EQ(utiEnumProductId(&top.handle, 3, name, &length), UTI_PS_END);
    length = 0;
    EXPECT_EQ(utiEnumProductId(&top.handle, 0, name, &length), UTI_PS_BAD_ARGUMENT);
}

TEST(PropertyStore, HandwrittenFilesAreRead)
{
    ConfigFixture config;
    config.writeFile("hand.conf", "\xEF\xBB\xBF; written by an administrator\r\nJVMPath=/usr/bin/java\r\n\r\n"
                                  "# another comment\n  [ 7 ]  \n   Names :  billing , bill   \n[Empty]\n"
                                  "[7]\nLogDirectory=/var/log/b\nNames = later wins\n");
    std::string location = config.path("hand.conf");
    EXPECT_EQ(storeValue(location, "", "JVMPath"), "/usr/bin/java");
    EXPECT_EQ(zelk::test::storeSections(location), (Names{"7", "Empty"}));
    EXPECT_EQ(storeValue(location, "7", "Names"), "later wins");
    EXPECT_EQ(storeValue(location, "7", "LogDirectory"), "/var/log/b");
    // A write keeps the file's permissions.
    ASSERT_EQ(chmod(location.c_str(), 0640), 0);
    config.setProperty(location, "7", "Names", "changed");
    struct stat info {};
    ASSERT_EQ(stat(location.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
    Store product(location, "7");
    char *value = nullptr;
    EXPECT_EQ(utiGetPropertyAsStr(&product.handle, "Missing", &value), UTI_PS_NOT_FOUND);
    EXPECT_EQ(value, nullptr);
}

TEST(PropertyStore, DamagedFilesGiveACode)
{
    ConfigFixture config;
    std::string location = config.path("bad.conf");
    const std::pair<std::string, uint32_t> cases[] = {
        {"[7\nNames = x\n", UTI_PS_CORRUPT},
        {std::string("[7]\nNames = \0x\n", 14), UTI_PS_CORRUPT},
        {"", 0},
    };
    for (const auto &[text, code] : cases) {
        config.writeFile("bad.conf", text);
        UtiPropertyStore handle{};
        EXPECT_EQ(utiOpenPropertyStore(location.c_str(), "", &handle, 0), code) << text;
        EXPECT_EQ(utiClosePropertyStore(&handle), 0u);
        // A writer refuses to replace what it cannot read.
        EXPECT_EQ(CreatePropertyString(location.c_str(), "x", &handle), code) << text;
        utiClosePropertyStore(&handle);
    }
    std::filesystem::resize_file(location, UTI_PS_MAX_FILE_SIZE + 1);
    std::filesystem::create_directory(config.path("dir.conf"));
    ASSERT_EQ(::mkfifo(config.path("fifo.conf").c_str(), 0600), 0);  // refused at once, no writer awaited
    for (const char *name : {"bad.conf", "dir.conf", "fifo.conf"})
        EXPECT_EQ(Store(config.path(name), "").code, UTI_PS_CORRUPT) << name;
    EXPECT_EQ(Store(config.path("missing.conf"), "").code, UTI_PS_NO_STORE);
    EXPECT_EQ(Store(config.globalStore(), "nope").code, UTI_PS_NOT_FOUND);
}

TEST(PropertyStore, ThreadsLoseNoUpdate)
{
    ConfigFixture config;
    std::string location = config.path("threads.conf");
    constexpr int kThreads = 6, kEach = 20;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            Store store(location, "S" + std::to_string(t % 2), true);
            for (int i = 0; i < kEach; ++i) {
                std::string name = std::to_string(t) + "." + std::to_string(i);
                EXPECT_EQ(utiSetPropertyAsStr(&store.handle, name.c_str(), name.c_str()), 0u);
            }
        });
    {
        zelk::test::Waiting waiting("writers sharing the store's lock file", 30);
        for (std::thread &thread : threads)
            thread.join();
    }
    for (int t = 0; t < kThreads; ++t)
        for (int i = 0; i < kEach; ++i) {
            std::string name = std::to_string(t) + "." + std::to_string(i);
            EXPECT_EQ(storeValue(location, "S" + std::to_string(t % 2), name), name);
        }
    for (const auto &entry : std::filesystem::directory_iterator(config.directory()))
        EXPECT_EQ(entry.path().filename().string().find(".tmp."), std::string::npos) << entry.path();
}

}  // namespace
