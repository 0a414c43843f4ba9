// The subcommands other than query and verify.
#ifndef ZELKLOG_TOOL_COMMANDS_H
#define ZELKLOG_TOOL_COMMANDS_H

#include <string>
#include <vector>

namespace zelktool {

struct CatalogueOptions {
    std::string output = "table";  // table or json
    std::string product;           // originators
    std::string name;              // id
    std::string kind;              // id: product, originator, file
};

int runProducts(const CatalogueOptions &options);
int runOriginators(const CatalogueOptions &options);
int runId(const CatalogueOptions &options);

struct ConfigOptions {
    std::string action;   // get, set, remove
    std::string setting;  // jvm-path, tools-dir, setting, product, originator, logset
    std::vector<std::string> values;
    bool yes = false;
};

int runConfig(const ConfigOptions &options);

struct WriteOptions {
    std::string file;
    bool create = false;
    std::string format;  // 0x10004..0x10008; empty: the first record's, else 0x10006
    std::string header;
    std::string input = "-";
};

int runWrite(const WriteOptions &options);

struct DateOptions {
    std::string time;   // seconds, @seconds or now
    std::string parse;  // date text to parse
    std::string locale;
    std::string timeStyle = "medium";
    std::string dateStyle = "short";
    std::string zone;  // an offset to name
};

int runDate(const DateOptions &options);

}  // namespace zelktool

#endif
