#include "access.h"

namespace site {

namespace {

std::string joined(const std::vector<std::string> &names)
{
    std::string text;
    for (const auto &name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

void addLists(std::string &text, const char *kind, const NameLists &lists)
{
    for (const auto &[name, members] : lists)
        if (!members.empty())
            text += std::string(kind) + "(" + name + ") {" + joined(members) + "}\n";
}

// Without any member a list that a rule names would be no condition at all.
bool areEmpty(const std::vector<std::string> &names, const NameLists &lists)
{
    for (const auto &name : names)
        if (!lists.at(name).empty())
            return false;
    return !names.empty();
}

std::string conditions(const AccessGroup &group)
{
    std::string text;
    if (!group.users.empty())
        text += "        UAG(" + joined(group.users) + ")\n";
    if (!group.hosts.empty())
        text += "        HAG(" + joined(group.hosts) + ")\n";
    return text.empty() ? "" : " {\n" + text + "    }";
}

} // namespace

std::string accessText(const Plan &plan)
{
    std::string text = "# Written by zantosite. Load it with asSetFilename, before iocInit.\n\n";
    addLists(text, "UAG", plan.users);
    addLists(text, "HAG", plan.hosts);
    text += "\nASG(DEFAULT) {\n    RULE(1, READ)\n}\n";
    for (const auto &[name, group] : plan.groups) {
        text += "\nASG(" + name + ") {\n    RULE(1, READ)\n";
        // Fields of level 0 are the values, those of level 1 all others.
        if (!areEmpty(group.users, plan.users) && !areEmpty(group.hosts, plan.hosts))
            text += std::string("    RULE(") + (group.allFields ? "1" : "0") +
                    ", WRITE, TRAPWRITE)" + conditions(group) + "\n";
        text += "}\n";
    }
    return text;
}

} // namespace site
