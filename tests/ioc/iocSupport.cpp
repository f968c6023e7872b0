#include "iocSupport.h"

#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"
#include "ZANTOutils.h"

#include <dbAccess.h>
#include <dbStaticLib.h>
#include <epicsAtomic.h>
#include <epicsExit.h>
#include <epicsThread.h>
#include <initHooks.h>
#include <iocInit.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

extern "C" {
int ZANTO_registerRecordDeviceDriver(dbBase *base);
int ZANTOextra_registerRecordDeviceDriver(dbBase *base);
extern int *const pvar_int_ZANTOScanChangedOnly;
}

// ---- tree ----

const DataTypeNode dataTypeNodes[] = {
    {"Int", nodeDataTypeInt, VEXAHV_PARAM_INTEGER},
    {"Short", nodeDataTypeShort, VEXAHV_PARAM_INTEGER},
    {"Long", nodeDataTypeLong, VEXAHV_PARAM_INTEGER},
    {"UInt", nodeDataTypeUInt, VEXAHV_PARAM_ONOFF},
    {"UShort", nodeDataTypeUShort, VEXAHV_PARAM_ONOFF},
    {"ULong", nodeDataTypeULong, VEXAHV_PARAM_ONOFF},
    {"Float", nodeDataTypeFloat, VEXAHV_PARAM_NUMERIC},
    {"String", nodeDataTypeString, VEXAHV_PARAM_STRING},
    {"Bool", nodeDataTypeBool, VEXAHV_PARAM_ONOFF},
    {"Enum", nodeDataTypeEnum, VEXAHV_PARAM_ENUM},
};

namespace {

struct GeneratedNode {
    const char *name;
    nodeType type;
    nodeDataType dataType;
    uint32_t wrapperType;
    nodeAccessRights access;
};

// Of the system, and of channel 1.
constexpr GeneratedNode generatedNodes[] = {
    {"Text", nodeTypeSystemProp, nodeDataTypeString, VEXAHV_SYSPROP_TEXT, nodeAccessReadWrite},
    {"Clear Alarm", nodeTypeSystemCmd, nodeDataTypeString, VEXAHV_PARAM_STRING, nodeAccessWrite},
    {"VSet", nodeTypeChannelParam, nodeDataTypeFloat, VEXAHV_PARAM_NUMERIC, nodeAccessReadWrite},
    {"IMon", nodeTypeChannelParam, nodeDataTypeFloat, VEXAHV_PARAM_NUMERIC, nodeAccessRead},
    {"VMon", nodeTypeChannelParam, nodeDataTypeFloat, VEXAHV_PARAM_NUMERIC, nodeAccessRead},
    {"Early", nodeTypeChannelParam, nodeDataTypeFloat, VEXAHV_PARAM_NUMERIC, nodeAccessRead},
    {"Pw", nodeTypeChannelParam, nodeDataTypeUInt, VEXAHV_PARAM_ONOFF, nodeAccessReadWrite},
    {"Mask", nodeTypeChannelParam, nodeDataTypeInt, VEXAHV_PARAM_INTEGER, nodeAccessReadWrite},
    {"Status", nodeTypeChannelParam, nodeDataTypeInt, VEXAHV_PARAM_CHANNEL_STATUS, nodeAccessRead},
};

ZANTONode *newNode(const std::string &name, nodeType type)
{
    auto node = std::make_unique<ZANTONode>();
    node->ZANTOPrepareNode(name, type, -1, -1, "", "", "");
    node->setSysName("CRATE");
    node->setSysHandle(crateHandle);
    return node.release();
}

ZANTONode *newItem(const GeneratedNode &item, uint16_t channel)
{
    ZANTONode *node = newNode(item.name, item.type);
    node->setDataType(item.dataType);
    node->setParWrapperType(item.wrapperType);
    node->setAccessRights(item.access);
    node->setChIdx(channel);
    return node;
}

bool isOfSystem(const GeneratedNode &item) { return item.type != nodeTypeChannelParam; }

ZANTONode *newTree()
{
    ZANTONode *root = newNode("CRATE", nodeTypeSystemItem);
    ZANTONode *board = newNode("Board00", nodeTypeBoardItem);
    root->addChildNode(board);
    for (const char *name : {"Chan000", "Chan001"})
        board->addChildNode(newNode(name, nodeTypeChannelItem));
    for (const DataTypeNode &kind : dataTypeNodes) {
        const GeneratedNode item = {kind.name, nodeTypeChannelParam, kind.dataType,
                                    kind.wrapperType, nodeAccessReadWrite};
        board->childAt(0)->addParameter(newItem(item, 0));
    }
    for (const GeneratedNode &item : generatedNodes)
        (isOfSystem(item) ? root : board->childAt(1))->addParameter(newItem(item, 1));
    return root;
}

FakeCrate newCrate()
{
    std::vector<FakeParameter> parameters;
    for (const DataTypeNode &kind : dataTypeNodes)
        parameters.push_back(fakePlain(kind.name, kind.wrapperType, VEXAHV_MODE_READWRITE));
    for (const GeneratedNode &item : generatedNodes)
        parameters.push_back(fakePlain(item.name, item.wrapperType, VEXAHV_MODE_READWRITE));
    FakeCrate crate;
    crate.slots = {fakeBoard("A1", 2, {}, parameters)};
    crate.properties = {
        fakeSysProp("Text", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READWRITE, FakeBytes::text(""))};
    crate.commands = {"Clear Alarm"};
    return crate;
}

} // namespace

