// Nodes of system properties, commands and further parameters.
#include "unitSupport.h"

#include "ZANTOconfig.h"

namespace {

class ConfigSystem : public ZantoTest {
protected:
    void listProperties(const std::vector<FakeSysProp> &properties)
    {
        FakeCrate crate;
        crate.properties = properties;
        fake.setCrate(crate);
    }

    void listCommands(const Lines &commands)
    {
        FakeCrate crate;
        crate.commands = commands;
        fake.setCrate(crate);
    }
};

std::vector<NodePtr> properties()
{
    return owned(ZANTOConfig::ZANTOConfigCreateSystemProps(crateHandle));
}

std::vector<NodePtr> commands()
{
    return owned(ZANTOConfig::ZANTOConfigCreateSystemExecComm(crateHandle));
}

Lines namesOf(const std::vector<NodePtr> &nodes)
{
    Lines names;
    for (const NodePtr &node : nodes)
        names.push_back(node->getNodeName());
    return names;
}

FakeSysProp textProperty(const std::string &name)
{
    return fakeSysProp(name, VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READ, FakeBytes::text("x"));
}

void expectPrepared(const ZANTONode &node)
{
    EXPECT_EQ(node.getSystemType(), -1);
    EXPECT_EQ(node.getSystemConnType(), -1);
    EXPECT_EQ(node.getInitParam(), "");
    EXPECT_EQ(node.getUsername(), "");
    EXPECT_EQ(node.getPassword(), "");
}

} // namespace

// ---- properties ----

TEST_F(ConfigSystem, PropertiesAreAskedForAndReadInListOrder)
{
    listProperties({textProperty("B"), textProperty("ResFlag"), textProperty("A")});
    EXPECT_EQ(namesOf(properties()), (Lines{"B", "A"}));
    EXPECT_EQ(fake.calls(),
              (Lines{"GetSysPropList(7)", "GetSysPropInfo(7, B)", "GetSysProp(7, B)",
                     "GetSysPropInfo(7, A)", "GetSysProp(7, A)", "Free(sysPropNames)"}));
}

