#include "unitSupport.h"

#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"
#include "ZANTOeventsthread.h"
#include "ZANTOfile.h"
#include "ZANTOlife.h"

#include <fcntl.h>
#include <fstream>
#include <limits>
#include <sstream>
#include <sys/socket.h>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

using Batch = std::vector<VEXAHVEventData_t>;

constexpr const char *ended =
    "\nGetEventData error, update thread exits - error code = [-102]\n";

FakeBytes integer(int32_t value) { return FakeBytes::of(value); }

/// The lists of which a scan has been requested since construction, in the order of `names`.
class RequestedScans {
public:
    RequestedScans()
    {
        for (std::size_t i = 0; i < std::size(lists); ++i)
            m_before[i] = lists[i]->asked();
    }

    Lines names() const
    {
        Lines requested;
        for (std::size_t i = 0; i < std::size(lists); ++i) {
            for (uint32_t n = lists[i]->asked() - m_before[i]; n > 0; --n)
                requested.push_back(listNames[i]);
        }
        return requested;
    }

private:
    static constexpr ZANTOScanList *lists[] = {&ioscanpvt_ai, &ioscanpvt_bi, &ioscanpvt_mbbi,
                                               &ioscanpvt_mbbiDirect, &ioscanpvt_stringin};
    static constexpr const char *listNames[] = {"ai", "bi", "mbbi", "mbbiDirect", "stringin"};
    uint32_t m_before[std::size(lists)] = {};
};

class EventThread : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        ZANTOOpenTree();
        plantTree();
    }

    void TearDown() override
    {
        closeSockets();
        ZantoTest::TearDown();
    }

    // Two channels on a board in slot 1; slot 0 is empty.
    void plantTree()
    {
        systemNode = bareNode("CRATE", nodeTypeSystemItem);
        systemNode->addChildNode(bareNode("", nodeTypeEmptyNode));
        m_board = bareNode("Board01", nodeTypeBoardItem);
        systemNode->addChildNode(m_board);
        for (const char *name : {"Chan000", "Chan001"})
            m_board->addChildNode(bareNode(name, nodeTypeChannelItem));
        plantSocket();
    }

    void plantSocket()
    {
        closeSockets();
        int ends[2] = {-1, -1};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        m_socket = ends[0];
        m_peer = ends[1];
        systemNode->setSysSocket(m_socket);
    }

    void closeSockets()
    {
        for (int *end : {&m_socket, &m_peer}) {
            if (*end >= 0)
                close(*end);
            *end = -1;
        }
    }

    static ZANTONode *addTo(ZANTONode *holder, const std::string &name, nodeType type,
                            uint32_t code, nodeDataType dataType)
    {
        NodePtr node = makeItem(name, type, code, nodeAccessReadWrite);
        node->setDataType(dataType);
        holder->addParameter(node.get());
        return node.release();
    }

    ZANTONode *addChannelParam(const std::string &name, uint32_t code,
                               nodeDataType dataType = nodeDataTypeInt, int channel = 0)
    {
        return addTo(m_board->childAt(channel), name, nodeTypeChannelParam, code, dataType);
    }

    ZANTONode *addSystemProp(const std::string &name, uint32_t code,
                             nodeDataType dataType = nodeDataTypeInt)
    {
        return addTo(systemNode, name, nodeTypeSystemProp, code, dataType);
    }

    // The thread's body on this thread: the fake ends it once the queue is empty. It closes the
    // socket.
    void runThread()
    {
        m_socket = -1;
        ZANTOEvents_Thread(nullptr);
    }

    void deliver(const std::vector<Batch> &batches)
    {
        for (const Batch &batch : batches)
            fake.queueEvents(batch);
        runThread();
    }

    Lines scansOf(const Batch &batch)
    {
        const RequestedScans requested;
        deliver({batch});
        return requested.names();
    }

    static VEXAHVEventData_t channelEvent(const std::string &item, const FakeBytes &value,
                                          int32_t channel = 0)
    {
        return FakeAccessLibrary::event(1, channel, item, value);
    }
    static VEXAHVEventData_t systemEvent(const std::string &item, const FakeBytes &value)
    {
        return FakeAccessLibrary::event(-1, -1, item, value);
    }

    static VEXAHVEventData_t keepAlive()
    {
        return FakeAccessLibrary::event(-1, -1, "", integer(0), KEEPALIVE);
    }

    ZANTONode *m_board = nullptr;
    int m_socket = -1;
    int m_peer = -1;
};

