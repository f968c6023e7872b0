// The tree that is built from a crate. What is written about it: startupFilesTest, goldenTest.
#include "fileSupport.h"

#include "ZANTO.h"
#include "ZANTOutils.h"

#include <cmath>
#include <ctime>
#include <limits>

namespace {

class TreeBuild : public StartupFilesTest {
protected:
    // Builds from this crate and returns the root.
    ZANTONode &build(const FakeCrate &crate)
    {
        fake.setCrate(crate);
        StdoutCapture quiet;
        EXPECT_EQ(createSystemTree("CRATE", "10.0.0.9", "admin", "secret"), 0);
        return *systemNode;
    }

    // Builds a crate of one board with one channel, each with this parameter.
    ZANTONode &buildWith(const FakeParameter &parameter)
    {
        FakeCrate crate;
        crate.slots = {fakeBoard("A1", 1, {parameter}, {parameter})};
        return build(crate);
    }
};

Lines namesOf(const std::vector<ZANTONode *> &nodes)
{
    Lines names;
    for (const ZANTONode *node : nodes)
        names.push_back(node->getNodeName());
    return names;
}

Lines namesOf(const std::vector<ZANTONodeProperty *> &properties)
{
    Lines names;
    for (const ZANTONodeProperty *property : properties)
        names.push_back(property->getPropName());
    return names;
}

ZANTONode *boardParameter(const ZANTONode &root)
{
    return root.getChildren().at(0)->getParameters().at(0);
}

ZANTONode *channelParameter(const ZANTONode &root)
{
    return root.getChildren().at(0)->getChildren().at(0)->getParameters().at(1);
}

FakeCrate crateOfSlots(size_t count)
{
    FakeCrate crate;
    crate.slots.assign(count, fakeBoard("A1", 1, {fakeOnOff("P", 0, 0)}, {fakeOnOff("P", 0, 0)}));
    return crate;
}

template <typename Use> void forAllNodes(ZANTONode &node, const Use &use)
{
    use(node);
    for (ZANTONode *parameter : node.getParameters())
        forAllNodes(*parameter, use);
    for (ZANTONode *child : node.getChildren())
        forAllNodes(*child, use);
}

} // namespace

// ---- shape ----

TEST_F(TreeBuild, TheTreeHasTheShapeOfTheCrate)
{
    const ZANTONode &root = build(smallFakeCrate());
    EXPECT_EQ(namesOf(root.getParameters()),
              (Lines{"Clear Alarm", "ModelName", "IPAddr", "ConnStat", "NrOfSlot"}));
    ASSERT_EQ(namesOf(root.getChildren()), (Lines{"Board00", "", "Board02"}));
    const ZANTONode &board = *root.getChildren()[2];
    EXPECT_EQ(namesOf(board.getProperties()),
              (Lines{"ChCount", "BdModel", "BdDescr", "SerNum", "FmwRel"}));
    EXPECT_EQ(namesOf(board.getParameters()), (Lines{"Temp", "BdStatus", "Reset"}));
    ASSERT_EQ(namesOf(board.getChildren()), (Lines{"Chan000", "Chan001"}));
    const ZANTONode &channel = *board.getChildren()[1];
    EXPECT_EQ(namesOf(channel.getParameters()),
              (Lines{"Name", "VSet", "IMon", "Pw", "Status", "Mask", "Range"}));
    EXPECT_EQ(namesOf(channel.getParameters()[1]->getProperties()),
              (Lines{"Minval", "Maxval", "Unit", "Exp", "Decimal"}));
    EXPECT_EQ(namesOf(channel.getParameters()[6]->getProperties()),
              (Lines{"Minval", "Maxval", "Unit", "Exp"}));
}