TEST_F(ConfigSystem, APropertyNodeCarriesWhatTheLibrarySays)
{
    listProperties({fakeSysProp("Fans", VEXAHV_SYSPROP_UINT16, VEXAHV_MODE_READWRITE,
                                FakeBytes::of<uint16_t>(3))});
    const time_t before = std::time(nullptr);
    const auto nodes = properties();
    ASSERT_EQ(nodes.size(), 1U);
    const ZANTONode &node = *nodes[0];
    expectPrepared(node);
    EXPECT_EQ(node.getNodeType(), nodeTypeSystemProp);
    EXPECT_EQ(node.getParWrapperType(), 2U);
    EXPECT_EQ(node.getSysHandle(), crateHandle);
    EXPECT_EQ(node.getDataType(), nodeDataTypeUShort);
    EXPECT_EQ(node.getAccessRights(), nodeAccessReadWrite);
    EXPECT_EQ(node.getNodeValue().ZANTOGetValue().toUShort(), 3);
    EXPECT_EQ(node.getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_GE(node.getNodeValue().ZANTOGetTimestamp(), before);
}

TEST_F(ConfigSystem, TypeCodesGiveDataTypes)
{
    const nodeDataType fresh = ZANTONode().getDataType();
    const nodeDataType types[] = {nodeDataTypeString,
                                  nodeDataTypeFloat,
                                  nodeDataTypeUShort,
                                  nodeDataTypeUInt,
                                  nodeDataTypeShort,
                                  nodeDataTypeInt,
                                  nodeDataTypeBool,
                                  fresh,
                                  fresh};
    for (uint32_t type = 0; type < std::size(types); ++type) {
        SCOPED_TRACE(type);
        const NodePtr node(ZANTOConfig::ZANTOConfigCreateNodeSystemProp(crateHandle, "P", type, 1));
        EXPECT_EQ(node->getDataType(), types[type]);
        EXPECT_EQ(node->getAccessRights(), nodeAccessWrite);
    }
}

TEST_F(ConfigSystem, ModeCodesGiveAccessRights)
{
    const nodeAccessRights rights[] = {nodeAccessRead, nodeAccessWrite, nodeAccessReadWrite,
                                       nodeAccessNone, nodeAccessNone};
    for (uint32_t mode = 0; mode < std::size(rights); ++mode) {
        const NodePtr node(ZANTOConfig::ZANTOConfigCreateNodeSystemProp(crateHandle, "P", 0, mode));
        EXPECT_EQ(node->getAccessRights(), rights[mode]) << mode;
    }
    const NodePtr node(
        ZANTOConfig::ZANTOConfigCreateNodeSystemProp(crateHandle, "P", 0, UINT32_MAX));
    EXPECT_EQ(node->getAccessRights(), nodeAccessNone);
}

TEST_F(ConfigSystem, OnlyExactlyResFlagIsSkipped)
{
    listProperties({textProperty("resflag"), textProperty("ResFlag"), textProperty("ResFlags")});
    EXPECT_EQ(namesOf(properties()), (Lines{"resflag", "ResFlags"}));
}

TEST_F(ConfigSystem, AListOfResFlagAloneGivesNoNodesAndIsReleased)
{
    listProperties({textProperty("ResFlag")});
    EXPECT_TRUE(properties().empty());
    EXPECT_EQ(fake.calls(), (Lines{"GetSysPropList(7)", "Free(sysPropNames)"}));
}

TEST_F(ConfigSystem, APropertyWithoutInformationIsLeftOutAndTold)
{
    listProperties({textProperty("A"), textProperty("B"), textProperty("C")});
    fake.failCalls("GetSysPropInfo(7, B)", 5);
    expectPrintedFrom(1, "Error fetching [B] informations\n", [] {
        EXPECT_EQ(namesOf(properties()), (Lines{"A", "C"}));
    });
}

TEST_F(ConfigSystem, APropertyThatCannotBeReadIsMadeAllTheSame)
{
    listProperties({textProperty("A")});
    fake.failCalls("GetSysProp(", 5);
    const auto nodes = properties();
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_EQ(nodes[0]->getNodeValue().ZANTOGetQuality(), nodeValueQualityBad);
}

TEST_F(ConfigSystem, NoPropertyListGivesNoNodesAndReleasesNothing)
{
    const auto none = [] { EXPECT_TRUE(properties().empty()); };
    expectPrintedFrom(1, "\nError fetching system properties\n", none);
    fake.failCalls("GetSysPropList(", 5);
    listProperties({textProperty("A")});
    expectPrintedFrom(1, "\nError fetching system properties\n", none);
    EXPECT_EQ(fake.callsOf("Free("), Lines{});
}

TEST_F(ConfigSystem, AListThatIsMissingGivesNoNodes)
{
    FakeCrate crate;
    crate.properties = {textProperty("A")};
    crate.commands = {"Go"};
    crate.withheldLists = {"sysPropNames", "commandNames"};
    fake.setCrate(crate);
    EXPECT_TRUE(properties().empty());
    EXPECT_TRUE(commands().empty());
}

// ---- commands ----

TEST_F(ConfigSystem, CommandsAreMadeInListOrderWithoutFurtherCalls)
{
    listCommands({"Go", "ResFlag", "Clear Alarm"});
    EXPECT_EQ(namesOf(commands()), (Lines{"Go", "ResFlag", "Clear Alarm"}));
    EXPECT_EQ(fake.calls(), (Lines{"GetExecCommList(7)", "Free(commandNames)"}));
}

TEST_F(ConfigSystem, ACommandNodeIsAWriteOnlyText)
{
    const NodePtr node(ZANTOConfig::ZANTOConfigCreateNodeSystemCmd(crateHandle, "Go"));
    expectPrepared(*node);
    EXPECT_EQ(node->getNodeName(), "Go");
    EXPECT_EQ(node->getNodeType(), nodeTypeSystemCmd);
    EXPECT_EQ(node->getParWrapperType(), 5U);
    EXPECT_EQ(node->getSysHandle(), crateHandle);
    EXPECT_EQ(node->getDataType(), nodeDataTypeString);
    EXPECT_EQ(node->getAccessRights(), nodeAccessWrite);
    EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toInt(), 0);
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(ConfigSystem, NoCommandListHasThePropertiesMessageAndReleasesNothing)
{
    const auto none = [] { EXPECT_TRUE(commands().empty()); };
    expectPrintedFrom(1, "\nError fetching system properties\n", none);
    fake.failCalls("GetExecCommList(", 5);
    listCommands({"Go"});
    expectPrintedFrom(1, "\nError fetching system properties\n", none);
    EXPECT_EQ(fake.callsOf("Free("), Lines{});
}

// ---- further parameters ----

namespace {

std::vector<NodePtr> furtherParams(connStatus status, uint16_t slots)
{
    return owned(ZANTOConfig::ZANTOConfigCreateSystemFurtherParams(status, slots));
}

} // namespace

TEST_F(ConfigSystem, AConnectedSystemHasItsStateAndItsSlotCount)
{
    const auto nodes = furtherParams(connStatus_OK, 65535);
    ASSERT_EQ(namesOf(nodes), (Lines{"ConnStat", "NrOfSlot"}));
    for (const NodePtr &node : nodes) {
        expectPrepared(*node);
        EXPECT_EQ(node->getNodeType(), nodeTypeSystemParam);
        EXPECT_EQ(node->getAccessRights(), nodeAccessRead);
        EXPECT_EQ(node->getParWrapperType(), 0U);
        EXPECT_EQ(node->getSysHandle(), -1);
        EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
    }
    EXPECT_EQ(nodes[0]->getDataType(), nodeDataTypeString);
    EXPECT_EQ(nodes[0]->getConnectionStatus(), connStatus_OK);
    EXPECT_EQ(nodes[0]->getNodeValue().ZANTOGetValue().toString(), "Connection Ok");
    EXPECT_EQ(nodes[1]->getDataType(), nodeDataTypeUShort);
    EXPECT_EQ(nodes[1]->getSlotCount(), 65535);
    EXPECT_EQ(nodes[1]->getNodeValue().ZANTOGetValue().toUShort(), 65535);
    EXPECT_EQ(nodes[1]->getNodeValue().ZANTOGetTimestamp(),
              nodes[0]->getNodeValue().ZANTOGetTimestamp());
}

TEST_F(ConfigSystem, ASystemThatIsNotConnectedHasItsStateOnly)
{
    const struct {
        connStatus status;
        const char *text;
    } cases[] = {{connStatus_PENDING, "Connection Pending"}, {connStatus_KO, "Connection Ko"}};
    for (const auto &c : cases) {
        const auto nodes = furtherParams(c.status, 4);
        ASSERT_EQ(namesOf(nodes), Lines{"ConnStat"});
        EXPECT_EQ(nodes[0]->getConnectionStatus(), c.status);
        EXPECT_EQ(nodes[0]->getNodeValue().ZANTOGetValue().toString(), c.text);
    }
}
