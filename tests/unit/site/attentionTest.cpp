#include "comparefiles.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include "compareSupport.h"

namespace {

using namespace siteTest;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(SiteAttention, NothingIsToBeDoneWithoutDifferences)
{
    EXPECT_THAT(attentionLines(), IsEmpty());
}

TEST_F(SiteAttention, ChannelsOfAnEntryAreGone)
{
    board(0).channels.resize(8);
    board(2).channels.resize(8); // has no entry
    EXPECT_THAT(attentionLines(), ElementsAre("12 slot 0, channels 8-11: gone"));
    entry().ranges.value = {{0, 0, 10, 11}, {0, 0, 9, 9}};
    EXPECT_THAT(attentionLines(), ElementsAre("12 slot 0, channels 9-11: gone"));
    entry().ranges.value = {{0, 0, 0, 7}};
    EXPECT_THAT(attentionLines(), IsEmpty());
}

TEST_F(SiteAttention, TheBoardOfAnEntryIsGone)
{
    insert(after, 1, std::nullopt);
    Entry &boards = file.entries.emplace_back();
    boards.kind = EntryKind::Boards;
    boards.line = 30;
    boards.ranges.value = {{0, 2, -1, -1}};
    EXPECT_THAT(attentionLines(), ElementsAre("12 slot 1: emptied: ZA12P, serial number 102",
                                              "30 slot 1: emptied: ZA12P, serial number 102"));
}

TEST_F(SiteAttention, NamesMayNotFitAnotherBoard)
{
    board(1).serialNumber = 107;
    EXPECT_THAT(attentionLines(), IsEmpty());
    entry().name = placed(std::string("W##"), 13);
    entry().description = placed(std::string("Wires"), 14);
    const std::string change =
        "slot 1: board exchanged: ZA12P, serial number 102 -> ZA12P, serial number 107; ";
    EXPECT_THAT(attentionLines(), ElementsAre("13 " + change + "check the name",
                                              "14 " + change + "check the description"));
}

TEST_F(SiteAttention, NamesMayNotFitRenamedChannels)
{
    board(1).channels[3].name = "Veto";
    entry().name = placed(std::string("W##"), 13);
    EXPECT_THAT(attentionLines(),
                ElementsAre("13 slot 1, channel 3: name \"SectorB 04\" -> \"Veto\"; check the "
                            "name"));
}

TEST_F(SiteAttention, LimitsLieBeyondNewOnes)
{
    channelParameter("VMon").maximum = 1850;
    channelParameter("VMon").minimum = 10;
    channelParameter("VSet").maximum = 500;
    AlarmLimits limits;
    limits.hihi = Threshold{1900, Severity::Major};
    limits.high = Threshold{1850, Severity::Minor};
    limits.lolo = Threshold{5, Severity::Major};
    entry().limits["VMon"] = placed(limits, 14);
    entry().drive["VSet"] = placed(DriveLimits{0, 600}, 15);
    entry().drive["all"] = placed(DriveLimits{0, 600}, 16);
    const std::string place = " slots 0-1, channels 0-11: ";
    EXPECT_THAT(
        attentionLines(),
        ElementsAre("14" + place + "limit LOLO of VMon, 5, is below the new minimum 10",
                    "14" + place + "limit HIHI of VMon, 1900, is above the new maximum 1850",
                    "15" + place +
                        "upper drive limit of VSet, 600, is above the new "
                        "maximum 500"));
}

TEST_F(SiteAttention, LimitsOfAllAreForThoseThatAreNotNamed)
{
    channelParameter("VMon").maximum = channelParameter("VSet").maximum = 500;
    AlarmLimits limits;
    limits.high = Threshold{600, Severity::Major};
    entry().limits["all"] = placed(limits, 14);
    entry().limits["VSet"] = placed(AlarmLimits(), 15);
    EXPECT_THAT(attentionLines(), ElementsAre("14 slots 0-1, channels 0-11: limit HIGH of VMon, "
                                              "600, is above the new maximum 500"));
}

TEST_F(SiteAttention, LostAndChangedParametersAreNamedByAnEntry)
{
    remove(after.models[0].channel, "SVMax");
    channelParameter("ISet").exponent = -3;
    channelParameter("RUp").mode = sim::Mode::Read;
    channelParameter("Trip").type = sim::ParamType::Text;
    entry().drive["SVMax"] = placed(DriveLimits{0, 600}, 14);
    entry().access["SVMax"] = placed(std::string("experts"), 15);
    entry().limits["ISet"] = placed(AlarmLimits(), 16);
    entry().access["RUp"] = placed(std::string("experts"), 17);
    entry().archive["Trip"] = placed(ArchivePolicy(), 18);
    const std::string place = " slots 0-1, channels 0-11: ";
    EXPECT_THAT(attentionLines(),
                ElementsAre("14" + place + "parameter SVMax is gone; check its drive limits",
                            "15" + place + "parameter SVMax is gone; check its access group",
                            "16" + place + "unit of ISet uA -> mA; check its alarm limits",
                            "17" + place + "mode of RUp read-write -> read; check its access group",
                            "18" + place +
                                "type of Trip numeric -> text; check its archive "
                                "policy"));
}

TEST_F(SiteAttention, DefaultsAreForTheChannelsThatThereAre)
{
    file.entries.clear();
    file.defaults.line = 5;
    file.defaults.archive["SVMax"] = placed(ArchivePolicy(), 6);
    remove(after.models[0].channel, "SVMax");
    remove(after.models[0].board, "Temp");
    file.defaults.archive["Temp"] = placed(ArchivePolicy(), 7); // the board's is none of theirs
    insert(after, 5, std::nullopt);
    board(6).channels.resize(4);
    EXPECT_THAT(attentionLines(), ElementsAre("6 slots 0-2, channels 0-11: parameter SVMax is "
                                              "gone; check its archive policy"));
}

TEST_F(SiteAttention, TheSystemsEntriesAreForTheSystem)
{
    Entry &system = file.entries.emplace_back();
    system.kind = EntryKind::System;
    system.access["Kill"] = placed(std::string("experts"), 40);
    system.access["SVMax"] = placed(std::string("experts"), 41);
    after.commands.erase(after.commands.begin());
    remove(after.models[0].channel, "SVMax");
    EXPECT_THAT(attentionLines(),
                ElementsAre("40 system: command Kill is gone; check its access group"));
}

TEST_F(SiteAttention, EntriesOfOtherCratesAreLeftAlone)
{
    board(0).channels.resize(8);
    entry().crate = placed(std::string("HV"), 12);
    EXPECT_EQ(attentionLines("DETECTOR").size(), 1u); // there is no other
    file.crates.push_back({2, "LV", ""});
    EXPECT_EQ(attentionLines("HV").size(), 1u);
    EXPECT_THAT(attentionLines("LV"), IsEmpty());
}

// ---- files ----

class SiteCompareFiles : public SiteCompare {
protected:
    SiteCompareFiles()
    {
        std::filesystem::create_directory(folder);
        order.before = crateFile("detector");
        order.after = folder + "/after.yaml";
    }
    ~SiteCompareFiles() override { std::filesystem::remove_all(folder); }

