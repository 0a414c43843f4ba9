#include "tests/support/config_fixture.h"
#include "tests/support/lock_probe.h"

#include "zelkLogConfigLayout.h"
#include "src/core/zelkLogCore.h"
#include "zelkLogPropertyStore.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace zelk::test {
namespace {

std::string joined(const Names &names)
{
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ",") + name;
    return text;
}

void createStore(const std::string &location)
{
    UtiPropertyStore handle{};
    EXPECT_EQ(CreatePropertyString(location.c_str(), "", &handle), 0u) << location;
    utiClosePropertyStore(&handle);
}

}  // namespace

ConfigFixture::ConfigFixture(const std::vector<ProductEntry> &products)
{
    std::string pattern = (std::filesystem::temp_directory_path() / "zelkcfg.XXXXXX").string();
    if (::mkdtemp(&pattern[0]) == nullptr)
        ADD_FAILURE() << "cannot create a temporary directory from " << pattern;
    directory_ = pattern;
    globalStore_ = path("zelklog.conf");
    if (const char *old = std::getenv(ZELKLOG_CONFIG_ENV))
        savedEnvironment_ = old;
    ::setenv(ZELKLOG_CONFIG_ENV, globalStore_.c_str(), 1);
    createStore(globalStore_);
    for (const ProductEntry &product : products)
        addProduct(product);
}

ConfigFixture::~ConfigFixture()
{
    savedEnvironment_ ? ::setenv(ZELKLOG_CONFIG_ENV, savedEnvironment_->c_str(), 1)
                      : ::unsetenv(ZELKLOG_CONFIG_ENV);
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

void ConfigFixture::setProperty(const std::string &store, const std::string &section, const std::string &name,
                                const std::optional<std::string> &value) const
{
    UtiPropertyStore handle{};
    uint32_t code = CreatePropertyString(store.c_str(), section.c_str(), &handle);
    if (code == 0)
        code = value ? utiSetPropertyAsStr(&handle, name.c_str(), value->c_str())
                     : utiRemoveProperty(&handle, name.c_str());
    utiClosePropertyStore(&handle);
    EXPECT_EQ(code, 0u) << store << " [" << section << "] " << name;
}

void ConfigFixture::addProduct(const ProductEntry &product)
{
    std::string id = std::to_string(product.id);
    std::string store = path(product.storeName.empty() ? "product-" + id + ".conf" : product.storeName);
    std::string logDirectory = product.logDirectory;
    if (logDirectory.empty())
        std::filesystem::create_directories(logDirectory = path("logs/" + id + "/"));
    else if (logDirectory.back() != '/')
        logDirectory += '/';
    setProperty(globalStore_, id, ZELKLOG_CFG_NAMES, joined(product.names));
    setProperty(globalStore_, id, ZELKLOG_CFG_LOG_DIRECTORY, logDirectory);
    setProperty(globalStore_, id, ZELKLOG_CFG_CONFIG_PATH, store);
    if (!product.formatResource.empty())
        setProperty(globalStore_, id, ZELKLOG_CFG_FORMAT_RESOURCE, product.formatResource);
    createStore(store);
    for (const OriginatorEntry &originator : product.originators) {
        std::string section = originator.id == ZELKLOG_DEFAULT_ORIGINATOR
                                  ? std::string(ZELKLOG_CFG_DEFAULT_SECTION)
                                  : std::to_string(originator.id);
        setProperty(store, section, ZELKLOG_CFG_NAMES, joined(originator.names));
        if (originator.fileId != 0)
            setProperty(store, section, ZELKLOG_CFG_FILE_ID, std::to_string(originator.fileId));
        if (!originator.fileNames.empty())
            setProperty(store, section, ZELKLOG_CFG_FILE_NAMES, joined(originator.fileNames));
    }
    products_[product.id] = {store, logDirectory};
}

std::string ConfigFixture::readFile(const std::string &name) const
{
    std::ifstream in(path(name), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void ConfigFixture::writeFile(const std::string &name, const std::string &text) const
{
    std::ofstream out(path(name), std::ios::binary | std::ios::trunc);
    out << text;
    EXPECT_TRUE(out.good()) << path(name);
}

std::string storeValue(const std::string &store, const std::string &section, const std::string &name)
{
    UtiPropertyStore handle{};
    char *value = nullptr;
    if (utiOpenPropertyStore(store.c_str(), section.c_str(), &handle, 0) == 0)
        utiGetPropertyAsStr(&handle, name.c_str(), &value);
    utiClosePropertyStore(&handle);
    std::string text = value == nullptr ? "<none>" : value;
    zelkLogFree(value);
    return text;
}

Names storeSections(const std::string &store)
{
    Names names;
    UtiPropertyStore handle{};
    char name[80];
    uint32_t length = sizeof name;
    for (uint32_t code = utiOpenPropertyStore(store.c_str(), "", &handle, 0); code == 0; length = sizeof name)
        if ((code = utiEnumProductId(&handle, static_cast<uint32_t>(names.size()), name, &length)) == 0)
            names.emplace_back(name);
    utiClosePropertyStore(&handle);
    return names;
}

bool commonLockIsFree()
{
    return finishesWithin(1, [] {
        zelkLockCommon("lock probe");
        zelkUnlockCommon("lock probe");
    });
}

}  // namespace zelk::test
