#include "config_fixture.h"

#include "zelkLogConfigLayout.h"
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace zelk::test {
namespace {

std::string joined(const std::vector<std::string> &names)
{
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ",") + name;
    return text;
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
    UtiPropertyStore handle{};
    EXPECT_EQ(CreatePropertyString(globalStore_.c_str(), "", &handle), 0u) << globalStore_;
    utiClosePropertyStore(&handle);
    for (const ProductEntry &product : products)
        addProduct(product);
}

ConfigFixture::~ConfigFixture()
{
    if (savedEnvironment_)
        ::setenv(ZELKLOG_CONFIG_ENV, savedEnvironment_->c_str(), 1);
    else
        ::unsetenv(ZELKLOG_CONFIG_ENV);
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
    Added added{product.id, path(product.storeName.empty() ? "product-" + id + ".conf" : product.storeName),
                product.logDirectory};
    if (added.logDirectory.empty()) {
        added.logDirectory = path("logs/" + id + "/");
        std::filesystem::create_directories(added.logDirectory);
    } else if (added.logDirectory.back() != '/') {
        added.logDirectory += '/';
    }
    setProperty(globalStore_, id, ZELKLOG_CFG_NAMES, joined(product.names));
    setProperty(globalStore_, id, ZELKLOG_CFG_LOG_DIRECTORY, added.logDirectory);
    setProperty(globalStore_, id, ZELKLOG_CFG_CONFIG_PATH, added.store);
    if (!product.formatResource.empty())
        setProperty(globalStore_, id, ZELKLOG_CFG_FORMAT_RESOURCE, product.formatResource);
    UtiPropertyStore handle{};
    EXPECT_EQ(CreatePropertyString(added.store.c_str(), "", &handle), 0u) << added.store;
    utiClosePropertyStore(&handle);
    for (const OriginatorEntry &originator : product.originators) {
        std::string section = originator.id == ZELKLOG_DEFAULT_ORIGINATOR ? std::string(ZELKLOG_CFG_DEFAULT_SECTION)
                                                                          : std::to_string(originator.id);
        setProperty(added.store, section, ZELKLOG_CFG_NAMES, joined(originator.names));
        if (originator.fileId != 0)
            setProperty(added.store, section, ZELKLOG_CFG_FILE_ID, std::to_string(originator.fileId));
        if (!originator.fileNames.empty())
            setProperty(added.store, section, ZELKLOG_CFG_FILE_NAMES, joined(originator.fileNames));
    }
    products_.push_back(added);
}

std::string ConfigFixture::productStore(uint64_t productId) const
{
    for (const Added &added : products_)
        if (added.id == productId)
            return added.store;
    return "";
}

std::string ConfigFixture::logDirectory(uint64_t productId) const
{
    for (const Added &added : products_)
        if (added.id == productId)
            return added.logDirectory;
    return "";
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

}  // namespace zelk::test
