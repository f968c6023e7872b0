#include "comparison/compare.h"

#include <gmock/gmock.h>

#include "attention.h"
#include "comparefiles.h"
#include "description/cratefile.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace {

using namespace sim;
using namespace site;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

std::string crateFile(const std::string &name) { return CRATES_DIR "/" + name + ".yaml"; }

sim::CrateDescription described(const std::string &name)
{
    const auto reading = sim::readCrateFile(crateFile(name));
    EXPECT_THAT(reading.findings, IsEmpty());
    return reading.file.crate;
}

// The detector twice, and what became different. Slots 0 to 2 have 12 channels of ZA12P, 5 and 6
// have 48 of ZA48L, 10 and 11 have 24 of ZA24N.
class SiteCompare : public testing::Test {
protected:
    static sim::ParameterDescription &channelParameter(sim::CrateDescription &crate, size_t model,
                                                       const std::string &name)
    {
        auto &channel = crate.models.at(model).channel;
        const auto found = std::find_if(channel.begin(), channel.end(),
                                        [&](const auto &each) { return each.name == name; });
        EXPECT_NE(found, channel.end()) << name;
        return *found;
    }
    sim::ParameterDescription &channelParameter(const std::string &name)
    {
        return channelParameter(after, 0, name);
    }
    static void remove(std::vector<sim::ParameterDescription> &parameters, const std::string &name)
    {
        const auto *found = sim::findParameter(parameters, name);
        ASSERT_NE(found, nullptr) << name;
        parameters.erase(parameters.begin() + (found - parameters.data()));
    }
    sim::BoardDescription &board(size_t slot) { return *after.slots.at(slot); }
    static void insert(sim::CrateDescription &crate, size_t slot,
                       const std::optional<sim::BoardDescription> &board)
    {
        crate.slots.at(slot) = board;
    }

    Differences differences() const { return compareCrates(before, after); }
    Lines lines() const { return differenceLines(differences()); }
    Lines valueLines() const { return differenceLines(compareValues(before, after)); }

    sim::CrateDescription before = described("detector");
    sim::CrateDescription after = before;
};

TEST_F(SiteCompare, EqualCratesHaveNoDifferences)
{
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_THAT(valueLines(), IsEmpty());
}

TEST_F(SiteCompare, GuessesOfTheCaptureDoNotCount)
{
    after.users[0].password = "other";
    after.commands[0].action = sim::Action::None;
    channelParameter("VSet").role = sim::Role::None;
    board(0).channels[0].load.ohm = 17;
    after.models[0].key = "ZA12P (2)";
    for (const size_t slot : {0u, 1u, 2u})
        board(slot).model = "ZA12P (2)";
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_THAT(valueLines(), IsEmpty());
}

// ---- boards ----

TEST_F(SiteCompare, ASlotIsEmptied)
{
    insert(after, 1, std::nullopt);
    EXPECT_THAT(lines(), ElementsAre("slot 1: emptied: ZA12P, serial number 102"));
}

TEST_F(SiteCompare, ASlotIsFilled)
{
    insert(before, 1, std::nullopt);
    EXPECT_THAT(lines(), ElementsAre("slot 1: filled: ZA12P, serial number 102, 12 channels"));
}

TEST_F(SiteCompare, AMovedBoardIsKnownAgain)
{
    std::swap(after.slots.at(1), after.slots.at(4));
    EXPECT_THAT(lines(), ElementsAre("slot 1: emptied: ZA12P, serial number 102 (now in slot 4)",
                                     "slot 4: filled: ZA12P, serial number 102 (was in slot 1), "
                                     "12 channels"));
}

TEST_F(SiteCompare, TwoBoardsChangePlaces)
{
    for (auto &channel : board(1).channels)
        channel.name = "X";
    for (auto &channel : board(2).channels)
        channel.name = "X";
    before = after;
    std::swap(after.slots.at(1), after.slots.at(2));
    EXPECT_THAT(lines(), ElementsAre("slot 1: board exchanged: ZA12P, serial number 102 (now in "
                                     "slot 2) -> ZA12P, serial number 103 (was in slot 2)",
                                     "slot 2: board exchanged: ZA12P, serial number 103 (now in "
                                     "slot 1) -> ZA12P, serial number 102 (was in slot 1)"));
}

TEST_F(SiteCompare, BoardsOfOneIdentityAreNotTakenForMoved)
{
    board(0).serialNumber = 103; // slot 2 has it too
    before = after;
    insert(after, 0, std::nullopt);
    insert(after, 3, before.slots[0]);
    EXPECT_THAT(lines(), ElementsAre("slot 0: emptied: ZA12P, serial number 103",
                                     "slot 3: filled: ZA12P, serial number 103, 12 channels"));
}

TEST_F(SiteCompare, BoardsWithoutASerialNumberAreNotTakenForMoved)
{
    board(10).serialNumber = 0;
    before = after;
    std::swap(after.slots.at(10), after.slots.at(12));
    EXPECT_THAT(lines(), ElementsAre("slot 10: emptied: ZA24N, serial number 0",
                                     "slot 12: filled: ZA24N, serial number 0, 24 channels"));
}