int32_t intOf(ZANTONode *node) { return node->getNodeValue().ZANTOGetValue().toInt(); }

/// The flag file of this machine, put back afterwards as it was.
class LiveInsertionFlag : public EventThread {
protected:
    void SetUp() override
    {
        EventThread::SetUp();
        m_existed = access(ZANTOLiveInsertionPath, F_OK) == 0;
        m_before = text();
    }

    void TearDown() override
    {
        unlink(ZANTOLiveInsertionPath);
        if (m_existed)
            std::ofstream(ZANTOLiveInsertionPath) << m_before;
        EventThread::TearDown();
    }

    static std::string text()
    {
        std::ostringstream contents;
        contents << std::ifstream(ZANTOLiveInsertionPath).rdbuf();
        return contents.str();
    }

    static VEXAHVEventData_t alarm()
    {
        return FakeAccessLibrary::event(1, -1, "", integer(0), ALARM);
    }

private:
    bool m_existed = false;
    std::string m_before;
};

} // namespace

// ---- updateNode ----

TEST_F(EventThread, AnUpdateGivesTheNodeItsValueAndTellsItsTypeCode)
{
    ZANTONode *node = addChannelParam("IMon", VEXAHV_PARAM_INTEGER, nodeDataTypeInt, 1);
    node->setNodeValue(ZANTONodeValue(variantOf(int32_t{1}), nodeValueQualityBad, 0));
    const auto event = channelEvent("IMon", integer(77), 1);
    EXPECT_EQ(updateNode(1, 1, "IMon", event.Value), VEXAHV_PARAM_INTEGER);
    EXPECT_EQ(intOf(node), 77);
    EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_GT(node->getNodeValue().ZANTOGetTimestamp(), 0);
}

TEST_F(EventThread, AnUpdateReachesTheNodeThatTheIndexesName)
{
    ZANTONode *ofSystem = addSystemProp("Item", VEXAHV_SYSPROP_INT32);
    ZANTONode *ofBoard =
        addTo(m_board, "Item", nodeTypeBoardParam, VEXAHV_PARAM_INTEGER, nodeDataTypeInt);
    ZANTONode *ofFirst = addChannelParam("Item", VEXAHV_PARAM_INTEGER, nodeDataTypeInt, 0);
    ZANTONode *ofSecond = addChannelParam("Item", VEXAHV_PARAM_INTEGER, nodeDataTypeInt, 1);
    IDValue_t value = {};
    value.IntValue = 1;
    updateNode(-1, -1, "Item", value);
    value.IntValue = 2;
    updateNode(1, -1, "Item", value);
    value.IntValue = 3;
    updateNode(1, 0, "Item", value);
    value.IntValue = 4;
    updateNode(1, 1, "Item", value);
    EXPECT_EQ(intOf(ofSystem), 1);
    EXPECT_EQ(intOf(ofBoard), 2);
    EXPECT_EQ(intOf(ofFirst), 3);
    EXPECT_EQ(intOf(ofSecond), 4);
}

TEST_F(EventThread, ExtremeIndexesNameNoNode)
{
    addChannelParam("Item", VEXAHV_PARAM_INTEGER);
    IDValue_t value = {};
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    for (const int32_t board : {0, 1, 2, most, -1, least}) {
        for (const int32_t channel : {2, 3, 65536, most}) {
            SCOPED_TRACE(::testing::Message() << board << ":" << channel);
            EXPECT_EQ(updateNode(board, channel, "Item", value), -1);
        }
    }
    EXPECT_EQ(updateNode(most, -1, "Item", value), -1);
    EXPECT_EQ(updateNode(0, 0, "Item", value), -1);
}

