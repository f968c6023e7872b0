#include "iocSupport.h"

#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"
#include "ZANTOrecord.h"
#include "ZANTOutils.h"

#include <aiRecord.h>
#include <aoRecord.h>
#include <biRecord.h>
#include <boRecord.h>
#include <dbAccess.h>
#include <dbChannel.h>
#include <dbEvent.h>
#include <dbLock.h>
#include <dbStaticLib.h>
#include <epicsExit.h>
#include <epicsThread.h>
#include <initHooks.h>
#include <iocInit.h>
#include <mbbiDirectRecord.h>
#include <mbbiRecord.h>
#include <mbboDirectRecord.h>
#include <mbboRecord.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

extern "C" int ZANTO_registerRecordDeviceDriver(dbBase *base);

// ---- output ----

std::string printedAt(int16_t level, const std::function<void()> &action)
{
    std::fflush(stdout);
    const int memory = memfd_create("stdout", MFD_CLOEXEC);
    const int before = dup(STDOUT_FILENO);
    dup2(memory, STDOUT_FILENO);
    DEBUG = level;
    action();
    DEBUG = 0;
    std::fflush(stdout);
    dup2(before, STDOUT_FILENO);
    close(before);
    std::string text;
    char part[4096];
    ssize_t length;
    while ((length = pread(memory, part, sizeof(part), static_cast<off_t>(text.size()))) > 0)
        text.append(part, static_cast<std::size_t>(length));
    close(memory);
    return text;
}

void expectPrintedFrom(int16_t from, const std::string &text,
                       const std::function<void()> &action)
{
    EXPECT_EQ(printedAt(static_cast<int16_t>(from - 1), action), "") << "below level " << from;
    EXPECT_EQ(printedAt(from, action), text) << "at level " << from;
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
    {"Status", nodeTypeChannelParam, nodeDataTypeInt, VEXAHV_PARAM_CHANNEL_STATUS,
     nodeAccessRead},
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
    crate.properties = {fakeSysProp("Text", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READWRITE,
                                    FakeBytes::text(""))};
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

// ---- records ----

namespace {

DBADDR addressOf(const std::string &field)
{
    DBADDR address = {};
    if (dbNameToAddr(field.c_str(), &address) != 0)
        ADD_FAILURE() << "no field " << field;
    return address;
}

class RecordLock {
public:
    explicit RecordLock(dbCommon *record) : m_record(record) { dbScanLock(m_record); }
    ~RecordLock() { dbScanUnlock(m_record); }

private:
    dbCommon *m_record;
};

ZANTODset5 *supportOf(dbCommon *record) { return reinterpret_cast<ZANTODset5 *>(record->dset); }

// Calls `use` with the numeric record in its own type.
template <typename Use> void visit(dbCommon *record, const Use &use)
{
    const std::string type = record->rdes->name;
    if (type == "ai")
        use(reinterpret_cast<aiRecord *>(record));
    else if (type == "ao")
        use(reinterpret_cast<aoRecord *>(record));
    else if (type == "bi")
        use(reinterpret_cast<biRecord *>(record));
    else if (type == "bo")
        use(reinterpret_cast<boRecord *>(record));
    else if (type == "mbbi")
        use(reinterpret_cast<mbbiRecord *>(record));
    else if (type == "mbbo")
        use(reinterpret_cast<mbboRecord *>(record));
    else if (type == "mbbiDirect")
        use(reinterpret_cast<mbbiDirectRecord *>(record));
    else if (type == "mbboDirect")
        use(reinterpret_cast<mbboDirectRecord *>(record));
    else
        ADD_FAILURE() << record->name << " is no number";
}

} // namespace

dbCommon *record(const std::string &name) { return addressOf(name).precord; }

DBLINK *linkOf(const std::string &type, const std::string &node)
{
    const std::string field = recordOf(type, node) + "." + recordType(type).link;
    return static_cast<DBLINK *>(addressOf(field).pfield);
}

double number(const std::string &field)
{
    DBADDR address = addressOf(field);
    double value = 0.0;
    long count = 1;
    EXPECT_EQ(dbGetField(&address, DBR_DOUBLE, &value, nullptr, &count, nullptr), 0) << field;
    return value;
}

std::string text(const std::string &field)
{
    DBADDR address = addressOf(field);
    char value[MAX_STRING_SIZE] = {};
    long count = 1;
    EXPECT_EQ(dbGetField(&address, DBR_STRING, value, nullptr, &count, nullptr), 0) << field;
    return value;
}

void put(const std::string &field, double value)
{
    DBADDR address = addressOf(field);
    dbPutField(&address, DBR_DOUBLE, &value, 1);
}

void put(const std::string &field, const std::string &value)
{
    DBADDR address = addressOf(field);
    char buffer[MAX_STRING_SIZE] = {};
    value.copy(buffer, sizeof(buffer) - 1);
    dbPutField(&address, DBR_STRING, buffer, 1);
}

long callInit(const std::string &name)
{
    dbCommon *common = record(name);
    const RecordLock lock(common);
    return supportOf(common)->init_record(common);
}

long callReadOrWrite(const std::string &name)
{
    dbCommon *common = record(name);
    const RecordLock lock(common);
    return supportOf(common)->read_write(common);
}

void setVal(const std::string &name, double value)
{
    dbCommon *common = record(name);
    const RecordLock lock(common);
    visit(common, [value](auto *typed) {
        using Val = decltype(typed->val);
        typed->val = std::is_floating_point_v<Val>
                         ? static_cast<Val>(value)
                         : static_cast<Val>(static_cast<int64_t>(value));
    });
}

double val(const std::string &name)
{
    dbCommon *common = record(name);
    const RecordLock lock(common);
    double value = 0.0;
    visit(common, [&value](const auto *typed) { value = static_cast<double>(typed->val); });
    return value;
}

// ---- monitors ----

namespace {

dbEventCtx eventContext()
{
    static const dbEventCtx context = [] {
        const dbEventCtx fresh = db_init_events();
        db_start_events(fresh, "monitors", nullptr, nullptr, epicsThreadPriorityMedium);
        return fresh;
    }();
    return context;
}

void onPost(void *monitor, dbChannel *, int, db_field_log *)
{
    static_cast<Monitor *>(monitor)->posted();
}

} // namespace

Monitor::Monitor(const std::string &field) : m_channel(dbChannelCreate(field.c_str()))
{
    auto *channel = static_cast<dbChannel *>(m_channel);
    if (channel == nullptr || dbChannelOpen(channel) != 0) {
        std::fprintf(stderr, "no field %s\n", field.c_str());
        std::abort();
    }
    m_subscription =
        db_add_event(eventContext(), channel, onPost, this, DBE_VALUE | DBE_LOG | DBE_ALARM);
    db_event_enable(m_subscription);
}

Monitor::~Monitor()
{
    db_cancel_event(m_subscription);
    dbChannelDelete(static_cast<dbChannel *>(m_channel));
}

void Monitor::posted()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_posts;
    m_changed.notify_all();
}