TEST_F(SiteCompare, ABoardIsExchangedForOneOfItsModel)
{
    board(1).serialNumber = 107;
    board(1).firmwareMinor = 5;
    board(1).description = "12 channels";
    EXPECT_THAT(lines(),
                ElementsAre("slot 1: board exchanged: ZA12P, serial number 102 -> ZA12P, serial "
                            "number 107",
                            "slot 1: firmware 1.04 -> 1.05",
                            "slot 1: description \"12 channels 3 kV 3 mA\" -> \"12 channels\""));
}

TEST_F(SiteCompare, ABoardIsExchangedForOneOfAnotherModel)
{
    for (size_t channel = 0; channel < 24; ++channel)
        board(11).channels[channel].name = before.slots[5]->channels[channel].name;
    insert(after, 5, after.slots[11]);
    insert(after, 11, std::nullopt);
    insert(before, 11, std::nullopt);
    board(5).description = before.slots[5]->description;
    const auto found = lines();
    ASSERT_GE(found.size(), 10u);
    EXPECT_EQ(found[0], "slot 5: board exchanged: ZA48L, serial number 4801 -> ZA24N, serial "
                        "number 2402");
    EXPECT_EQ(found[1], "slot 5: firmware 2.10 -> 3.05");
    EXPECT_EQ(found[2], "slot 5, channels 24-47: gone");
    EXPECT_EQ(found[3], "slot 5: maximum of HVMax 500 -> 8000 V");
    EXPECT_EQ(found[4], "slot 5: parameter Fan Speed is gone");
    EXPECT_EQ(found[5], "slot 5: parameter Interlck is new");
    EXPECT_EQ(found[6], "slot 5, channels 0-23: decimals of VSet 2 -> 1");
    EXPECT_EQ(found[7], "slot 5, channels 0-23: maximum of VSet 500 -> 8000 V");
    EXPECT_EQ(found[8], "slot 5, channels 0-23: unit of ISet mA -> uA");
    EXPECT_EQ(found[9], "slot 5, channels 0-23: maximum of ISet 20 mA -> 500 uA");
}

TEST_F(SiteCompare, ChannelsComeAndGo)
{
    board(0).channels.resize(11);
    board(1).channels.resize(14, board(1).channels[0]);
    EXPECT_THAT(lines(), ElementsAre("slot 0, channel 11: gone", "slot 1, channels 12-13: new"));
}

TEST_F(SiteCompare, ChannelsAreRenamed)
{
    board(0).channels[3].name = "Veto";
    board(0).channels[7].name = "a\nb";
    EXPECT_THAT(lines(), ElementsAre("slot 0, channel 3: name \"SectorA 04\" -> \"Veto\"",
                                     "slot 0, channel 7: name \"SectorA 08\" -> \"a?b\""));
}

// ---- parameters ----

TEST_F(SiteCompare, EverythingAboutAParameterIsCompared)
{
    auto &current = channelParameter("ISet");
    current.minimum = 1;
    current.maximum = 3;
    current.exponent = -3;
    current.decimals = 4;
    current.mode = sim::Mode::Read;
    const std::string place = "slots 0-2, channels 0-11: ";
    EXPECT_THAT(lines(),
                ElementsAre(place + "mode of ISet read-write -> read",
                            place + "unit of ISet uA -> mA", place + "decimals of ISet 2 -> 4",
                            place + "minimum of ISet 0 uA -> 1 mA",
                            place + "maximum of ISet 3000 uA -> 3 mA"));
}

TEST_F(SiteCompare, LabelsAreCompared)
{
    channelParameter("Pw").onLabel = "Ein";
    channelParameter("Pw").offLabel = "Aus";
    EXPECT_THAT(lines(),
                ElementsAre("slots 0-2, channels 0-11: label for on of Pw \"On\" -> \"Ein\"",
                            "slots 0-2, channels 0-11: label for off of Pw \"Off\" -> \"Aus\""));
}

TEST_F(SiteCompare, UnitsWithoutAWordHaveTheirNumber)
{
    channelParameter("Trip").unit = static_cast<sim::Unit>(77);
    channelParameter("RUp").unit = sim::Unit::None;
    EXPECT_THAT(lines(), ElementsAre("slots 0-2, channels 0-11: unit of RUp V/s -> none",
                                     "slots 0-2, channels 0-11: unit of Trip s -> code 77"));
}

TEST_F(SiteCompare, OfAnotherTypeNothingElseIsCompared)
{
    auto &trip = channelParameter("Trip");
    trip.type = sim::ParamType::Text;
    trip.maximum = 0;
    trip.start = std::string("1 s");
    EXPECT_THAT(lines(), ElementsAre("slots 0-2, channels 0-11: type of Trip numeric -> text"));
    EXPECT_THAT(valueLines(), IsEmpty());
}

