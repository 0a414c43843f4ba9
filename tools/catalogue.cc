// zelklog products, originators, id: the configured catalogue.
#include "tools/commands.h"

#include "tools/errors.h"
#include "tools/output.h"
#include "tools/record_writers.h"
#include "zelkLogConfigLayout.h"
#include "zelkLogRead.h"

#include <cstdio>
#include <string>
#include <vector>

namespace zelktool {

namespace {

uint64_t productIdOf(const std::string &name)
{
    int64_t id = zelkLogGetIdFromName(name.c_str(), ZELKLOGREC_PRODID);
    if (id <= 0)
        throw ToolError(kExitFailure, "product '" + name + "': not in the configuration " + configFileName());
    return static_cast<uint64_t>(id);
}

}  // namespace

int runProducts(const CatalogueOptions &options)
{
    std::vector<uint64_t> ids(ZELKLOG_MAX_PRODUCTS);
    std::vector<char *> names(ZELKLOG_MAX_PRODUCTS, nullptr);
    uint64_t count = 0;
    uint32_t rc = zelkLogGetAllProductsEx(ids.data(), ids.size(), &count, names.data());
    if (rc != 0)
        failWithCode("products in " + configFileName(), rc);
    Output out;
    std::string text;
    if (options.output == "json") {
        for (uint64_t i = 0; i < count; ++i) {
            text = "{\"id\":" + std::to_string(ids[i]) + ",\"names\":";
            if (names[i] != nullptr)
                appendJsonString(text, names[i]);
            else
                text += "null";
            text += "}\n";
            out.write(text);
        }
    } else {
        out.write("ID\tNAMES\n");
        for (uint64_t i = 0; i < count; ++i)
            out.write(std::to_string(ids[i]) + "\t" + (names[i] != nullptr ? names[i] : "-") + "\n");
    }
    for (uint64_t i = 0; i < count; ++i)
        zelkLogFree(names[i]);
    out.flush();
    return kExitOk;
}

int runOriginators(const CatalogueOptions &options)
{
    uint64_t product = productIdOf(options.product);
    std::vector<uint64_t> ids(4096);
    uint64_t count = 0;
    uint32_t rc = zelkLogGetAllOriginators(product, ids.data(), ids.size(), &count);
    if (rc != 0)
        failWithCode("originators of product " + options.product, rc);
    Output out;
    if (options.output != "json")
        out.write("ID\tSECTION\n");
    for (uint64_t i = 0; i < count; ++i) {
        bool byDefault = ids[i] == ZELKLOG_DEFAULT_ORIGINATOR;
        if (options.output == "json")
            out.write("{\"id\":" + std::to_string(ids[i]) + ",\"default\":" + (byDefault ? "true" : "false") +
                      "}\n");
        else
            out.write(std::to_string(ids[i]) + "\t" +
                      (byDefault ? ZELKLOG_CFG_DEFAULT_SECTION : std::to_string(ids[i])) + "\n");
    }
    out.flush();
    return kExitOk;
}

int runId(const CatalogueOptions &options)
{
    uint32_t kind = options.kind == "product"      ? ZELKLOGREC_PRODID
                    : options.kind == "originator" ? ZELKLOGREC_ORGID
                                                   : ZELKLOGREC_SHORGID;
    int64_t id = zelkLogGetIdFromName(options.name.c_str(), kind);
    if (id < 0)
        throw ToolError(kExitFailure, options.kind + " name '" + options.name +
                                          "': not in the configuration " + configFileName());
    Output out;
    if (options.output == "json") {
        std::string text = "{\"name\":";
        appendJsonString(text, options.name);
        text += ",\"kind\":\"" + options.kind + "\",\"id\":" + std::to_string(id) + "}\n";
        out.write(text);
    } else {
        out.write(std::to_string(id) + "\n");
    }
    out.flush();
    return kExitOk;
}

}  // namespace zelktool
