#include "compareSupport.h"

namespace {

using namespace siteTest;
using testing::ElementsAre;
using testing::IsEmpty;

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

} // namespace
