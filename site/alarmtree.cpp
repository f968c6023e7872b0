#include "alarmtree.h"

#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include "screenlinks.h"

namespace site {

namespace {

using Path = std::vector<std::string>;

// A crate, board or channel whose records raise alarms.
struct Owner {
    std::string name;
    std::string words;
    const AlarmHandling &handling;
    std::string display;
};

std::string wordsOf(const std::string &name, const std::string &description)
{
    return description.empty() ? name : name + " " + description;
}

Path segments(const std::string &name)
{
    Path path;
    std::string segment;
    for (const char each : name + ":") {
        if (each != ':')
            segment += each;
        else if (!segment.empty())
            path.push_back(std::exchange(segment, ""));
    }
    return path;
}

std::string truth(bool value) { return value ? "true" : "false"; }

class Tree {
public:
    explicit Tree(pugi::xml_node root) { m_components[{}] = root; }

    void addLimits(const Owner &owner, const std::vector<PlannedParameter> &parameters)
    {
        for (const PlannedParameter &each : parameters)
            if (each.limits.any())
                addPv(owner, each.shownReadBack(),
                      wordsOf(owner.words,
                              each.description.empty() ? each.parameter->name : each.description));
    }

    // In the order in which the alarm server writes it.
    void addPv(const Owner &owner, const std::string &name, const std::string &description)
    {
        const AlarmHandling &handling = owner.handling;
        pugi::xml_node pv = component(segments(owner.name)).append_child("pv");
        putAttributes(pv, {{"name", name}});
        putElements(pv, {{"description", description},
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
    pugi::xml_node component(const Path &path)
    {
        pugi::xml_node &found = m_components[path];
        if (!found) {
            found = component(Path(path.begin(), path.end() - 1)).append_child("component");
            putAttributes(found, {{"name", path.back()}});
        }
        return found;
    }

    std::map<Path, pugi::xml_node> m_components;
};

void addChannel(Tree &tree, const PlannedChannel &channel, const std::string &screen)
{
    const std::string &name = channel.shownName();
    const Owner owner{name, wordsOf(name, channel.description), channel.alarm, screen};
    if (channel.hasState)
        tree.addPv(owner, channel.shownState(), wordsOf(owner.words, "State"));
    tree.addLimits(owner, channel.parameters);
}

void addCrate(Tree &tree, const PlannedCrate &crate, const std::string &screen)
{
    const Owner owner{crate.name, wordsOf(crate.name, crate.description), crate.alarm, screen};
    tree.addLimits(owner, crate.parameters);
    if (!crate.hasHealth)
        return;
    const Owner health{crate.name + ":Health", owner.words, crate.alarm, screen};
    for (const auto &[record, words] : {std::pair(":Lost", "event connection"),
                                        {":ScansRefused", "scans refused"},
                                        {":Inserted", "board inserted"}})
        tree.addPv(health, health.name + record, wordsOf(owner.words, words));
}

} // namespace

std::string alarmTree(const Plan &plan, const std::string &screensFolder)
{
    const ScreenLinks links(plan);
    pugi::xml_document document;
    pugi::xml_node root = document.append_child("config");
    putAttributes(root, {{"name", plan.title}});
    Tree tree(root);
    for (const PlannedCrate &crate : plan.crates) {
        addCrate(tree, crate, screensFolder + address(ScreenLinks::of(crate)));
        for (const PlannedBoard &board : crate.boards) {
            const Owner owner{board.record, wordsOf(board.record, board.description), board.alarm,
                              screensFolder + address(ScreenLinks::of(crate, board))};
            tree.addLimits(owner, board.parameters);
            for (const PlannedChannel &channel : board.channels)
                addChannel(tree, channel, screensFolder + address(links.of(crate, board, channel)));
        }
    }
    return xmlText(document);
}

} // namespace site
