// zelklog config get|set|remove: the settings and removals of the configuration.
#include "tools/commands.h"

#include "tools/errors.h"
#include "zelkLogRead.h"

#include <cstdio>
#include <iostream>
#include <string>
#include <unistd.h>

namespace zelktool {

namespace {

uint64_t idOf(const std::string &what, const std::string &name, uint32_t kind)
{
    int64_t id = zelkLogGetIdFromName(name.c_str(), kind);
    if (id <= 0)
        throw ToolError(kExitFailure, what + " '" + name + "': not in the configuration " + configFileName());
    return static_cast<uint64_t>(id);
}

void expectValues(const ConfigOptions &options, size_t count, const char *form)
{
    if (options.values.size() != count)
        failUsage(std::string("usage: zelklog config ") + options.action + " " + options.setting + " " +
                  form);
}

void check(const std::string &what, uint32_t rc)
{
    if (rc != 0)
        failWithCode(what + " (" + configFileName() + ")", rc);
}

// Removals ask first on a terminal; elsewhere --yes must say it.
void confirm(const ConfigOptions &options, const std::string &what)
{
    if (options.yes)
        return;
    if (isatty(STDIN_FILENO) != 1)
        failUsage("config remove " + options.setting + ": removing " + what +
                  " needs --yes when standard input is not a terminal");
    std::fprintf(stderr, "Remove %s? [y/N] ", what.c_str());
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes")
        throw ToolError(kExitFailure, "not removed");
}

}  // namespace

int runConfig(const ConfigOptions &options)
{
    const std::string &action = options.action;
    const std::string &setting = options.setting;
    if (setting == "jvm-path") {
        if (action == "get") {
            expectValues(options, 0, "");
            char *path = nullptr;
            check("jvm-path", zelkLogGetJVMPathSetting(&path));
            std::printf("%s\n", path);
            zelkLogFree(path);
        } else if (action == "set") {
            expectValues(options, 1, "PATH");
            check("jvm-path", zelkLogAddJVMPathSetting(options.values[0].c_str()));
        } else {
            expectValues(options, 0, "");
            check("jvm-path", zelkLogRemoveJVMPathSetting());
        }
    } else if (setting == "tools-dir") {
        if (action == "get")
            failUsage("config get tools-dir: the library offers no way to read it (set and remove only)");
        if (action == "set") {
            expectValues(options, 1, "DIRECTORY");
            check("tools-dir", zelkLogCfgSetToolsResDir(options.values[0].c_str()));
        } else {
            expectValues(options, 0, "");
            check("tools-dir", zelkLogCfgRemoveToolsResDir());
        }
    } else if (setting == "setting") {
        if (action == "get")
            failUsage("config get setting: the library offers no way to read it (set and remove only)");
        if (action == "set") {
            expectValues(options, 3, "PRODUCT NAME VALUE");
            uint64_t product = idOf("product", options.values[0], ZELKLOGREC_PRODID);
            check("setting " + options.values[1],
                  zelkLogAddNonOIDSetting(product, options.values[1].c_str(), options.values[2].c_str()));
        } else {
            expectValues(options, 2, "PRODUCT NAME");
            uint64_t product = idOf("product", options.values[0], ZELKLOGREC_PRODID);
            check("setting " + options.values[1],
                  zelkLogRemoveNonOIDSetting(product, options.values[1].c_str()));
        }
    } else if (setting == "product" || setting == "originator" || setting == "logset") {
        if (action != "remove")
            failUsage("config " + action + " " + setting + ": only remove is possible");
        if (setting == "product") {
            expectValues(options, 1, "PRODUCT");
            uint64_t product = idOf("product", options.values[0], ZELKLOGREC_PRODID);
            confirm(options, "all configuration of product " + options.values[0]);
            check("remove product " + options.values[0], zelkLogRemoveProductAllCfg(product));
        } else if (setting == "originator") {
            expectValues(options, 2, "PRODUCT ORIGINATOR");
            uint64_t product = idOf("product", options.values[0], ZELKLOGREC_PRODID);
            uint64_t originator = idOf("originator", options.values[1], ZELKLOGREC_ORGID);
            confirm(options, "originator " + options.values[1] + " of product " + options.values[0]);
            check("remove originator " + options.values[1], zelkLogRemoveCfg(product, originator));
        } else {
            expectValues(options, 2, "PRODUCT LOGSET");
            uint64_t product = idOf("product", options.values[0], ZELKLOGREC_PRODID);
            confirm(options, "logset " + options.values[1] + " of product " + options.values[0]);
            check("remove logset " + options.values[1],
                  zelkLogRemoveLogSetCfg(product, options.values[1].c_str()));
        }
    } else {
        failUsage("config: '" + setting +
                  "' is not a setting (jvm-path, tools-dir, setting, product, originator, logset)");
    }
    return kExitOk;
}

}  // namespace zelktool