void plantTree()
{
    ASSERT_TRUE(ZANTOCloseTree(watchdog));
    const std::unique_ptr<ZANTONode> before(systemNode);
    systemNode = newTree();
    ZANTOOpenTree();
}

ZANTONode *nodeOf(const std::string &name, int channel)
{
    const ZANTONode *holder = systemNode;
    return (channel < 0 ? holder : holder->childAt(0)->childAt(channel))->findParameter(name);
}

void give(ZANTONode *node, const variant &value)
{
    const ZANTONode::SemGuard guard(*node);
    node->setNodeValue(ZANTONodeValue(value, nodeValueQualityGood, std::time(nullptr)));
}

// ---- database ----

const RecordType recordTypes[] = {
    {"ai", "ai___", "INP", true},         {"ao", "ao___", "OUT", false},
    {"bi", "bi___", "INP", true},         {"bo", "bo___", "OUT", false},
    {"mbbi", "mbi__", "INP", true},       {"mbbo", "mbo__", "OUT", false},
    {"mbbiDirect", "mbid_", "INP", true}, {"mbboDirect", "mbod_", "OUT", false},
    {"stringin", "sin__", "INP", true},   {"stringout", "sout_", "OUT", false},
};

const RecordType &recordType(const std::string &name)
{
    return *std::find_if(std::begin(recordTypes), std::end(recordTypes),
                         [&name](const RecordType &type) { return type.name == name; });
}

std::string recordOf(const std::string &type, const std::string &node)
{
    return recordType(type).word + std::string(":00:000:") + node;
}

namespace {

std::string recordText(const RecordType &type, const std::string &name)
{
    return "record(" + std::string(type.name) + ", \"" + name +
           "\") {\n  field(DTYP, \"VEXA ZANTO Item\")\n  field(" + type.link + ", \"@" + name +
           "\")\n}\n";
}

std::string databaseText()
{
    std::string text;
    for (const RecordType &type : recordTypes) {
        for (const DataTypeNode &kind : dataTypeNodes)
            text += recordText(type, recordOf(type.name, kind.name));
        text += recordText(type, recordOf(type.name, "Missing"));
    }
    // A string record of a node that the library can write.
    text += recordText(recordType("stringout"), "sout_:Text");
    text += recordText(recordType("stringin"), "sin__:Text");
    // An mbbi record that waits for its list like the other inputs.
    text += "record(mbbi, \"CRATE:00:000:Int\") {\n  field(DTYP, \"VEXA ZANTO Item\")\n"
            "  field(INP, \"@x\")\n  field(SCAN, \"I/O Intr\")\n}\n";
    for (const GeneratedNode &item : generatedNodes)
        text += generatedRecords(item.name, isOfSystem(item) ? -1 : 1);
    return text;
}

void loadRecords(const std::string &text)
{
    FILE *file = fmemopen(const_cast<char *>(text.data()), text.size(), "r");
    // Reads to the end and closes the file.
    if (dbReadDatabaseFP(&pdbbase, file, nullptr, nullptr) != 0) {
        std::fprintf(stderr, "The test database does not load:\n%s", text.c_str());
        std::abort();
    }
}

} // namespace

