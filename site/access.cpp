// site.acf.
#include "outputs.h"

#include <algorithm>
#include <fmt/format.h>

namespace site {

namespace {

// A list without members cannot be written.
void addLists(std::string &text, const char *kind, const NameLists &lists)
{
    for (const auto &[name, members] : lists)
        if (!members.empty())
            text += fmt::format("{}({}) {{{}}}\n", kind, name, fmt::join(members, ", "));
}

// A rule that names a list that is not written would end the reading of all rights.
std::vector<std::string> written(std::vector<std::string> names, const NameLists &lists)
{
    const auto isEmpty = [&](const std::string &name) { return lists.at(name).empty(); };
    names.erase(std::remove_if(names.begin(), names.end(), isEmpty), names.end());
    return names;
}

// May write who is in one of the user lists, if any are named, at a host in one of the host lists.
std::string writeRule(const AccessGroup &group, const Plan &plan)
{
    const auto users = written(group.users, plan.users);
    const auto hosts = written(group.hosts, plan.hosts);
    if (users.empty() != group.users.empty() || hosts.empty() != group.hosts.empty())
        return "";
    std::string conditions;
    if (!users.empty())
        conditions += fmt::format("        UAG({})\n", fmt::join(users, ", "));
    if (!hosts.empty())
        conditions += fmt::format("        HAG({})\n", fmt::join(hosts, ", "));
    // Fields of level 0 are the values, those of level 1 all others.
    return std::string("    RULE(") + (group.allFields ? "1" : "0") + ", WRITE, TRAPWRITE)" +
           (conditions.empty() ? "" : " {\n" + conditions + "    }") + "\n";
}

} // namespace

std::string accessText(const Plan &plan)
{
    std::string text = "# Written by zantosite. Load it with asSetFilename, before iocInit.\n\n";
    addLists(text, "UAG", plan.users);
    addLists(text, "HAG", plan.hosts);
    text += "\nASG(DEFAULT) {\n    RULE(1, READ)\n}\n";
    for (const auto &[name, group] : plan.groups)
        text += "\nASG(" + name + ") {\n    RULE(1, READ)\n" + writeRule(group, plan) + "}\n";
    return text;
}

} // namespace site
