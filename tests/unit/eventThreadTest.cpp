#include "eventThreadSupport.h"

#include "ZANTOlookup.h"

#include <cstring>
#include <fcntl.h>
#include <limits>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

constexpr const char *ended = "\nGetEventData error, update thread exits - error code = [-102]\n";

class LiveInsertionFlag : public EventThreadOn<StartupFilesTest> {
protected:
    static VEXAHVEventData_t alarm()
    {
        return FakeAccessLibrary::event(1, -1, "", integer(0), ALARM);
    }
};

} // namespace

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

// The nodes of a long batch are looked for ahead of their events.
TEST_F(EventThread, WithAnIndexABatchEndsAsWithoutOne)
{
    const std::vector<ZANTONode *> nodes = {
        addChannelParam("VMon", VEXAHV_PARAM_INTEGER),
        addChannelParam("IMon", VEXAHV_PARAM_NUMERIC),
        addChannelParam("VMon", VEXAHV_PARAM_ONOFF, nodeDataTypeInt, 1),
        addSystemProp("Sessions", VEXAHV_SYSPROP_TEXT)};
    Batch batch;
    for (int32_t i = 0; i < 60; i += 6) {
        batch.insert(batch.end(),
                     {channelEvent("VMon", integer(i)), keepAlive(),
                      channelEvent("Nope", integer(i)), channelEvent("IMon", integer(i + 1))});
        if (i < 30)
            batch.push_back(systemEvent("Sessions", integer(i + 2)));
    }
    struct Outcome {
        std::vector<int32_t> values;
        Lines scans;
    } outcomes[2];
    for (Outcome &outcome : outcomes) {
        for (ZANTONode *node : nodes)
            node->setNodeValue(ZANTONodeValue(variantOf(-1), nodeValueQualityGood, 0));
        outcome.scans = scansOf(batch);
        for (ZANTONode *node : nodes)
            outcome.values.push_back(intOf(node));
        plantSocket();
        ZANTOIndexTree();
    }
    EXPECT_THAT(outcomes[0].values, ElementsAre(54, 55, -1, 26));
    EXPECT_EQ(outcomes[1].values, outcomes[0].values);
    EXPECT_EQ(outcomes[1].scans, outcomes[0].scans);
    ZANTONode *const root = systemNode;
    systemNode = nullptr;
    ZANTOIndexTree(); // drops the index
    systemNode = root;
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
        {VEXAHV_PARAM_NUMERIC, {"ai"}},
        {VEXAHV_PARAM_ONOFF, {"bi"}},
        {VEXAHV_PARAM_CHANNEL_STATUS, {"ai"}},
        {VEXAHV_PARAM_BOARD_STATUS, {"ai"}},
        {VEXAHV_PARAM_INTEGER, {"mbbiDirect"}},
        {VEXAHV_PARAM_STRING, {"stringin"}},
        {VEXAHV_PARAM_ENUM, {}},
        {7, {}},
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
    EXPECT_THAT(
        scansOf({channelEvent("VMon", FakeBytes::of(1.0F)), channelEvent("Status", integer(1)),
                 channelEvent("VMon", FakeBytes::of(2.0F))}),
        ElementsAre("ai", "ai"));
}

TEST_F(EventThread, StatusesOfChannelAndBoardScanTheAiListOnce)
{
    addChannelParam("Status", VEXAHV_PARAM_CHANNEL_STATUS);
    addChannelParam("BdStatus", VEXAHV_PARAM_BOARD_STATUS);
    EXPECT_THAT(scansOf({channelEvent("Status", integer(1)), channelEvent("BdStatus", integer(1))}),
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
    EXPECT_THAT(scansOf({systemEvent("Model", FakeBytes::text("M1"))}), ElementsAre("stringin"));
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
    EXPECT_EQ(printedAt(7, run), std::string("Processing scanIoRequest - recordAi\n"
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
    EXPECT_EQ(printedAt(10, run), std::string("Item [Pw] updated - val = 0.000000 \n"
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
    expectPrintedFrom(1, "\nGetEventData error, update thread exits - error code = [17]\n", [this] {
        plantSocket();
        runThread();
    });
    EXPECT_EQ(fake.callsOf("GetEventData").size(), 2U) << "one call each time, no retry";
}

TEST_F(EventThread, WhatAFailedCallLeavesBehindIsNeitherReadNorFreed)
{
    addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    deliver({{channelEvent("VMon", integer(1))}});
    EXPECT_EQ(fake.callsOf("FreeEventData").size(), 1U) << "the one batch that came";
    EXPECT_EQ(fake.wrongReleases(), 0U);
    plantSocket();
    fake.failCalls("GetEventData", 17);
    runThread();
    EXPECT_EQ(fake.callsOf("FreeEventData").size(), 1U);
    EXPECT_EQ(fake.wrongReleases(), 0U);
}

TEST_F(EventThread, ABatchIsFreedAfterItsScansWereRequested)
{
    addChannelParam("VMon", VEXAHV_PARAM_NUMERIC);
    addChannelParam("Pw", VEXAHV_PARAM_ONOFF);
    const RequestedScans requested;
    Lines whenFreed;
    fake.setHook([&](const std::string &call) {
        if (call == "FreeEventData")
            whenFreed = requested.names();
    });
    deliver({{channelEvent("VMon", integer(1)), channelEvent("Pw", integer(1))}});
    EXPECT_THAT(whenFreed, ElementsAre("ai", "bi"));
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
    put(liveInsertionPath, "0\nand what an earlier version wrote\n");
    deliver({{alarm()}});
    EXPECT_EQ(contents(liveInsertionPath), "1\n");
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
    ASSERT_EQ(symlink("/nowhere/at/all", liveInsertionPath), 0);
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