    ComparisonStatus compare()
    {
        std::ofstream(order.after) << sim::writeCrate({after, {}});
        return compareFiles(order, out, messages);
    }

    const std::string folder = testing::TempDir() + "compare" + std::to_string(getpid());
    ComparisonOrder order;
    std::ostringstream out;
    Messages messages;
};

TEST_F(SiteCompareFiles, EqualFilesAreSaidToBe)
{
    EXPECT_EQ(compare(), ComparisonStatus::Equal);
    EXPECT_EQ(out.str(), "No differences.\n");
}

TEST_F(SiteCompareFiles, HardwareValuesAndTheSiteFileHaveASectionEach)
{
    board(0).channels.resize(8);
    board(1).channels[0].start["VSet"] = 1.0f;
    order.site = folder + "/site.yaml";
    std::ofstream(order.site) << "site: Test\ncrates: [{name: HV}]\nchannels:\n"
                                 "  - {channels: \"0-1:0-11\"}\n";
    EXPECT_EQ(compare(), ComparisonStatus::Different);
    EXPECT_EQ(out.str(), "slot 0, channels 8-11: gone\n"
                         "\nSet-points and other values:\n"
                         "slot 1, channel 0: VSet 1800 -> 1 V\n"
                         "\nEntries of " +
                             order.site + " that need attention:\n" + order.site +
                             ":4: slot 0, channels 8-11: gone\n");
    EXPECT_THAT(messages.errors, IsEmpty());
}

TEST_F(SiteCompareFiles, ValuesCanBeLeftOut)
{
    board(1).channels[0].start["VSet"] = 1.0f;
    EXPECT_EQ(compare(), ComparisonStatus::Different);
    EXPECT_EQ(out.str(), "Set-points and other values:\nslot 1, channel 0: VSet 1800 -> 1 V\n");
    order.values = false;
    EXPECT_EQ(compare(), ComparisonStatus::Equal);
}

TEST_F(SiteCompareFiles, WhatIsWrongInAFileIsTold)
{
    order.before = folder + "/missing.yaml";
    EXPECT_EQ(compare(), ComparisonStatus::Trouble);
    EXPECT_EQ(out.str(), "");
    EXPECT_THAT(messages.errors, ElementsAre(testing::StartsWith(order.before + ": ")));
}

} // namespace