TEST_F(EventThread, ATypeCodeOfAParameterIsToldAsItIs)
{
    IDValue_t value = {};
    for (const uint32_t code : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 40U}) {
        const std::string name = "P" + std::to_string(code);
        addChannelParam(name, code);
        EXPECT_EQ(updateNode(1, 0, name.c_str(), value), static_cast<int32_t>(code));
    }
}

TEST_F(EventThread, ATypeCodeOfASystemPropertyIsMapped)
{
    constexpr int32_t expected[] = {5, 0, 0, 0, 0, 0, 1, 7, 8};
    IDValue_t value = {};
    for (uint32_t code = 0; code < std::size(expected); ++code) {
        const std::string name = "P" + std::to_string(code);
        addSystemProp(name, code);
        EXPECT_EQ(updateNode(-1, -1, name.c_str(), value), expected[code]) << code;
    }
}

TEST_F(EventThread, AnUnknownItemIsReportedFromLevel8On)
{
    const IDValue_t value = {};
    const auto update = [&value] { EXPECT_EQ(updateNode(1, 0, "Nope", value), -1); };
    EXPECT_EQ(printedAt(0, update), "");
    EXPECT_THAT(printedAt(7, update), Not(HasSubstr("Error updating")));
    EXPECT_EQ(printedAt(8, update),
              "\nNode [1:0:Nope] not found in tree\n\nError updating item [Nope]\n");
}

TEST_F(EventThread, AnItemWithoutATreeIsReportedFromLevel8On)
{
    NodePtr(systemNode).reset();
    systemNode = nullptr;
    const IDValue_t value = {};
    expectPrintedFrom(8, "\nError finding tree while updating item [VMon]\n",
                      [&value] { EXPECT_EQ(updateNode(1, 0, "VMon", value), -1); });
}

TEST_F(EventThread, AClosedTreeIsNotTouched)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    const auto event = channelEvent("VMon", integer(5));
    ASSERT_TRUE(ZANTOCloseTree(std::chrono::milliseconds(0)));
    EXPECT_EQ(updateNode(1, 0, "VMon", event.Value), -1);
    EXPECT_EQ(intOf(node), 0);
    ZANTOOpenTree();
    EXPECT_EQ(updateNode(1, 0, "VMon", event.Value), VEXAHV_PARAM_INTEGER);
}

TEST_F(EventThread, ANumbersUpdateIsTracedAsTheFloatOfItsBits)
{
    addChannelParam("VMon", VEXAHV_PARAM_NUMERIC, nodeDataTypeFloat);
    addChannelParam("Mask", VEXAHV_PARAM_INTEGER, nodeDataTypeInt);
    const auto real = channelEvent("VMon", FakeBytes::of(12.5F));
    const auto bits = channelEvent("Mask", integer(0x3F800000));
    expectPrintedFrom(10, "Item [VMon] updated - val = 12.500000 \n",
                      [&real] { updateNode(1, 0, "VMon", real.Value); });
    expectPrintedFrom(10, "Item [Mask] updated - val = 1.000000 \n",
                      [&bits] { updateNode(1, 0, "Mask", bits.Value); });
}

TEST_F(EventThread, ATextsUpdateIsTracedAsItsText)
{
    addChannelParam("Name", VEXAHV_PARAM_STRING, nodeDataTypeString);
    const auto event = channelEvent("Name", FakeBytes::text("CH 1 %s"));
    expectPrintedFrom(10, "Item [Name] updated - val = CH 1 %s\n",
                      [&event] { updateNode(1, 0, "Name", event.Value); });
}

// ---- batches ----

TEST_F(EventThread, ReadsTheSystemNodesSocketUntilItFails)
{
    const std::string call = "GetEventData(" + std::to_string(m_socket) + ")";
    deliver({{keepAlive()}, {keepAlive()}});
    EXPECT_THAT(fake.callsOf("GetEventData"), ElementsAre(call, call, call));
}

