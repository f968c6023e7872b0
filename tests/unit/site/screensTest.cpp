#include "screenPages.h"

#include <chrono>

namespace {

using namespace siteTest;

TEST(SiteScreens, EveryWidgetIsOneThatDesktopAndWebShow)
{
    const Names common{"name", "x", "y", "width", "height", "tooltip", "actions"};
    for (const auto &[file, page] : pagesOf(irregular().plan))
        for (pugi::xml_node widget : page.widgets()) {
            const std::string type = widget.attribute("type").value();
            ASSERT_EQ(1, webTypes().count(type)) << type;
            ASSERT_EQ(1, desktopTypes().count(type)) << type;
            const TypeWords &words = desktopTypes().at(type);
            EXPECT_STREQ(words.version, widget.attribute("version").value());
            for (pugi::xml_node each : widget.children())
                EXPECT_EQ(1, common.count(each.name()) + words.properties.count(each.name()))
                    << file << " " << type << " " << each.name();
        }
}

// Widgets are made from those in a file, where an at sign stands for what differs.
TEST(SiteScreens, NothingIsLeftOpenInAWidget)
{
    for (const auto &[file, page] : pagesOf(irregular().plan))
        EXPECT_EQ(std::string::npos, page.text.find(">@")) << file;
}

TEST(SiteScreens, AScreenIsADisplayOfTheSecondVersion)
{
    for (const auto &[file, page] : pagesOf(irregular().plan)) {
        if (file.find(".bob") == std::string::npos)
            continue;
        EXPECT_STREQ("2.0.0", page.display().attribute("version").value()) << file;
        EXPECT_EQ(0, page.text.find("<?xml")) << file;
    }
}

TEST(SiteScreens, EveryScreenIsReachedByClicksThatAllLeadSomewhere)
{
    const Sample sample = irregular();
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    Names reached;
    for (const auto &[file, macros] : visitAll(pages))
        reached.insert(file);
    for (const auto &[file, page] : pages)
        EXPECT_EQ(file.find(".bob") != std::string::npos, reached.count(file) == 1) << file;
}

TEST(SiteScreens, EveryPictureIsWritten)
{
    const std::map<std::string, Page> pages = pagesOf(irregular().plan);
    for (const auto &[file, page] : pages)
        for (pugi::xml_node widget : page.widgets()) {
            Names pictures;
            if (pugi::xml_node picture = widget.child("file"))
                pictures.insert(picture.text().get());
            for (pugi::xml_node each : widget.child("symbols").children("symbol"))
                pictures.insert(each.text().get());
            for (const std::string &each : pictures)
                EXPECT_EQ(1, pages.count(each)) << file << " " << each;
        }
}

TEST(SiteScreens, EveryRecordShownExists)
{
    const Sample sample = irregular();
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    const Names records = recordsOf(sample.plan);
    for (const auto &[file, macros] : visitAll(pages)) {
        Names shown;
        collectNames(pages.at(file).display(), shown);
        for (const std::string &each : shown)
            EXPECT_EQ(1, records.count(expanded(each, macros))) << file << " " << each;
    }
}

TEST(SiteScreens, NothingOverlapsOrLeavesTheScreen)
{
    for (const auto &[file, page] : pagesOf(irregular().plan)) {
        const Area screen{0, 0, number(page.display(), "width"), number(page.display(), "height")};
        EXPECT_LE(screen.width, 1300) << file;
        std::vector<Area> areas;
        for (pugi::xml_node widget : page.widgets()) {
            const Area area = areaOf(widget);
            EXPECT_TRUE(area.x >= 0 && area.y >= 0 && area.x + area.width <= screen.width &&
                        area.y + area.height <= screen.height)
                << file << " " << widget.child_value("name");
            for (const Area &other : areas)
                ASSERT_FALSE(area.overlaps(other)) << file << " " << widget.child_value("name");
            areas.push_back(area);
        }
    }
}

TEST(SiteScreens, ALargeCrateFitsTheScreenOfALaptop)
{
    Sample sample;
    sample.add("HV", boards(16, 48));
    const auto begin = std::chrono::steady_clock::now();
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    const Page &page = pages.at("HV.bob");
    EXPECT_EQ(16u * 48u, page.widgets("symbol").size());
    EXPECT_LE(number(page.display(), "width"), 1300);
    EXPECT_LE(number(page.display(), "height"), 700);
    EXPECT_LT(page.text.size(), 1500000u);
    EXPECT_EQ(1u + 1 + 16 + 1 + stateCount + 1, pages.size());
}

TEST(SiteScreens, ChannelsStandUnderTheirNumbers)
{
    Sample sample;
    sample.add("HV", {{3, {0, 2, 5}}, {7, {2}}});
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    std::map<std::string, Area> cells;
    for (pugi::xml_node each : pages.at("HV.bob").widgets("symbol"))
        cells[each.child_value("pv_name")] = areaOf(each);
    const Area first = cells.at("HV:03:000:State");
    const Area third = cells.at("HV:03:002:State");
    const Area sixth = cells.at("HV:03:005:State");
    const Area other = cells.at("HV:07:002:State");
    EXPECT_EQ((third.x - first.x) * 5, (sixth.x - first.x) * 2);
    EXPECT_EQ(third.x, other.x);
    EXPECT_EQ(first.y, sixth.y);
    EXPECT_LT(first.y, other.y);
}

TEST(SiteScreens, ManyNarrowBoardsStandInBlocksBesideEachOther)
{
    Sample sample;
    sample.add("HV", boards(64, 12));
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    const pugi::xml_node display = pages.at("HV.bob").display();
    EXPECT_EQ(64u * 12u, pages.at("HV.bob").widgets("symbol").size());
    EXPECT_LE(number(display, "width"), 1300);
    EXPECT_LE(number(display, "height"), 1100);
}

TEST(SiteScreens, ACellShowsItsStateByADrawingForEach)
{
    Sample sample;
    sample.add("HV", boards(1, 1));
    std::map<std::string, Page> pages = pagesOf(sample.plan);
    const std::vector<pugi::xml_node> symbols = pages.at("HV.bob").widgets("symbol");
    ASSERT_EQ(1u, symbols.size());
    Names drawings;
    std::vector<std::string> files;
    for (pugi::xml_node each : symbols[0].child("symbols").children("symbol")) {
        files.emplace_back(each.text().get());
        drawings.insert(pages.at(files.back()).text);
    }
    ASSERT_EQ(stateCount + 1, files.size());
    for (size_t state = 0; state < stateCount; state++)
        EXPECT_EQ(std::string("states/") + stateWords[state].key + ".svg", files[state]);
    EXPECT_EQ(files.size(), drawings.size());
}

TEST(SiteScreens, AChannelThatIsNotConnectedIsNotShownAsOff)
{
    Sample sample;
    sample.add("HV", boards(1, 1));
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    for (const char *file : {"HV.bob", "HV-00.bob", "channel.bob"})
        for (pugi::xml_node each : pages.at(file).widgets("symbol"))
            EXPECT_EQ(static_cast<int>(stateCount), number(each, "initial_index")) << file;
    EXPECT_EQ(1, pages.at("HV.bob").texts("text").count("Not connected"));
}

TEST(SiteScreens, AChannelWithoutStateHasAButtonInstead)
{
    Sample sample;
    PlannedCrate &crate = sample.add("HV", boards(1, 2));
    for (PlannedChannel &each : crate.boards[0].channels)
        each.hasState = false;
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    for (const auto &[file, page] : pages)
        EXPECT_TRUE(page.widgets("symbol").empty()) << file;
    for (const std::string &each : pages.at("HV.bob").texts("pv_name"))
        EXPECT_EQ(0, each.find("HV:Health:")) << each;
    Names files;
    for (const Target &each : targetsOf(pages.at("HV.bob"), {}))
        files.insert(each.file + " " + (each.macros.empty() ? "" : each.macros.at("P")));
    EXPECT_EQ((Names{"index.bob ", "HV-00.bob ", "channel.bob HV:00:000", "channel.bob HV:00:001"}),
              files);
}

TEST(SiteScreens, ChannelsThatDifferInTheirNamesAloneShareAScreen)
{
    Sample sample;
    PlannedCrate &crate = sample.add("HV", boards(2, 4));
    nameChannel(crate.boards[0].channels[1], "DC:S1:W07");
    crate.boards[1].channels[3].roles.current = nullptr;
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    EXPECT_EQ(1, pages.count("channel.bob"));
    EXPECT_EQ(1, pages.count("channel-2.bob"));
    EXPECT_EQ(0, pages.count("channel-3.bob"));
    EXPECT_EQ(1, pages.at("channel.bob").texts("pv_name").count("$(P):IMon"));
    EXPECT_EQ(0, pages.at("channel-2.bob").texts("pv_name").count("$(P):IMon"));
    const Texts macros{
        {"P", "DC:S1:W07"}, {"DETAIL", "HV slot 0 channel 1"}, {"CRATE", "HV"}, {"BOARD", "HV-00"}};
    EXPECT_EQ(1, visitAll(pages).count({"channel.bob", macros}));
}

TEST(SiteScreens, ChannelsOfWhichOneCannotBeWrittenHaveDifferentScreens)
{
    Sample sample;
    PlannedChannel &channel = sample.add("HV", boards(1, 2)).boards[0].channels[1];
    Parameter fixed = *channel.roles.voltageSet->parameter;
    fixed.writable = false;
    channel.parameters[0].parameter = &fixed;
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    EXPECT_EQ(6u, pages.at("channel.bob").widgets("textentry").size());
    EXPECT_EQ(5u, pages.at("channel-2.bob").widgets("textentry").size());
    EXPECT_EQ(1, pages.at("channel-2.bob").texts("pv_name").count("$(P):VSet"));
}

TEST(SiteScreens, ARecordOfAnotherNameIsShownByThatName)
{
    Sample sample;
    PlannedChannel &channel = sample.add("HV", boards(1, 2)).boards[0].channels[1];
    channel.parameters[2].alias = "ANODE:VOLTAGE";
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    const Names shown = pages.at("channel-2.bob").texts("pv_name");
    EXPECT_EQ(1, shown.count("ANODE:VOLTAGE"));
    EXPECT_EQ(1, shown.count("$(P):IMon"));
}

TEST(SiteScreens, HighVoltageIsSwitchedAfterAQuestionOnly)
{
    Sample sample;
    sample.add("HV", boards(1, 1));
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    Texts questions;
    for (pugi::xml_node each : pages.at("channel.bob").widgets("action_button")) {
        pugi::xml_node action = each.child("actions").child("action");
        if (std::string(action.child_value("pv_name")) == "$(P):Pw") {
            EXPECT_STREQ("true", each.child_value("show_confirm_dialog"));
            questions[action.child_value("value")] = each.child_value("confirm_message");
        }
    }
    EXPECT_EQ((Texts{{"0", "Switch $(P) off?"}, {"1", "Switch $(P) on?"}}), questions);
    const std::vector<pugi::xml_node> toggles = pages.at("HV-00.bob").widgets("bool_button");
    ASSERT_EQ(1u, toggles.size());
    EXPECT_STREQ("1", toggles[0].child_value("show_confirm_dialog"));
    EXPECT_STREQ("0", toggles[0].child_value("mode"));
}

TEST(SiteScreens, WhatCannotBeWrittenIsShownOnly)
{
    Sample sample;
    sample.add("HV", boards(1, 1));
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    for (const char *file : {"channel.bob", "HV-00.bob"})
        for (pugi::xml_node each : pages.at(file).widgets("textentry")) {
            const std::string pv = each.child_value("pv_name");
            EXPECT_EQ(std::string::npos, pv.find("Mon")) << pv;
            EXPECT_EQ(std::string::npos, pv.find("RBV")) << pv;
        }
    EXPECT_EQ(6u, pages.at("channel.bob").widgets("textentry").size());
    EXPECT_EQ(2u, pages.at("HV-00.bob").widgets("textentry").size());
}

// The server's read-back of a set-point has no decimals.
TEST(SiteScreens, ReadBacksSayWhatTheirRecordsDoNot)
{
    Sample sample;
    sample.add("HV", boards(1, 1));
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    Texts precisions;
    for (pugi::xml_node each : pages.at("channel.bob").widgets("textupdate"))
        precisions[each.child_value("pv_name")] = each.child_value("precision");
    EXPECT_EQ("3", precisions.at("$(P):VSet:RBV"));
    EXPECT_EQ("", precisions.at("$(P):VMon"));
    EXPECT_EQ("", precisions.at("$(P):Pw:RBV"));
    EXPECT_EQ(0, precisions.count("$(P):Pw"));
    const std::vector<pugi::xml_node> lamps = pages.at("channel.bob").widgets("led");
    ASSERT_EQ(1u, lamps.size());
    EXPECT_STREQ("$(P):Pw:RBV", lamps[0].child_value("pv_name"));
}

TEST(SiteScreens, ATableHasNoColumnForWhatNoChannelHas)
{
    Sample sample;
    PlannedBoard &board = sample.add("HV", boards(1, 2)).boards[0];
    for (PlannedChannel &each : board.channels)
        each.roles.tripCause = nullptr;
    board.channels[0].roles.current = nullptr;
    const Names texts = pagesOf(sample.plan).at("HV-00.bob").texts("text");
    EXPECT_EQ(0, texts.count("Trip cause"));
    EXPECT_EQ(1, texts.count("Current"));
}

TEST(SiteScreens, DescriptionsKeepTheirSignsAndAreNoMacros)
{
    Sample sample;
    sample.plan.title = R"(A & <B> "C" 'D')";
    PlannedCrate &crate = sample.add("HV", boards(1, 1));
    crate.description = "5 $ for $(HOME) & ${HOME}";
    crate.boards[0].channels[0].description = "wire <7> $(P)";
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    EXPECT_EQ(1, pages.at("index.bob").texts("text").count(sample.plan.title));
    EXPECT_EQ(1, pages.at("HV.bob").texts("text").count("5 $ for $ (HOME) & $ {HOME}"));
    bool found = false;
    for (const Target &each : targetsOf(pages.at("HV.bob"), {}))
        if (each.file == "channel.bob")
            found = each.macros.at("DETAIL") == "wire <7> $ (P) (HV slot 0 channel 0)";
    EXPECT_TRUE(found);
}

TEST(SiteScreens, FileNamesAreSafeWhateverACrateIsCalled)
{
    Sample sample;
    const std::vector<std::string> names{"index",  "channel", "HV-00",  "HV",   "HV 1",    "HV_201",
                                         "A/../B", "<&>",     "states", "HV_1", "\xc3\xa4"};
    for (const std::string &each : names)
        sample.add(each, boards(3, 1));
    const std::map<std::string, Page> pages = pagesOf(sample.plan);
    EXPECT_EQ(1 + names.size() * 4 + 1 + stateCount + 1, pages.size());
    const std::string safe = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
    for (const auto &[file, page] : pages) {
        if (file.find("states/") == 0)
            continue;
        EXPECT_EQ(".bob", file.substr(file.find_first_not_of(safe))) << file;
    }
    visitAll(pages);
}

TEST(SiteScreens, TheSamePlanGivesTheSameFiles)
{
    const OutputFiles first = screens(irregular().plan);
    const OutputFiles second = screens(irregular().plan);
    ASSERT_EQ(first.size(), second.size());
    for (size_t at = 0; at < first.size(); at++) {
        EXPECT_EQ(first[at].path, second[at].path);
        EXPECT_EQ(first[at].text, second[at].text);
    }
}

} // namespace