std::string generatedRecords(const std::string &node, int channel)
{
    return ZANTOUtils::ZANTOCreateStringForDbRecord(nodeOf(node, channel), channel < 0 ? -1 : 0,
                                                    channel);
}

void loadDefinitions()
{
    if (dbReadDatabase(&pdbbase, ZANTO_DBD, nullptr, nullptr) != 0 ||
        ZANTO_registerRecordDeviceDriver(pdbbase) != 0) {
        std::fprintf(stderr, "%s does not load\n", ZANTO_DBD);
        std::abort();
    }
}

void loadExtraDefinitions()
{
    if (dbReadDatabase(&pdbbase, ZANTO_EXTRA_DBD, nullptr, nullptr) != 0 ||
        ZANTOextra_registerRecordDeviceDriver(pdbbase) != 0) {
        std::fprintf(stderr, "%s does not load\n", ZANTO_EXTRA_DBD);
        std::abort();
    }
}

// ---- IOC ----

void setScanChangedOnly(bool on) { epicsAtomicSetIntT(pvar_int_ZANTOScanChangedOnly, on ? 1 : 0); }

namespace {

bool earlyArrived = false;
Lines startCalls;

// An event that comes when the records have been processed once and no scan runs yet: the IOC
// takes no request then.
void updateEarly(initHookState state)
{
    if (state != initHookAfterInitialProcess)
        return;
    IDValue_t value = {};
    value.FloatValue = 3.5F;
    updateNode(0, 1, "Early", value);
}

void prepareCrate()
{
    FakeAccessLibrary::instance().setCrate(newCrate());
    ZANTOUtils::SysName = "CRATE";
    plantTree();
    ZANTOAdvance(ZANTOHappening::loginBegins);
    ZANTOLoggedIn(crateHandle);
    ZANTOAdvance(ZANTOHappening::treeComplete);
    ZANTOAdvance(ZANTOHappening::scriptEnded);
}

void startCommonIoc()
{
    prepareCrate();
    initHookRegister(updateEarly);
    startIoc(databaseText());
    startCalls = FakeAccessLibrary::instance().calls();
    Monitor monitor("CRATE:00:001:Early");
    earlyArrived = monitor.until([] { return number("CRATE:00:001:Early") == 3.5; });
}

} // namespace

void startIoc(const std::string &databaseText, void (*beforeRecords)())
{
    // The driver waits for the port to be settled; the kernel chooses it.
    tcpPort = 0;
    epicsThreadCreate("ZANTOTcpServerThread", 55, epicsThreadGetStackSize(epicsThreadStackBig),
                      tcpServer_Thread, nullptr);
    loadDefinitions();
    if (beforeRecords != nullptr)
        beforeRecords();
    loadRecords(databaseText);
    if (iocBuildIsolated() != 0 || iocRun() != 0)
        std::abort();
}

bool earlyEventArrived() { return earlyArrived; }
Lines callsAtStart() { return startCalls; }

void IocDeathTest::inFreshProcess(const std::function<void()> &scenario)
{
    EXPECT_EXIT(
        {
            alarm(60);
            prepareCrate();
            scenario();
            std::fflush(nullptr);
            _exit(HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

void IocTest::SetUpTestSuite()
{
    static std::once_flag started;
    std::call_once(started, startCommonIoc);
}

void IocTest::SetUp()
{
    DEBUG = 0;
    fake.reset();
    fake.setCrate(newCrate());
    plantTree();
}

void IocTest::TearDown()
{
    fake.setHook(nullptr);
    EXPECT_EQ(fake.unreleased(), 0U);
    EXPECT_EQ(fake.wrongReleases(), 0U);
}

int main(int argc, char *argv[])
{
    ::testing::InitGoogleMock(&argc, argv);
    alarm(300);
    // The pvAccess server starts with the IOC: on this machine alone, on no well-known port.
    setenv("EPICS_PVAS_INTF_ADDR_LIST", "127.0.0.1", 1);
    setenv("EPICS_PVAS_SERVER_PORT", "0", 1);
    setenv("EPICS_PVAS_AUTO_BEACON_ADDR_LIST", "NO", 1);
    setenv("EPICS_PVAS_BEACON_ADDR_LIST", "127.0.0.1", 1);
    const int failed = RUN_ALL_TESTS();
    std::fflush(nullptr);
    epicsExit(failed);
}
