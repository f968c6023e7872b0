// alarms.xml.
#include "outputs.h"

#include <cmath>
#include <map>
#include <utility>

#include "screenlinks.h"

namespace site {

namespace {

// A crate, board or channel whose records raise alarms.
struct Owner {
    std::string name;
    std::string words;
    const AlarmHandling &handling;
    std::string display;
};

std::string joined(const std::string &text, const std::string &more)
{
    return more.empty() ? text : text + " " + more;
}

std::string truth(bool value) { return value ? "true" : "false"; }

class Tree {
public:
    explicit Tree(pugi::xml_node root) { m_components[""] = root; }

    // In the order in which the alarm server writes it.
    void addPv(const Owner &owner, const std::string &name, const std::string &what)
    {
        const AlarmHandling &handling = owner.handling;
        pugi::xml_node pv = component(owner.name).append_child("pv");
        pv.append_attribute("name") = name.c_str();
        putElements(pv, {{"description", joined(owner.words, what)},
                         {"enabled", truth(true)},
                         {"latching", truth(handling.latching)},
                         {"annunciating", truth(handling.annunciating)}});
        if (handling.delay > 0)
            putElements(pv, {{"delay", std::to_string(std::lround(std::ceil(handling.delay)))}});
        if (!handling.guidance.empty())
            putElements(pv.append_child("guidance"),
                        {{"title", "What to do"}, {"details", handling.guidance}});
        putElements(pv.append_child("display"), {{"title", "Screen"}, {"details", owner.display}});
    }

private:
    // Where the name's segments lead.
    pugi::xml_node component(const std::string &name)
    {
        pugi::xml_node &found = m_components[name];
        if (found)
            return found;
        const size_t colon = name.rfind(':');
        found = component(colon == std::string::npos ? "" : name.substr(0, colon));
        const std::string segment = name.substr(colon + 1);
        if (!segment.empty()) {
            found = found.append_child("component");
            found.append_attribute("name") = segment.c_str();
        }
        return found;
    }

    std::map<std::string, pugi::xml_node> m_components;
};

void addHealth(Tree &tree, Owner owner)
{
    owner.name += ":Health";
    for (const auto &[record, words] : {std::pair("Lost", "event connection"),
                                        {"ScansRefused", "scans refused"},
                                        {"Inserted", "board inserted"}})
        tree.addPv(owner, owner.name + ":" + record, words);
}

// Board and channel are null where there is none.
Owner ownerOf(const PlannedCrate &crate, const PlannedBoard *board, const PlannedChannel *channel)
{
    const auto owner = [](const std::string &name, const auto &of) {
        return Owner{name, joined(name, of.description), of.alarm, ""};
    };
    if (channel != nullptr)
        return owner(channel->shownName(), *channel);
    return board != nullptr ? owner(board->record, *board) : owner(crate.name, crate);
}

} // namespace

std::string alarmTree(const Plan &plan, const std::string &screensFolder)
{
    const ScreenLinks links(plan);
    pugi::xml_document document;
    pugi::xml_node root = document.append_child("config");
    root.append_attribute("name") = plan.title.c_str();
    Tree tree(root);
    for (const PlannedCrate &crate : plan.crates)
        forEachList(crate, [&](const auto &list, const auto *board, const auto *channel) {
            Owner owner = ownerOf(crate, board, channel);
            owner.display = screensFolder + address(links.of(crate, board, channel));
            if (channel != nullptr && channel->hasState)
                tree.addPv(owner, channel->shownState(), "State");
            for (const PlannedParameter &each : list)
                if (each.limits.any())
                    tree.addPv(owner, each.shownReadBack(),
                               each.description.empty() ? each.parameter->name : each.description);
            if (board == nullptr)
                addHealth(tree, owner);
        });
    return xmlText(document);
}

} // namespace site
