#include "inputs.h"

#include <filesystem>

#include "description/cratefile.h"
#include "folder.h"
#include "outputs.h"
#include "pvlist/names.h"
#include "pvlist/pvlist.h"

namespace site {

namespace {

CrateReading readDescription(const std::string &path)
{
    const auto reading = sim::readCrateFile(path);
    const auto &crate = reading.file.crate;
    return {reading.findings.empty() ? describedCrate(crate, crate.name) : Crate(),
            reading.findings};
}

CrateReading readList(const std::string &path, Messages &messages)
{
    auto reading = readPvList(readFile(path));
    const auto database = std::filesystem::path(path).replace_filename("ZANTO.db");
    std::error_code code;
    if (!std::filesystem::exists(database, code) || !addDatabase(reading, readFile(database)))
        messages.notes.push_back(path + ": no ZANTO.db of this crate lies beside it, so nobody can "
                                        "tell whether the list is whole, and limits are not "
                                        "compared with those of the hardware");
    return reading;
}

} // namespace

void Messages::addErrors(const std::string &path, const std::vector<sim::Finding> &findings)
{
    for (const auto &finding : findings)
        errors.push_back(sim::findingText(path, finding));
}

std::vector<Crate> readCrates(const std::vector<std::string> &paths, Messages &messages)
{
    std::vector<Crate> crates;
    for (const auto &path : paths) {
        try {
            const auto extension = std::filesystem::path(path).extension();
            auto reading = extension == ".yaml" || extension == ".yml" ? readDescription(path)
                                                                       : readList(path, messages);
            const auto &name = reading.crate.name;
            if (reading.findings.empty() && !isCrateName(name))
                reading.findings.push_back(
                    {0, "\"" + printable(name) + "\" cannot be the name of a crate"});
            messages.addErrors(path, reading.findings);
            reading.crate.file = path;
            crates.push_back(std::move(reading.crate));
        } catch (const FolderError &error) {
            messages.errors.push_back(error.what());
        }
    }
    return crates;
}

SiteFile readSiteFile(const std::string &path, Messages &messages)
{
    try {
        auto reading = readSite(readFile(path));
        messages.addErrors(path, reading.findings);
        return std::move(reading.file);
    } catch (const FolderError &error) {
        messages.errors.push_back(error.what());
        return {};
    }
}

OutputFiles makeFiles(const SiteFile &file, const std::string &path,
                      const std::vector<Crate> &crates, bool olderBase, Messages &messages)
{
    const auto planning = makePlan(file, crates);
    messages.addErrors(path, planning.findings);
    messages.notes.insert(messages.notes.end(), planning.notes.begin(), planning.notes.end());
    if (!messages.errors.empty())
        return {};
    const Plan &plan = planning.plan;
    OutputFiles files = screens(plan);
    const auto link = olderBase ? StaleLink::Database : StaleLink::State;
    // Each server loads its own; one alone needs no folder.
    for (const PlannedCrate &crate : plan.crates)
        files.push_back({(plan.crates.size() > 1 ? crate.name + "/" : "") + "site.db",
                         databaseText(crate, plan, link)});
    files.push_back({"site.acf", accessText(plan)});
    files.push_back({"alarms.xml", alarmTree(plan)});
    files.push_back({"archive.json", archiveText(plan)});
    files.push_back({"channelfinder.json", channelFinderText(plan)});
    files.push_back({"save-set.csv", saveSetText(plan)});
    return files;
}

} // namespace site