TEST_F(EventThread, AppliesEveryEventOfABatchInOrder)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    ZANTONode *other = addChannelParam("IMon", VEXAHV_PARAM_INTEGER);
    deliver({{channelEvent("VMon", integer(1)), channelEvent("IMon", integer(8)),
              channelEvent("VMon", integer(2))},
             {channelEvent("IMon", integer(9))}});
    EXPECT_EQ(intOf(node), 2);
    EXPECT_EQ(intOf(other), 9);
}

TEST_F(EventThread, AnUnknownItemDoesNotKeepTheRestOfTheBatch)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    EXPECT_THAT(scansOf({channelEvent("Nope", integer(1)), channelEvent("", integer(1)),
                         channelEvent("VMon", integer(2))}),
                ElementsAre("mbbiDirect"));
    EXPECT_EQ(intOf(node), 2);
}

TEST_F(EventThread, AnItemNameThatFillsItsSlotNeedsNoNul)
{
    const std::string name = "TwentyLettersLongXXX";
    ASSERT_EQ(name.size(), std::size_t{VEXAHV_ITEM_ID_SIZE});
    ZANTONode *node = addChannelParam(name, VEXAHV_PARAM_INTEGER);
    VEXAHVEventData_t event = channelEvent("", integer(5));
    std::memcpy(event.ItemID, name.data(), sizeof(event.ItemID));
    std::memset(&event.Value, 'Z', sizeof(event.Value)); // what a reader beyond the slot finds
    event.Value.IntValue = 6;
    deliver({{event}});
    EXPECT_EQ(intOf(node), 6);
}

TEST_F(EventThread, ATextThatFillsItsSlotNeedsNoNul)
{
    ZANTONode *node = addChannelParam("Text", VEXAHV_PARAM_STRING, nodeDataTypeString);
    VEXAHVEventData_t event = channelEvent("Text", integer(0));
    std::memset(&event.Value, 'Z', sizeof(event.Value));
    deliver({{event}});
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toString(),
              std::string(sizeof(event.Value), 'Z'));
}

TEST_F(EventThread, EveryArrayIsFreedExactlyOnce)
{
    addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    deliver({{channelEvent("VMon", integer(1))}, {channelEvent("Nope", integer(1))}});
    EXPECT_EQ(fake.callsOf("FreeEventData").size(), 2U);
    EXPECT_EQ(fake.allocations(), 2U);
    EXPECT_EQ(fake.unreleased(), 0U);
    EXPECT_EQ(fake.wrongReleases(), 0U);
}

TEST_F(EventThread, ABatchOfNothingWithoutAnArrayIsNotFreed)
{
    FakeCrate crate;
    crate.withheldLists = {"events"};
    fake.setCrate(crate);
    EXPECT_THAT(scansOf({}), IsEmpty());
    EXPECT_THAT(fake.callsOf("FreeEventData"), IsEmpty());
}

TEST_F(EventThread, ABatchOfNothingWithAnArrayIsFreedUnread)
{
    // The fake hands out memory here that cannot be read.
    EXPECT_THAT(scansOf({}), IsEmpty());
    EXPECT_EQ(fake.callsOf("FreeEventData").size(), 1U);
    // It is none of the arrays that the fake keeps books on.
    EXPECT_EQ(fake.wrongReleases(), 1U);
    fake.reset();
}

TEST_F(EventThread, AMissingArrayWithACountIsNotRead)
{
    FakeCrate crate;
    crate.withheldLists = {"events"};
    fake.setCrate(crate);
    EXPECT_THAT(scansOf({channelEvent("VMon", integer(1))}), IsEmpty());
    EXPECT_THAT(fake.callsOf("FreeEventData"), IsEmpty());
}

TEST_F(EventThread, KeepAlivesAndUnknownEventsAreIgnored)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    for (const int32_t type : {int32_t{KEEPALIVE}, 3, -1, std::numeric_limits<int32_t>::max()}) {
        VEXAHVEventData_t event = channelEvent("VMon", integer(5));
        event.Type = type;
        EXPECT_THAT(scansOf({event}), IsEmpty()) << type;
    }
    EXPECT_EQ(intOf(node), 0);
}

// ---- scans ----

