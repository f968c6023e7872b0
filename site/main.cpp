// zantosite: names, limits, rights and screens for a detector, from one file.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>

#include "comparefiles.h"
#include "folder.h"
#include "inputs.h"
#include "version.h"

namespace {

using namespace site;

struct Arguments {
    std::string site;
    std::vector<std::string> lists;
    std::string folder;
    bool olderBase = false;
    ComparisonOrder comparison;
};

// Prints what was found; true when nothing is wrong.
bool report(const Messages &messages)
{
    for (const auto &note : messages.notes)
        std::cerr << "note: " << note << "\n";
    for (const auto &error : messages.errors)
        std::cerr << error << "\n";
    return messages.errors.empty();
}

int finish(const std::string &text)
{
    std::cout << text << std::flush;
    if (std::cout)
        return 0;
    std::cerr << "zantosite: standard output cannot be written\n";
    return 1;
}

int runNew(const Arguments &arguments)
{
    Messages messages;
    const auto crates = readCrates(arguments.lists, messages);
    return report(messages) ? finish(newSite(crates)) : 1;
}

// Writes nothing when it only checks.
int runMake(const Arguments &arguments, bool onlyChecks)
{
    Messages messages;
    OutputFiles files;
    const auto crates = readCrates(arguments.lists, messages);
    const auto file = readSiteFile(arguments.site, messages);
    if (messages.errors.empty())
        files = makeFiles(file, arguments.site, crates, arguments.olderBase, messages);
    if (!report(messages))
        return 1;
    if (onlyChecks)
        return finish(arguments.site + ": no errors\n");
    writeFolder(arguments.folder, files);
    return finish(arguments.folder + ": " + std::to_string(files.size()) + " files\n");
}

int runCompare(const ComparisonOrder &order)
{
    Messages messages;
    const auto status = compareFiles(order, std::cout, messages);
    report(messages);
    return static_cast<int>(finish("") == 0 ? status : ComparisonStatus::Trouble);
}

template <class Value>
CLI::Option *require(CLI::App *command, const char *name, Value &value, const char *type,
                     const char *help)
{
    return command->add_option(name, value, help)->type_name(type)->required();
}

void declare(CLI::App &app, Arguments &arguments)
{
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("zantosite ") + zantoVersion,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and end");
    auto *first = app.add_subcommand("new", "Print a first site file");
    auto *check = app.add_subcommand("check", "Tell what is wrong in a site file");
    auto *make = app.add_subcommand("make", "Write records, access rights, alarms and screens");
    auto *compare = app.add_subcommand("compare", "Tell what changed in a crate");
    for (auto *command : {check, make})
        require(command, "site", arguments.site, "SITE.yaml", "Site file");
    for (auto *command : {first, check, make})
        require(command, "--pvlist", arguments.lists, "FILE",
                "PV list of a server (/tmp/pvlist.txt), or description of a crate "
                "(.yaml, from zantocrate-capture); one for each crate");
    require(make, "--out", arguments.folder, "DIR", "Folder to write");
    make->add_flag("--older-base", arguments.olderBase,
                   "For servers with EPICS base before 7: stale read-backs by database links");
    auto &order = arguments.comparison;
    require(compare, "old", order.before, "OLD.yaml", "Crate description, captured before");
    require(compare, "new", order.after, "NEW.yaml", "Crate description, captured after");
    require(compare, "--site", order.site, "SITE.yaml",
            "Site file whose entries may need attention")
        ->required(false);
    compare->add_flag("!--no-values", order.values, "Leave out set-points that differ");
    app.footer("Status 0: done; of compare: no differences. 1: errors, nothing was written; of "
               "compare: differences.\n2: of compare: errors.");
}

int run(int argc, char **argv)
{
    CLI::App app("Names, limits, rights, alarms and screens for a detector, from one file",
                 "zantosite");
    Arguments arguments;
    declare(app, arguments);
    CLI11_PARSE(app, argc, argv);
    if (app.got_subcommand("new"))
        return runNew(arguments);
    return app.got_subcommand("compare") ? runCompare(arguments.comparison)
                                         : runMake(arguments, app.got_subcommand("check"));
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zantosite: %s\n", error.what());
        return 1;
    }
}
