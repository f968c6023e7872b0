#include "outputs.h"

#include <set>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "planSupport.h"

namespace {

using namespace site;

class SiteAlarmTree : public testing::Test {
protected:
    Sample sample;

    pugi::xml_node tree()
    {
        EXPECT_TRUE(m_document.load_string(alarmTree(sample.plan).c_str()));
        return m_document.child("config");
    }

    // Where components and their last child, a PV, have these names.
    pugi::xml_node pv(std::vector<std::string> path)
    {
        pugi::xml_node node = tree();
        const std::string last = path.back();
        path.pop_back();
        for (const std::string &each : path)
            node = node.find_child_by_attribute("component", "name", each.c_str());
        return node.find_child_by_attribute("pv", "name", last.c_str());
    }

    static std::vector<std::string> names(pugi::xml_node node)
    {
        std::vector<std::string> found;
        for (pugi::xml_node each : node.children())
            found.emplace_back(each.name());
        return found;
    }

    void limitVoltage(PlannedChannel &channel)
    {
        channel.parameters[2].limits.high = Threshold{3000, Severity::Minor};
    }

private:
    pugi::xml_document m_document;
};

struct Counter : pugi::xml_tree_walker {
    std::multiset<std::string> pvs;
    int emptyComponents = 0;

    bool for_each(pugi::xml_node &node) override
    {
        if (std::string(node.name()) == "pv")
            pvs.insert(node.attribute("name").value());
        if (std::string(node.name()) == "component" && !node.child("pv") &&
            !node.child("component"))
            emptyComponents++;
        return true;
    }
};

std::string decoded(const std::string &text)
{
    std::string result;
    for (size_t at = 0; at < text.size(); at++)
        if (text[at] == '%') {
            result += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
            at += 2;
        } else {
            result += text[at];
        }
    return result;
}

std::map<std::string, std::string> macrosOf(const std::string &address)
{
    std::map<std::string, std::string> macros;
    for (size_t at = address.find('?'); at != std::string::npos; at = address.find('&', at + 1)) {
        const size_t equals = address.find('=', at);
        const size_t end = std::min(address.find('&', at + 1), address.size());
        macros[address.substr(at + 1, equals - at - 1)] =
            decoded(address.substr(equals + 1, end - equals - 1));
    }
    return macros;
}

TEST_F(SiteAlarmTree, IsCalledLikeTheSite)
{
    sample.plan.title = "A & <B>";
    EXPECT_STREQ("A & <B>", tree().attribute("name").value());
}

TEST_F(SiteAlarmTree, ChannelsStandWhereTheirNamesLead)
{
    PlannedCrate &crate = sample.add("HV", boards(1, 3));
    nameChannel(crate.boards[0].channels[0], "DC:S1:W07");
    nameChannel(crate.boards[0].channels[1], "DC:S1::W08");
    EXPECT_TRUE(pv({"DC", "S1", "W07", "DC:S1:W07:State"}));
    EXPECT_TRUE(pv({"DC", "S1", "W08", "DC:S1::W08:State"}));
    EXPECT_TRUE(pv({"HV", "00", "002", "HV:00:002:State"}));
    EXPECT_EQ((std::vector<std::string>{"component", "component"}), names(tree()));
}

TEST_F(SiteAlarmTree, APvHasItsElementsInTheServersOrder)
{
    PlannedChannel &channel = sample.add("HV", boards(1, 1)).boards[0].channels[0];
    channel.alarm.guidance = "Call <the> expert & wait";
    channel.alarm.delay = 2.2;
    channel.alarm.latching = false;
    channel.alarm.annunciating = true;
    const pugi::xml_node found = pv({"HV", "00", "000", "HV:00:000:State"});
    EXPECT_EQ((std::vector<std::string>{"description", "enabled", "latching", "annunciating",
                                        "delay", "guidance", "display"}),
              names(found));
    EXPECT_STREQ("true", found.child_value("enabled"));
    EXPECT_STREQ("false", found.child_value("latching"));
    EXPECT_STREQ("true", found.child_value("annunciating"));
    EXPECT_STREQ("3", found.child_value("delay"));
    EXPECT_EQ((std::vector<std::string>{"title", "details"}), names(found.child("guidance")));
    EXPECT_STREQ("Call <the> expert & wait", found.child("guidance").child_value("details"));
    EXPECT_EQ((std::vector<std::string>{"title", "details"}), names(found.child("display")));
}

TEST_F(SiteAlarmTree, WhatIsNotGivenIsLeftOut)
{
    sample.add("HV", boards(1, 1));
    EXPECT_EQ(
        (std::vector<std::string>{"description", "enabled", "latching", "annunciating", "display"}),
        names(pv({"HV", "00", "000", "HV:00:000:State"})));
}

TEST_F(SiteAlarmTree, LimitedParametersAreReadBacksByTheNamesOfPeople)
{
    PlannedCrate &crate = sample.add("HV", boards(1, 2));
    PlannedChannel &named = crate.boards[0].channels[0];
    nameChannel(named, "DC:W07");
    named.description = "sense wire";
    limitVoltage(named);
    named.parameters[0].limits.lolo = Threshold{0, Severity::Major};
    named.parameters[0].description = "wanted voltage";
    EXPECT_STREQ("DC:W07 sense wire VMon",
                 pv({"DC", "W07", "DC:W07:VMon"}).child_value("description"));
    EXPECT_STREQ("DC:W07 sense wire wanted voltage",
                 pv({"DC", "W07", "DC:W07:VSet:RBV"}).child_value("description"));
    EXPECT_STREQ("DC:W07 sense wire State",
                 pv({"DC", "W07", "DC:W07:State"}).child_value("description"));
    Counter counter;
    tree().traverse(counter);
    EXPECT_EQ(4u + 3, counter.pvs.size()); // and the health
}

TEST_F(SiteAlarmTree, ChannelsWithoutStateOrLimitsHaveNoPlace)
{
    PlannedBoard &board = sample.add("HV", boards(1, 2)).boards[0];
    board.channels[0].hasState = false;
    board.channels[1].hasState = false;
    limitVoltage(board.channels[1]);
    Counter counter;
    tree().traverse(counter);
    EXPECT_EQ((std::multiset<std::string>{"HV:00:001:VMon", "HV:Health:Inserted", "HV:Health:Lost",
                                          "HV:Health:ScansRefused"}),
              counter.pvs);
    EXPECT_EQ(0, counter.emptyComponents);
}

TEST_F(SiteAlarmTree, BoardsAndCratesHaveLimitsToo)
{
    PlannedCrate &crate = sample.add("HV", boards(2, 0));
    crate.boards[1].parameters[0].limits.hihi = Threshold{60, Severity::Major};
    crate.boards[1].description = "Layer 2";
    crate.boards[1].alarm.guidance = "Fans";
    const pugi::xml_node found = pv({"HV", "01", "HV:01:Temp"});
    EXPECT_STREQ("HV:01 Layer 2 Temp", found.child_value("description"));
    EXPECT_STREQ("Fans", found.child("guidance").child_value("details"));
    EXPECT_STREQ("screens/HV-01.bob", found.child("display").child_value("details"));
}

TEST_F(SiteAlarmTree, TheHealthOfEachCratesServerIsWatched)
{
    sample.add("HV", boards(1, 1));
    sample.add("LV", boards(1, 1));
    EXPECT_STREQ("screens/HV.bob",
                 pv({"HV", "Health", "HV:Health:Lost"}).child("display").child_value("details"));
    for (const char *each : {"HV:Health:ScansRefused", "HV:Health:Inserted"})
        EXPECT_TRUE(pv({"HV", "Health", each})) << each;
    EXPECT_TRUE(pv({"LV", "Health", "LV:Health:Lost"}));
}

TEST_F(SiteAlarmTree, EveryDisplayIsAScreenThatIsWritten)
{
    PlannedCrate &crate = sample.add("H&V 1", boards(2, 3));
    crate.boards[0].channels[0].roles.power = nullptr;
    crate.boards[1].channels[2].description = "100 % & more?";
    std::set<std::string> files;
    for (const OutputFile &each : screens(sample.plan))
        files.insert(each.path);
    for (const pugi::xpath_node &each : tree().select_nodes("//display/details")) {
        const std::string address = each.node().text().get();
        EXPECT_EQ(1, files.count(address.substr(0, address.find('?')))) << address;
        EXPECT_EQ(std::string::npos, address.find_first_of(" <>\"'")) << address;
    }
}

TEST_F(SiteAlarmTree, AChannelsScreenIsToldWhichChannel)
{
    PlannedChannel &channel = sample.add("HV", boards(1, 1)).boards[0].channels[0];
    nameChannel(channel, "DC:W07");
    channel.description = "100 % & more?";
    const std::string address =
        pv({"DC", "W07", "DC:W07:State"}).child("display").child_value("details");
    EXPECT_EQ((std::map<std::string, std::string>{{"P", "DC:W07"},
                                                  {"DETAIL", "100 % & more? (HV slot 0 channel 0)"},
                                                  {"CRATE", "HV"},
                                                  {"BOARD", "HV-00"}}),
              macrosOf(address));
}

TEST_F(SiteAlarmTree, TheScreensMayStandElsewhere)
{
    sample.add("HV", boards(1, 1));
    const std::string text = alarmTree(sample.plan, "/opt/screens/");
    EXPECT_NE(std::string::npos, text.find("<details>/opt/screens/HV.bob</details>"));
}

TEST_F(SiteAlarmTree, ALargeSiteHasEachPvOnce)
{
    sample.add("HV", boards(16, 48));
    sample.add("LV", boards(16, 48));
    Counter counter;
    tree().traverse(counter);
    EXPECT_EQ(2u * (16 * 48 + 3), counter.pvs.size()); // and the health
    EXPECT_EQ(counter.pvs.size(),
              std::set<std::string>(counter.pvs.begin(), counter.pvs.end()).size());
    EXPECT_EQ(alarmTree(sample.plan), alarmTree(sample.plan));
}

} // namespace