TEST_F(TreeBuild, TheRootCarriesTheLogin)
{
    const ZANTONode &root = build(smallFakeCrate());
    EXPECT_EQ(fake.calls()[0], "InitSystem(2, 0, 10.0.0.9, admin, secret)");
    EXPECT_EQ(ZANTOUtils::SysName, "CRATE");
    EXPECT_EQ(root.getNodeName(), "CRATE");
    EXPECT_EQ(root.getNodeType(), nodeTypeSystemItem);
    EXPECT_EQ(root.getSystemConnType(), 0);
    EXPECT_EQ(root.getInitParam(), "10.0.0.9");
    EXPECT_EQ(root.getUsername(), "admin");
    EXPECT_EQ(root.getPassword(), "secret");
    EXPECT_EQ(root.getAccessRights(), nodeAccessNone);
    EXPECT_EQ(root.getConnectionStatus(), connStatus_OK);
    EXPECT_EQ(root.getSysHandle(), crateHandle);
    EXPECT_EQ(root.getSlotCount(), 3);
}

TEST_F(TreeBuild, EveryNodeButAnEmptySlotHasTheHandle)
{
    forAllNodes(build(smallFakeCrate()), [](const ZANTONode &node) {
        const bool empty = node.getNodeType() == nodeTypeEmptyNode;
        EXPECT_EQ(node.getSysHandle(), empty ? -1 : crateHandle) << node.getNodeName();
    });
}

TEST_F(TreeBuild, EveryNodeOfTheCrateHasTheSystemsName)
{
    ZANTONode &root = build(smallFakeCrate());
    forAllNodes(root, [&](const ZANTONode &node) {
        const bool ours = &node == &root || node.getNodeType() == nodeTypeSystemParam;
        EXPECT_EQ(node.getSysName(), ours ? "" : "CRATE") << node.getNodeName();
    });
}

TEST_F(TreeBuild, AnEmptySlotHasANameOfItsSystemAndNothingElse)
{
    const ZANTONode &slot = *build(smallFakeCrate()).getChildren()[1];
    EXPECT_EQ(slot.getNodeType(), nodeTypeEmptyNode);
    EXPECT_EQ(slot.getSysName(), "CRATE");
    EXPECT_TRUE(slot.getProperties().empty());
    EXPECT_TRUE(slot.getParameters().empty());
    EXPECT_TRUE(slot.getChildren().empty());
}

TEST_F(TreeBuild, FewerThanSevenSlotsAreASmallCrate)
{
    const struct {
        size_t slots;
        int32_t systemType;
    } cases[] = {{0, 3}, {1, 3}, {6, 3}, {7, 2}, {16, 2}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.slots);
        const ZANTONode &root = build(crateOfSlots(c.slots));
        EXPECT_EQ(root.getSystemType(), c.systemType);
        EXPECT_EQ(root.getSlotCount(), c.slots);
        for (const ZANTONode *board : root.getChildren()) {
            EXPECT_EQ(board->getSystemType(), c.systemType);
            for (const ZANTONode *channel : board->getChildren())
                EXPECT_EQ(channel->getSystemType(), c.systemType);
        }
        NodePtr(systemNode).reset();
        systemNode = nullptr;
    }
}

TEST_F(TreeBuild, ParametersKnowTheirBoardAndTheirChannel)
{
    const ZANTONode &board = *build(smallFakeCrate()).getChildren()[2];
    for (const ZANTONode *parameter : board.getParameters()) {
        EXPECT_EQ(parameter->getBdName(), "Board02");
        EXPECT_EQ(parameter->getChName(), "");
        EXPECT_EQ(parameter->getBdSlotNr(), 2);
    }
    const ZANTONode &channel = *board.getChildren()[1];
    EXPECT_EQ(channel.getBdName(), "Board02");
    for (const ZANTONode *parameter : channel.getParameters()) {
        EXPECT_EQ(parameter->getBdName(), "Board02");
        EXPECT_EQ(parameter->getChName(), "Chan001");
        EXPECT_EQ(parameter->getBdSlotNr(), 2);
        EXPECT_EQ(parameter->getChIdx(), 1);
    }
}

TEST_F(TreeBuild, IPAddrHasTheHostOfTheCommandLineAndNoOtherPropertyAValueOfOurs)
{
    const auto parameters = build(smallFakeCrate()).getParameters();
    const auto value = parameters[2]->getNodeValue();
    ASSERT_EQ(parameters[2]->getNodeName(), "IPAddr");
    EXPECT_EQ(value.ZANTOGetValue().toString(), "10.0.0.9");
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_EQ(parameters[1]->getNodeValue().ZANTOGetValue().toString(), "Model 1");
}

