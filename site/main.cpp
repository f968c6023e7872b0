// zantosite: names, limits, rights and screens for a detector, from one file.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>

#include "comparefiles.h"
#include "folder.h"
#include "inputs.h"
#include "newsite.h"
#include "version.h"

namespace {

using namespace site;

struct Arguments {
    std::string site;
    std::vector<std::string> lists;
    std::string folder;
    bool olderBase = false;
    std::string before;
    std::string after;
    bool values = true;
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

// What `make` writes, and whether it may.
bool plan(const Arguments &arguments, OutputFiles &files)
{
    Messages messages;
    const auto crates = readCrates(arguments.lists, messages);
    const auto file = readSiteFile(arguments.site, messages);
    if (messages.errors.empty())
        files = makeFiles(file, arguments.site, crates, arguments.olderBase, messages);
    return report(messages);
}

int runCheck(const Arguments &arguments)
{
    OutputFiles files;
    return plan(arguments, files) ? finish(arguments.site + ": no errors\n") : 1;
}

int runMake(const Arguments &arguments)
{
    OutputFiles files;
    if (!plan(arguments, files))
        return 1;
    writeFolder(arguments.folder, files);
    return finish(arguments.folder + ": " + std::to_string(files.size()) + " files\n");
}

int runCompare(const Arguments &arguments)
{
    ComparisonOrder order;
    order.before = arguments.before;
    order.after = arguments.after;
    order.values = arguments.values;
    SiteFile file;
    if (!arguments.site.empty()) {
        Messages messages;
        file = readSiteFile(arguments.site, messages);
        if (!report(messages))
            return static_cast<int>(ComparisonStatus::Trouble);
        order.site = &file;
        order.sitePath = arguments.site;
    }
    const auto status = compareFiles(order, std::cout, std::cerr);
    return finish("") == 0 ? static_cast<int>(status) : static_cast<int>(ComparisonStatus::Trouble);
}

void addLists(CLI::App &command, Arguments &arguments)
{
    command
        .add_option("--pvlist", arguments.lists,
                    "PV list of a server (/tmp/pvlist.txt), or description of a crate "
                    "(.yaml, from zantocrate-capture); one for each crate")
        ->type_name("FILE")
        ->required();
}

void addSite(CLI::App &command, Arguments &arguments)
{
    command.add_option("site", arguments.site, "Site file")->type_name("SITE.yaml")->required();
}

void declare(CLI::App &app, Arguments &arguments)
{
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("zantosite ") + zantoVersion,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and end");
    auto *first = app.add_subcommand("new", "Print a first site file");
    addLists(*first, arguments);
    auto *check = app.add_subcommand("check", "Tell what is wrong in a site file");
    addSite(*check, arguments);
    addLists(*check, arguments);
    auto *make = app.add_subcommand("make", "Write records, access rights, alarms and screens");
    addSite(*make, arguments);
    addLists(*make, arguments);
    make->add_option("--out", arguments.folder, "Folder to write")->type_name("DIR")->required();
    make->add_flag("--older-base", arguments.olderBase,
                   "For servers with EPICS base before 7: stale read-backs by database links");
    auto *compare = app.add_subcommand("compare", "Tell what changed in a crate");
    compare->add_option("old", arguments.before, "Crate description, captured before")
        ->type_name("OLD.yaml")
        ->required();
    compare->add_option("new", arguments.after, "Crate description, captured after")
        ->type_name("NEW.yaml")
        ->required();
    compare->add_option("--site", arguments.site, "Site file whose entries may need attention")
        ->type_name("SITE.yaml");
    compare->add_flag("!--no-values", arguments.values, "Leave out set-points that differ");
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
    if (app.got_subcommand("check"))
        return runCheck(arguments);
    return app.got_subcommand("make") ? runMake(arguments) : runCompare(arguments);
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