TEST_F(EventThread, EachTypeCodeRequestsItsList)
{
    const struct {
        uint32_t code;
        Lines lists;
    } cases[] = {
        {VEXAHV_PARAM_NUMERIC, {"ai"}},      {VEXAHV_PARAM_ONOFF, {"bi"}},
        {VEXAHV_PARAM_CHANNEL_STATUS, {"ai"}}, {VEXAHV_PARAM_BOARD_STATUS, {"ai"}},
        {VEXAHV_PARAM_INTEGER, {"mbbiDirect"}}, {VEXAHV_PARAM_STRING, {"stringin"}},
        {VEXAHV_PARAM_ENUM, {}},             {7, {}},
        {32, {"ai"}}, // a code is taken modulo 32
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.code);
        const std::string name = "P" + std::to_string(c.code);
        addChannelParam(name, c.code);
        plantSocket();
        EXPECT_EQ(scansOf({channelEvent(name, integer(1))}), c.lists);
    }
}

TEST_F(EventThread, NumbersAndStatusesScanTheAiListTwice)
{
    addChannelParam("VMon", VEXAHV_PARAM_NUMERIC, nodeDataTypeFloat);
    addChannelParam("Status", VEXAHV_PARAM_CHANNEL_STATUS);
    EXPECT_THAT(scansOf({channelEvent("VMon", FakeBytes::of(1.0F)),
                         channelEvent("Status", integer(1)),
                         channelEvent("VMon", FakeBytes::of(2.0F))}),
                ElementsAre("ai", "ai"));
}

TEST_F(EventThread, StatusesOfChannelAndBoardScanTheAiListOnce)
{
    addChannelParam("Status", VEXAHV_PARAM_CHANNEL_STATUS);
    addChannelParam("BdStatus", VEXAHV_PARAM_BOARD_STATUS);
    EXPECT_THAT(
        scansOf({channelEvent("Status", integer(1)), channelEvent("BdStatus", integer(1))}),
        ElementsAre("ai"));
}

TEST_F(EventThread, EnumerationsAreUpdatedAndScanNothing)
{
    ZANTONode *node = addChannelParam("Range", VEXAHV_PARAM_ENUM, nodeDataTypeEnum);
    EXPECT_THAT(scansOf({channelEvent("Range", integer(3))}), IsEmpty());
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toFloat(), 3.0F);
}

TEST_F(EventThread, ASystemPropertysTextScansTheStringinList)
{
    ZANTONode *node = addSystemProp("Model", VEXAHV_SYSPROP_TEXT, nodeDataTypeString);
    EXPECT_THAT(scansOf({systemEvent("Model", FakeBytes::text("M1"))}),
                ElementsAre("stringin"));
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toString(), "M1");
}

TEST_F(EventThread, EachBatchRequestsItsScansAnew)
{
    addChannelParam("VMon", VEXAHV_PARAM_NUMERIC);
    addChannelParam("Pw", VEXAHV_PARAM_ONOFF);
    const RequestedScans requested;
    deliver({{channelEvent("VMon", integer(1))},
             {channelEvent("Pw", integer(1))},
             {channelEvent("Pw", integer(0))}});
    EXPECT_THAT(requested.names(), ElementsAre("ai", "bi", "bi"));
}

TEST_F(EventThread, TheRequestsAreTracedInTheirOrder)
{
    for (uint32_t code = 0; code <= VEXAHV_PARAM_ENUM; ++code)
        addChannelParam("P" + std::to_string(code), code);
    Batch batch;
    for (uint32_t code = VEXAHV_PARAM_ENUM + 1; code-- > 0;)
        batch.push_back(channelEvent("P" + std::to_string(code), integer(1)));
    const auto run = [&] {
        plantSocket();
        deliver({batch});
    };
    EXPECT_EQ(printedAt(0, run), "");
    EXPECT_EQ(printedAt(6, run), ended);
    EXPECT_EQ(printedAt(7, run),
              std::string("Processing scanIoRequest - recordAi\n"
                          "Processing scanIoRequest - recordBi\n"
                          "Processing scanIoRequest - recordAi\n"
                          "Processing scanIoRequest - recordMBBiDirect\n"
                          "Processing scanIoRequest - recordStringin\n") +
                  ended);
}