TEST_F(TreeBuild, IPAddrHasTheTimeAtWhichItGotTheHost)
{
    const time_t before = std::time(nullptr);
    const auto value = build(smallFakeCrate()).getParameters()[2]->getNodeValue();
    const time_t after = std::time(nullptr);
    EXPECT_GE(value.ZANTOGetTimestamp(), before);
    EXPECT_LE(value.ZANTOGetTimestamp(), after);
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood);
}

TEST_F(TreeBuild, IPAddrIsGoodEvenIfItCannotBeRead)
{
    fake.failCalls("GetSysProp(", 5);
    const auto parameters = build(smallFakeCrate()).getParameters();
    EXPECT_EQ(parameters[2]->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_EQ(parameters[2]->getNodeValue().ZANTOGetValue().toString(), "10.0.0.9");
    EXPECT_EQ(parameters[1]->getNodeValue().ZANTOGetQuality(), nodeValueQualityBad);
}

TEST_F(TreeBuild, TheSystemTellsItsConnectionAndItsSlots)
{
    const auto parameters = build(smallFakeCrate()).getParameters();
    EXPECT_EQ(parameters[3]->getNodeValue().ZANTOGetValue().toString(), "Connection Ok");
    EXPECT_EQ(parameters[4]->getNodeValue().ZANTOGetValue().toUShort(), 3);
}

// ---- display attributes ----

TEST_F(TreeBuild, TheUnitTextIsThePrefixAndTheUnit)
{
    const struct {
        bool exp;
        bool unit;
        const char *text;
    } cases[] = {
        {true, true, "KiloVolt"}, {false, true, "Volt"}, {true, false, "Kilo"}, {false, false, ""}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        FakeParameter parameter = fakeNumeric("P", 0, 0, 0, 1, 2, 3, 0);
        if (!c.exp)
            parameter.properties.erase(VEXAHV_PROP_EXP);
        if (!c.unit)
            parameter.properties.erase(VEXAHV_PROP_UNIT);
        const ZANTONode &root = buildWith(parameter);
        EXPECT_EQ(boardParameter(root)->getExpUnit(), c.text);
        EXPECT_EQ(channelParameter(root)->getExpUnit(), c.text);
        NodePtr(systemNode).reset();
        systemNode = nullptr;
    }
}

TEST_F(TreeBuild, UnitCodeZeroIsCalledNone)
{
    EXPECT_EQ(channelParameter(buildWith(fakeNumeric("P", 0, 0, 0, 1)))->getExpUnit(), "None");
}

TEST_F(TreeBuild, AMaximumLosesItsFractionAndAMinimumKeepsIt)
{
    const ZANTONode &root = buildWith(fakeNumeric("P", 0, 0, 2.5F, 2.5F));
    for (const ZANTONode *parameter : {boardParameter(root), channelParameter(root)}) {
        EXPECT_EQ(parameter->getMaxVal(), 2.0F);
        EXPECT_EQ(parameter->getMinVal(), 2.5F);
    }
}

TEST_F(TreeBuild, LimitsThatAreNoNumbersOrTooLargeAreDefined)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const struct {
        float highest;
        float kept;
    } cases[] = {{nan, 0.0F},
                 {infinity, 2147483648.0F},
                 {-infinity, -2147483648.0F},
                 {1e20F, 2147483648.0F}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.highest);
        const ZANTONode &root = buildWith(fakeNumeric("P", 0, 0, nan, c.highest));
        EXPECT_EQ(channelParameter(root)->getMaxVal(), c.kept);
        EXPECT_TRUE(std::isnan(channelParameter(root)->getMinVal()));
        NodePtr(systemNode).reset();
        systemNode = nullptr;
    }
}

TEST_F(TreeBuild, OnlyChannelParametersHaveDecimals)
{
    const ZANTONode &root = buildWith(fakeNumeric("P", 0, 0, 0, 1, 0, 0, 3));
    EXPECT_EQ(channelParameter(root)->getNodeDecimals(), 3);
    EXPECT_EQ(boardParameter(root)->getNodeDecimals(), -1);
    EXPECT_EQ(boardParameter(root)->getProperties().size(), 5U);
}

