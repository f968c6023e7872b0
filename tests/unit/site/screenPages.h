// The screens of a plan as pages, with what the programs that show them know.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "outputs.h"
#include "planSupport.h"
#include "statesymbols.h"

namespace siteTest {

using namespace site;
using Names = std::set<std::string>;
using Texts = std::map<std::string, std::string>;

// The types that the web renderer's reader of display files knows.
inline const Names &webTypes()
{
    static const Names types{
        "action_button", "arc",       "bool_button",  "byte_monitor", "checkbox",    "combo",
        "databrowser",   "display",   "ellipse",      "embedded",     "group",       "label",
        "led",           "textentry", "textupdate",   "picture",      "image",       "polygon",
        "polyline",      "tank",      "progressbar",  "rectangle",    "linearmeter", "thermometer",
        "meter",         "choice",    "scaledslider", "stripchart",   "symbol",      "xyplot"};
    return types;
}

struct TypeWords {
    const char *version;
    Names properties; // besides those of every widget
};

// What the desktop reads, by type.
inline const std::map<std::string, TypeWords> &desktopTypes()
{
    static const std::map<std::string, TypeWords> types{
        {"action_button",
         {"3.0.0", {"text", "font", "show_confirm_dialog", "confirm_message", "transparent"}}},
        {"bool_button",
         {"2.0.0",
          {"pv_name", "font", "labels_from_pv", "mode", "show_confirm_dialog", "confirm_message"}}},
        {"label",
         {"2.0.0", {"text", "font", "horizontal_alignment", "vertical_alignment", "wrap_words"}}},
        {"led", {"2.0.0", {"pv_name"}}},
        {"picture", {"2.0.0", {"file"}}},
        {"stripchart", {"2.1.0", {"start", "y_axes", "traces"}}},
        {"symbol",
         {"2.0.0", {"pv_name", "symbols", "initial_index", "run_actions_on_mouse_click"}}},
        {"textentry", {"3.0.0", {"pv_name", "font"}}},
        {"textupdate",
         {"2.0.0",
          {"pv_name", "font", "precision", "horizontal_alignment", "vertical_alignment",
           "wrap_words", "background_color"}}},
    };
    return types;
}

struct Page {
    std::string text;
    pugi::xml_document document;

    pugi::xml_node display() const { return document.child("display"); }

    std::vector<pugi::xml_node> widgets(const std::string &type = "") const
    {
        std::vector<pugi::xml_node> found;
        for (pugi::xml_node each : display().children("widget"))
            if (type.empty() || each.attribute("type").value() == type)
                found.push_back(each);
        return found;
    }

    Names texts(const std::string &property) const
    {
        Names found;
        for (pugi::xml_node each : widgets())
            if (pugi::xml_node child = each.child(property.c_str()))
                found.insert(child.text().get());
        return found;
    }
};

inline std::map<std::string, Page> pagesOf(const Plan &plan)
{
    std::map<std::string, Page> pages;
    for (const OutputFile &each : screens(plan)) {
        EXPECT_EQ(0, each.path.find("screens/"));
        const std::string name = each.path.substr(8);
        EXPECT_EQ(0, pages.count(name)) << name << " twice";
        Page &page = pages[name];
        page.text = each.text;
        EXPECT_TRUE(page.document.load_string(each.text.c_str())) << name;
    }
    return pages;
}

// What looks most unlike: holes, few and many channels, names of people and of the crate.
inline Sample irregular()
{
    Sample sample;
    PlannedCrate &first = sample.add("HV", {{1, channels(12)},
                                            {2, {0, 7, 23}},
                                            {9, channels(60)},
                                            {15, {3}},
                                            {40, {}},
                                            {63, {100, 4711}}});
    for (PlannedChannel &each : first.boards[0].channels)
        nameChannel(each, "DC:S1:W0" + std::to_string(each.number));
    for (PlannedChannel &each : first.boards[1].channels)
        each.hasState = false;
    first.boards[3].channels[0].roles = {};
    first.boards[5].channels[0].roles.tripCause = nullptr;
    sample.add("LV", boards(64, 12));
    sample.add("NONE", {});
    return sample;
}

inline std::string expanded(std::string text, const Texts &macros)
{
    for (const auto &[name, value] : macros) {
        const std::string macro = "$(" + name + ")";
        for (size_t at; (at = text.find(macro)) != std::string::npos;)
            text.replace(at, macro.size(), value);
    }
    return text;
}

struct Target {
    std::string file;
    Texts macros;
};

inline std::vector<Target> targetsOf(const Page &page, const Texts &macros)
{
    std::vector<Target> targets;
    for (pugi::xml_node widget : page.widgets()) {
        pugi::xml_node action = widget.child("actions").child("action");
        if (std::string(action.attribute("type").value()) != "open_display")
            continue;
        Target target{expanded(action.child_value("file"), macros), {}};
        for (pugi::xml_node each : action.child("macros").children())
            target.macros[each.name()] = each.text().get();
        targets.push_back(target);
    }
    return targets;
}

// Everything that a click can lead to from the first screen, by file and macros.
using Visited = std::set<std::pair<std::string, Texts>>;

inline void visit(const std::map<std::string, Page> &pages, const Target &target, Visited &visited)
{
    if (!visited.emplace(target.file, target.macros).second)
        return;
    ASSERT_EQ(1, pages.count(target.file)) << target.file;
    for (const Target &each : targetsOf(pages.at(target.file), target.macros))
        visit(pages, each, visited);
}

inline Visited visitAll(const std::map<std::string, Page> &pages)
{
    Visited visited;
    visit(pages, {"index.bob", {}}, visited);
    return visited;
}

inline void addRecords(Names &records, const std::vector<PlannedParameter> &parameters)
{
    for (const PlannedParameter &each : parameters)
        for (const std::string &name : {each.shownName(), each.shownReadBack()})
            records.insert(name);
}

inline void addSummary(Names &records, const std::string &owner)
{
    for (const char *each : {channelsOn, channelsRamping, channelsTripped, worstSeverity})
        records.insert(owner + ":" + each);
}

inline Names recordsOf(const Plan &plan)
{
    Names records;
    for (const PlannedCrate &crate : plan.crates) {
        if (crate.hasStates())
            addSummary(records, crate.name);
        for (const char *each :
             {"Lost", "LastDelivery", "EventRate", "BatchRate", "HeldValues", "ScansDeferred",
              "ScansRefused", "FailedCalls", "Inserted", "Records", "Clients", "StartTime"})
            records.insert(crate.name + ":Health:" + each);
        for (const PlannedBoard &board : crate.boards) {
            if (board.hasStates())
                addSummary(records, board.record);
            addRecords(records, board.parameters);
            for (const PlannedChannel &channel : board.channels) {
                addRecords(records, channel.parameters);
                if (channel.hasState)
                    records.insert(channel.shownState());
            }
        }
    }
    return records;
}

inline void collectNames(pugi::xml_node node, Names &names)
{
    for (pugi::xml_node each : node.children()) {
        const std::string name = each.name();
        if (name == "pv_name" || name == "y_pv")
            names.insert(each.text().get());
        collectNames(each, names);
    }
}

struct Area {
    int x, y, width, height;

    bool overlaps(const Area &other) const
    {
        return x < other.x + other.width && other.x < x + width && y < other.y + other.height &&
               other.y < y + height;
    }
};

inline int number(pugi::xml_node node, const char *property)
{
    return node.child(property).text().as_int(-1);
}

inline Area areaOf(pugi::xml_node widget)
{
    return {number(widget, "x"), number(widget, "y"), number(widget, "width"),
            number(widget, "height")};
}

} // namespace siteTest
