// zelklog: reads the logs of the zelkLog facility from the command line.  This file wires
// the subcommands and their options; each subcommand lives in a file of its own.
#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/output.h"
#include "tools/query.h"
#include "zelkLogRead.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <string>

#ifndef ZELKLOG_TOOL_VERSION
#define ZELKLOG_TOOL_VERSION "0"
#endif

namespace {

using namespace zelktool;

void addTerminalOptions(CLI::App *command, TerminalOptions &options)
{
    command->add_flag("--no-pager", options.noPager, "Do not send the output through a pager");
    command->add_flag("--no-color", options.noColour, "Do not colour severities");
}

}  // namespace

int main(int argc, char **argv)
{
    // A reader that goes away is seen as EPIPE by the writes, and ends the run quietly.
    std::signal(SIGPIPE, SIG_IGN);

    CLI::App app{"zelklog - query, follow, export and write zelkLog log files"};
    app.set_version_flag("--version", std::string("zelklog ") + ZELKLOG_TOOL_VERSION);
    app.require_subcommand(1);
    app.fallthrough(false);

    QueryOptions query;
    CLI::App *queryCommand =
        app.add_subcommand("query", "Print the records that match FILTER, in time order");
    queryCommand->add_option("filter", query.filter,
                             "Filter, for example \"SEV >= ERR && PID = 1234\" (none: every record)");
    queryCommand->add_flag("--file-order", query.fileOrder,
                           "Records as they stand in each file, file after file");
    queryCommand->add_option("-o,--output", query.output, "Output: text, cat, json, raw or export")
        ->check(CLI::IsMember({"text", "cat", "json", "raw", "export"}));
    queryCommand->add_option("--flags", query.flags, "Fields of the formatted line (bits, default 0xF03)");
    queryCommand->add_option("--locale", query.locale, "ICU locale of texts and dates, for example de_DE");
    queryCommand->add_option("--log-dir", query.logDirectory, "Read the log files of this directory");
    queryCommand
        ->add_option("--format-resource", query.formatResource,
                     "Directory of the message catalogues (default: $ZELKLOG_FORMAT_RESOURCE)")
        ->envname("ZELKLOG_FORMAT_RESOURCE");
    queryCommand->add_option("--tz", query.tz,
                             "Shift the filter's dates by this offset (+02:00, -5:30, 3600s)");
    queryCommand->add_option("--since", query.since,
                             "Records from this time on (2h, 30m, yesterday, a date)");
    queryCommand->add_option("--until", query.until, "Records up to this time");
    queryCommand->add_option("-g,--grep", query.grep, "Records whose text matches this regular expression");
    queryCommand->add_flag("-i,--ignore-case", query.ignoreCase, "--grep ignores case");
    queryCommand->add_option("-n,--lines", query.limit, "Stop after N records")
        ->check(CLI::NonNegativeNumber);
    queryCommand->add_flag("-f,--follow", query.follow, "Keep printing records as they are written");
    queryCommand->add_option(
        "--cursor-file", query.cursorFile,
        "Resume after the last record an earlier run printed, and record where this one ends");
    queryCommand->add_flag("--message", query.withMessage, "-o json: add the formatted message text");
    addTerminalOptions(queryCommand, query.terminal);

    VerifyOptions verify;
    CLI::App *verifyCommand = app.add_subcommand("verify", "Report the corrupt records of the log files");
    verifyCommand->add_option("--log-dir", verify.logDirectory, "Check the log files of this directory");
    addTerminalOptions(verifyCommand, verify.terminal);

    CatalogueOptions catalogue;
    CLI::App *productsCommand = app.add_subcommand("products", "List the configured products");
    CLI::App *originatorsCommand = app.add_subcommand("originators", "List the originators of a product");
    originatorsCommand->add_option("product", catalogue.product, "Product name or id")->required();
    CLI::App *idCommand = app.add_subcommand("id", "The id of a product, originator or file name");
    idCommand->add_option("name", catalogue.name, "The name")->required();
    auto *asProduct = idCommand->add_flag("--product", "NAME is a product name");
    auto *asOriginator = idCommand->add_flag("--originator", "NAME is an originator name");
    auto *asFile = idCommand->add_flag("--file", "NAME is a file name (file id)");
    asProduct->excludes(asOriginator)->excludes(asFile);
    asOriginator->excludes(asFile);
    for (CLI::App *command : {productsCommand, originatorsCommand, idCommand})
        command->add_option("-o,--output", catalogue.output, "Output: table or json")
            ->check(CLI::IsMember({"table", "json"}));

    ConfigOptions config;
    CLI::App *configCommand = app.add_subcommand("config", "Read, set and remove configuration settings");
    configCommand->footer("Settings: jvm-path [PATH], tools-dir [DIR], setting PRODUCT NAME [VALUE];\n"
                          "removals: product PRODUCT, originator PRODUCT ORIGINATOR, logset PRODUCT LOGSET");
    configCommand->require_subcommand(1);
    for (const char *action : {"get", "set", "remove"}) {
        CLI::App *actionCommand = configCommand->add_subcommand(action, std::string(action) + " a setting");
        actionCommand
            ->add_option("setting", config.setting,
                         "jvm-path, tools-dir, setting, product, originator or logset")
            ->required();
        actionCommand->add_option("values", config.values, "Product, names and values of the setting");
        if (std::string(action) == "remove")
            actionCommand->add_flag("-y,--yes", config.yes, "Remove without asking (needed off a terminal)");
        actionCommand->callback([&config, action] { config.action = action; });
    }

    WriteOptions write;
    CLI::App *writeCommand = app.add_subcommand(
        "write", "Append JSON lines (as query -o json prints them) to a log file as records");
    writeCommand->add_option("file", write.file, "Log file")->required();
    writeCommand->add_flag("--create", write.create, "Make a new file (it must not exist)");
    writeCommand->add_option("--format", write.format, "Format of a new file, 0x10004 to 0x10008");
    writeCommand->add_option("--header", write.header, "Header text of a new file");
    writeCommand->add_option("--input", write.input,
                             "Read the JSON lines from this file (default: standard input)");

    DateOptions date;
    CLI::App *dateCommand = app.add_subcommand("date", "Format a time or parse a date text in a locale");
    dateCommand->add_option("time", date.time,
                            "Time to format: now, @SECONDS, 2h, yesterday, YYYY-MM-DD ...");
    dateCommand->add_option("--parse", date.parse, "Parse this date text and print its seconds since 1970");
    dateCommand->add_option("--locale", date.locale, "ICU locale, for example de_DE");
    dateCommand->add_option("--time-style", date.timeStyle, "full, long, medium, short or none");
    dateCommand->add_option("--date-style", date.dateStyle, "full, long, medium, short or none");
    dateCommand->add_option("--zone", date.zone, "Print the zone name of this offset (+05:30, -3600s)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        int rc = app.exit(error);
        return rc == 0 ? kExitOk : kExitUsage;
    }

    try {
        if (queryCommand->parsed())
            return runQuery(query);
        if (verifyCommand->parsed())
            return runVerify(verify);
        if (productsCommand->parsed())
            return runProducts(catalogue);
        if (originatorsCommand->parsed())
            return runOriginators(catalogue);
        if (idCommand->parsed()) {
            if (asProduct->count() + asOriginator->count() + asFile->count() != 1)
                failUsage("id: say what NAME is with --product, --originator or --file");
            catalogue.kind = asProduct->count() ? "product" : asOriginator->count() ? "originator" : "file";
            return runId(catalogue);
        }
        if (configCommand->parsed())
            return runConfig(config);
        if (writeCommand->parsed())
            return runWrite(write);
        if (dateCommand->parsed())
            return runDate(date);
    } catch (const BrokenPipe &) {
        return kExitOk;
    } catch (const ToolError &error) {
        std::fflush(stdout);
        std::fprintf(stderr, "zelklog: %s\n", error.what());
        return error.exitCode();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zelklog: %s\n", error.what());
        return kExitFailure;
    }
    return kExitUsage;
}