TEST_F(TreeBuild, NegativeDecimalsStayNegativeAndHaveNoLine)
{
    for (const int16_t decimals : {int16_t{-1}, int16_t{-3}, int16_t{-32768}}) {
        const ZANTONode &root = buildWith(fakeNumeric("P", 0, 0, 0, 1, 0, 0, decimals));
        EXPECT_EQ(channelParameter(root)->getNodeDecimals(), decimals);
        EXPECT_EQ(contents(databasePath).find("PREC"), std::string::npos) << decimals;
        NodePtr(systemNode).reset();
        systemNode = nullptr;
    }
}

TEST_F(TreeBuild, SwitchesHaveTheLabelsOfTheirStates)
{
    const ZANTONode &root = buildWith(fakeOnOff("P", 0, 0, "Up", "Down"));
    for (const ZANTONode *parameter : {boardParameter(root), channelParameter(root)}) {
        EXPECT_EQ(parameter->getOnString(), "Up");
        EXPECT_EQ(parameter->getOffString(), "Down");
        EXPECT_EQ(parameter->getExpUnit(), "");
    }
}

TEST_F(TreeBuild, WhatCannotBeReadKeepsTheDefaults)
{
    FakeParameter parameter = fakeNumeric("P", 0, 0, 0, 1);
    parameter.properties.clear();
    const ZANTONode &node = *channelParameter(buildWith(parameter));
    EXPECT_TRUE(node.getProperties().empty());
    EXPECT_EQ(node.getMaxVal(), -1.0F);
    EXPECT_EQ(node.getMinVal(), -1.0F);
    EXPECT_EQ(node.getNodeDecimals(), -1);
}

// ---- a mainframe in trouble ----

TEST_F(TreeBuild, ALevelThatCannotBeReadIsMissingAndTheOthersAreThere)
{
    fake.failCalls("GetExecCommList(", 5);
    fake.failCalls("GetBdParamInfo(7, 0)", 5);
    fake.failCalls("GetChParamInfo(7, 2, 1)", 5);
    const ZANTONode &root = build(smallFakeCrate());
    EXPECT_EQ(namesOf(root.getParameters()),
              (Lines{"ModelName", "IPAddr", "ConnStat", "NrOfSlot"}));
    EXPECT_TRUE(root.getChildren()[0]->getParameters().empty());
    EXPECT_EQ(root.getChildren()[0]->getProperties().size(), 5U);
    EXPECT_EQ(root.getChildren()[0]->getChildren().size(), 2U);
    EXPECT_EQ(namesOf(root.getChildren()[2]->getChildren()[1]->getParameters()), Lines{"Name"});
    EXPECT_EQ(root.getChildren()[2]->getChildren()[0]->getParameters().size(), 7U);
}

TEST_F(TreeBuild, NoCrateMapLeavesTheSystemAlone)
{
    fake.failCalls("GetCrateMap(", 5);
    const ZANTONode &root = build(smallFakeCrate());
    EXPECT_TRUE(root.getChildren().empty());
    EXPECT_EQ(root.getSlotCount(), 0);
    EXPECT_EQ(root.getSystemType(), 3);
}

TEST_F(TreeBuild, ListsThatAreMissingFromACrateMapEndTheBuildLoggedOut)
{
    for (const char *list : {"channelCounts", "models", "descriptions", "serialNumbers",
                             "firmwareMinor", "firmwareMajor"}) {
        SCOPED_TRACE(list);
        FakeCrate crate = smallFakeCrate();
        crate.withheldLists = {list};
        fake.setCrate(crate);
        fake.forgetCalls();
        beginNewLife();
        StdoutCapture quiet;
        EXPECT_NE(createSystemTree("CRATE", "10.0.0.9", "admin", "secret"), 0);
        EXPECT_EQ(fake.calls().back(), "DeinitSystem(7)");
        NodePtr(systemNode).reset();
        systemNode = nullptr;
    }
}