bool Monitor::until(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + watchdog;
    while (true) {
        int seen = 0;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            seen = m_posts;
        }
        if (condition())
            return true;
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_changed.wait_until(lock, end, [&] { return m_posts != seen; }))
            return false;
    }
}

// ---- events ----

CallCount::CallCount(const std::string &prefix)
{
    FakeAccessLibrary::instance().setHook([prefix, state = m_state](const std::string &call) {
        if (call.compare(0, prefix.size(), prefix) != 0)
            return;
        std::lock_guard<std::mutex> lock(state->mutex);
        ++state->count;
        state->changed.notify_all();
    });
}

bool CallCount::reaches(int count)
{
    std::unique_lock<std::mutex> lock(m_state->mutex);
    return m_state->changed.wait_for(lock, watchdog,
                                     [this, count] { return m_state->count >= count; });
}

EventConnection::EventConnection()
{
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    m_peer = ends[1];
    FakeAccessLibrary::instance().blockForEvents();
    systemNode->setSysSocket(ends[0]);
    CallCount reading("GetEventData(" + std::to_string(ends[0]) + ")");
    m_thread = std::thread([] { ZANTOEvents_Thread(nullptr); });
    EXPECT_TRUE(reading.reaches(1)) << "the thread must have its socket before another starts";
    FakeAccessLibrary::instance().setHook(nullptr);
}

EventConnection::~EventConnection()
{
    FakeAccessLibrary::instance().closeEvents();
    m_thread.join();
    close(m_peer);
}

void EventConnection::send(const std::vector<VEXAHVEventData_t> &batch) const
{
    FakeAccessLibrary::instance().queueEvents(batch);
}

VEXAHVEventData_t textEvent(const std::string &item, const std::string &value, int channel)
{
    return FakeAccessLibrary::event(channel < 0 ? -1 : 0, channel, item,
                                    FakeBytes::text(value));
}

// ---- IOC ----

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

void startIoc(const std::string &databaseText)
{
    // The driver waits for the port to be settled; the kernel chooses it.
    tcpPort = 0;
    epicsThreadCreate("ZANTOTcpServerThread", 55,
                      epicsThreadGetStackSize(epicsThreadStackBig), tcpServer_Thread, nullptr);
    loadDefinitions();
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