TEST_F(EventThread, TheMaskOfABatchIsTracedAtLevel10)
{
    addChannelParam("Pw", VEXAHV_PARAM_ONOFF);
    addChannelParam("Mask", VEXAHV_PARAM_INTEGER);
    const Batch batch = {channelEvent("Pw", integer(0)), channelEvent("Mask", integer(0))};
    const auto run = [&] {
        plantSocket();
        deliver({batch, {keepAlive()}});
    };
    EXPECT_THAT(printedAt(9, run), Not(HasSubstr("callback type")));
    EXPECT_EQ(printedAt(10, run),
              std::string("Item [Pw] updated - val = 0.000000 \n"
                          "Item [Mask] updated - val = 0.000000 \n"
                          "Type of events received - callback type = 12\n"
                          "Processing scanIoRequest - recordBi\n"
                          "Processing scanIoRequest - recordMBBiDirect\n"
                          "Type of events received - callback type = 0\n") +
                  ended);
}

// ---- end of the thread ----

TEST_F(EventThread, WithoutATreeItEndsAtOnce)
{
    NodePtr(systemNode).reset();
    systemNode = nullptr;
    expectPrintedFrom(1, "\nSystem node not found, update thread exits\n",
                      [] { ZANTOEvents_Thread(nullptr); });
    EXPECT_THAT(fake.calls(), IsEmpty());
}

TEST_F(EventThread, AFailureEndsItWithItsCode)
{
    fake.failCalls("GetEventData", 17);
    expectPrintedFrom(1, "\nGetEventData error, update thread exits - error code = [17]\n",
                      [this] {
                          plantSocket();
                          runThread();
                      });
    EXPECT_EQ(fake.callsOf("GetEventData").size(), 2U) << "one call each time, no retry";
}

TEST_F(EventThread, ItClosesItsSocketWhenItEnds)
{
    const int socket = m_socket;
    deliver({{keepAlive()}});
    EXPECT_EQ(fcntl(socket, F_GETFD), -1);
    char byte = 0;
    EXPECT_EQ(recv(m_peer, &byte, 1, MSG_DONTWAIT), 0) << "the peer sees the end";
}

TEST_F(EventThread, ValuesStayWhenTheConnectionFails)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    deliver({{channelEvent("VMon", integer(5))}});
    EXPECT_EQ(intOf(node), 5);
    EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
}

// ---- live insertion ----

TEST_F(LiveInsertionFlag, AnAlarmReplacesTheFlag)
{
    std::ofstream(ZANTOLiveInsertionPath) << "0\nand what an earlier version wrote\n";
    deliver({{alarm()}});
    EXPECT_EQ(text(), "1\n");
}

TEST_F(LiveInsertionFlag, AnAlarmDoesNotKeepTheRestOfTheBatch)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    EXPECT_THAT(scansOf({alarm(), channelEvent("VMon", integer(5)), alarm()}),
                ElementsAre("mbbiDirect"));
    EXPECT_EQ(intOf(node), 5);
}

TEST_F(LiveInsertionFlag, AnAlarmIsReportedFromLevel1On)
{
    const auto run = [this] {
        plantSocket();
        deliver({{alarm()}});
    };
    EXPECT_EQ(printedAt(0, run), "");
    EXPECT_EQ(printedAt(1, run), std::string("\nLive insertion signal\n") + ended);
}

TEST_F(LiveInsertionFlag, AFlagThatCannotBeWrittenIsReportedAndSkipped)
{
    unlink(ZANTOLiveInsertionPath);
    ASSERT_EQ(symlink("/nowhere/at/all", ZANTOLiveInsertionPath), 0);
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    const auto run = [&] {
        plantSocket();
        deliver({{alarm(), channelEvent("VMon", integer(5))}});
    };
    EXPECT_EQ(printedAt(0, run), "");
    EXPECT_EQ(intOf(node), 5);
    EXPECT_EQ(printedAt(1, run), std::string("\nLive insertion signal\n"
                                             "\nUnable to open file for live insertion event\n") +
                                     ended);
}