TEST_F(SiteCompare, ParametersOfSomeChannelsAreFolded)
{
    after.models.push_back(after.models[0]);
    after.models.back().key = "without";
    remove(after.models.back().channel, "SVMax");
    for (const size_t channel : {0u, 1u, 2u, 5u, 11u})
        board(0).channels[channel].model = board(2).channels[channel].model = "without";
    EXPECT_THAT(lines(),
                ElementsAre("slots 0 and 2, channels 0-2, 5 and 11: parameter SVMax is gone"));
}

TEST_F(SiteCompare, ParametersOfBoardsAreCompared)
{
    remove(after.models[0].board, "Temp");
    remove(before.models[0].board, "HVMax");
    EXPECT_THAT(lines(), ElementsAre("slots 0-2: parameter Temp is gone",
                                     "slots 0-2: parameter HVMax is new"));
}

TEST_F(SiteCompare, TheSystemIsCompared)
{
    after.name = "OTHER";
    after.slots.resize(14);
    after.properties.erase(after.properties.begin() + 4);
    after.properties[3].mode = sim::Mode::Read;
    after.commands[3].name = "Beam On";
    EXPECT_THAT(lines(),
                ElementsAre("system: name of the crate \"DETECTOR\" -> \"OTHER\"",
                            "system: number of slots 16 -> 14",
                            "system: mode of Location read-write -> read",
                            "system: property OutPower is gone", "system: command Beam Off is gone",
                            "system: command Beam On is new"));
}

// ---- values ----

TEST_F(SiteCompare, CapturedValuesAreOnesOfTheirOwn)
{
    for (const size_t channel : {0u, 1u, 4u})
        board(1).channels[channel].start["VSet"] = 1750.5f;
    board(1).channels[2].start["Pw"] = 1u;
    board(1).start["BdEnable"] = 0u;
    after.properties[1].start = std::string("1.00.05");
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_THAT(valueLines(), ElementsAre("system: SwRelease \"1.00.04\" -> \"1.00.05\"",
                                          "slot 1: BdEnable Enabled -> Disabled",
                                          "slot 1, channels 0-1 and 4: VSet 1800 -> 1750.5 V",
                                          "slot 1, channel 2: Pw Off -> On"));
}

TEST_F(SiteCompare, ValuesThatTheCrateMakesAreNotCompared)
{
    board(1).channels[0].start["VMon"] = 1750.0f;
    after.properties[2].start = std::string("192.168.0.7"); // has the host address' role
    EXPECT_THAT(valueLines(), IsEmpty());
}

// ---- the site file ----

template <class Value> Placed<Value> placed(Value value, int line) { return {value, line}; }

class SiteAttention : public SiteCompare {
protected:
    SiteAttention()
    {
        file.crates = {{1, "HV", ""}};
        file.channels.resize(1);
        entry().line = 12;
        entry().ranges = placed(std::vector<Range>{{0, 1, 0, 11}}, 12);
    }

    Entry &entry() { return file.channels.front(); }
    Lines attentionLines(const std::string &crate = "HV") const
    {
        Lines found;
        for (const auto &[line, text] : attention(file, crate, differences()))
            found.push_back(std::to_string(line) + ' ' + text);
        return found;
    }

    SiteFile file;
};

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
    file.boards.resize(1);
    file.boards[0].line = 30;
    file.boards[0].ranges.value = {{0, 2, -1, -1}};
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
    file.channels.clear();
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
    file.system.resize(1);
    file.system[0].access["Kill"] = placed(std::string("experts"), 40);
    file.system[0].access["SVMax"] = placed(std::string("experts"), 41);
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

class SiteCompareFiles : public SiteAttention {
protected:
    SiteCompareFiles()
    {
        std::filesystem::create_directory(folder);
        order.before = crateFile("detector");
        order.after = folder + "/after.yaml";
        order.sitePath = "site.yaml";
    }
    ~SiteCompareFiles() override { std::filesystem::remove_all(folder); }

    ComparisonStatus compare()
    {
        std::ofstream(order.after) << sim::writeCrate({after, {}});
        return compareFiles(order, out, errors);
    }

    const std::string folder = testing::TempDir() + "compare" + std::to_string(getpid());
    ComparisonOrder order;
    std::ostringstream out;
    std::ostringstream errors;
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
    order.site = &file;
    EXPECT_EQ(compare(), ComparisonStatus::Different);
    EXPECT_EQ(out.str(), "slot 0, channels 8-11: gone\n"
                         "\nSet-points and other values:\n"
                         "slot 1, channel 0: VSet 1800 -> 1 V\n"
                         "\nEntries of site.yaml that need attention:\n"
                         "site.yaml:12: slot 0, channels 8-11: gone\n");
    EXPECT_EQ(errors.str(), "");
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
    EXPECT_THAT(errors.str(), testing::StartsWith(order.before + ": "));
}

} // namespace
