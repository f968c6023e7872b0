// From the mainframe's event to the record that a client sees.
#include "iocSupport.h"

#include "ZANTOAio.h"
#include "ZANTOMBBio.h"

using ::testing::IsEmpty;

namespace {

class Events : public IocTest {
protected:
    // What a client reads at `field` becomes `value` after `events`; false after a while.
    template <typename Value>
    static bool becomes(Monitor &monitor, const std::string &field, const Value &value)
    {
        return monitor.until([&] {
            if constexpr (std::is_arithmetic_v<Value>)
                return number(field) == value;
            else
                return text(field) == value;
        });
    }
};

} // namespace

// ---- start ----

TEST_F(Events, BetweenTheFirstProcessingAndTheScansReachTheRecord)
{
    EXPECT_TRUE(earlyEventArrived());
}

// ---- read-only parameters ----

TEST_F(Events, OfANumberReachItsRecord)
{
    const EventConnection mainframe;
    Monitor monitor("CRATE:00:001:VMon");
    mainframe.send({event("VMon", 12.5F)});
    EXPECT_TRUE(becomes(monitor, "CRATE:00:001:VMon", 12.5));
    EXPECT_EQ(number("CRATE:00:001:VMon.SEVR"), 0);
    mainframe.send({event("VMon", 13.5F), event("VMon", 14.5F)});
    EXPECT_TRUE(becomes(monitor, "CRATE:00:001:VMon", 14.5));
}

TEST_F(Events, OfAStatusReachItsAnalogRecord)
{
    const EventConnection mainframe;
    Monitor monitor("CRATE:00:001:Status");
    mainframe.send({event("Status", int32_t{0x8041})});
    EXPECT_TRUE(becomes(monitor, "CRATE:00:001:Status", 0x8041));
}

TEST_F(Events, OfOneBatchReachRecordsOfEveryType)
{
    const EventConnection mainframe;
    Monitor vmon("CRATE:00:001:VMon");
    Monitor status("CRATE:00:001:Status");
    Monitor power("CRATE:00:001:Pw:RBV");
    Monitor mask("CRATE:00:001:Mask:RBV");
    Monitor words("CRATE:Text:RBV");
    mainframe.send({event("VMon", 1.25F), event("Status", int32_t{3}), event("Pw", uint32_t{1}),
                    event("Mask", int32_t{0xA5}), textEvent("Text", "batch", -1)});
    EXPECT_TRUE(becomes(vmon, "CRATE:00:001:VMon", 1.25));
    EXPECT_TRUE(becomes(status, "CRATE:00:001:Status", 3));
    EXPECT_TRUE(becomes(power, "CRATE:00:001:Pw:RBV", 1));
    EXPECT_TRUE(becomes(mask, "CRATE:00:001:Mask:RBV", 0xA5));
    EXPECT_TRUE(becomes(words, "CRATE:Text:RBV", std::string("batch")));
}

// ---- read-write parameters: the set-point follows, and nothing is written back ----

TEST_F(Events, OfANumberAreCopiedIntoTheSetPointAndNotWritten)
{
    const EventConnection mainframe;
    Monitor copied("CRATE:00:001:VSet:Sync");
    for (const float value : {12.5F, 0.0F, -1.5F}) {
        mainframe.send({event("VSet", value)});
        EXPECT_TRUE(becomes(copied, "CRATE:00:001:VSet:Sync", value));
        EXPECT_EQ(number("CRATE:00:001:VSet:RBV"), value);
        EXPECT_EQ(number("CRATE:00:001:VSet"), value);
    }
    EXPECT_THAT(fake.callsOf("Set"), IsEmpty());
}

TEST_F(Events, OfASwitchAreCopiedIntoTheSetPointAndNotWritten)
{
    const EventConnection mainframe;
    Monitor copied("CRATE:00:001:Pw:Sync");
    for (const uint32_t value : {1U, 0U, 1U}) {
        mainframe.send({event("Pw", value)});
        EXPECT_TRUE(becomes(copied, "CRATE:00:001:Pw:Sync", value));
        EXPECT_EQ(number("CRATE:00:001:Pw"), value);
    }
    EXPECT_THAT(fake.callsOf("Set"), IsEmpty());
}

TEST_F(Events, OfABitPatternAreCopiedIntoTheSetPointAndNotWritten)
{
    const EventConnection mainframe;
    Monitor copied("CRATE:00:001:Mask:Sync");
    for (const int32_t value : {0x8001, 0, 0x1234}) {
        mainframe.send({event("Mask", value | 0x70000)});
        EXPECT_TRUE(becomes(copied, "CRATE:00:001:Mask:Sync", value));
        EXPECT_EQ(number("CRATE:00:001:Mask:RBV"), value);
        EXPECT_EQ(number("CRATE:00:001:Mask"), value);
    }
    EXPECT_THAT(fake.callsOf("Set"), IsEmpty());
}

TEST_F(Events, OfATextAreCopiedIntoTheSetPointAndNotWritten)
{
    const EventConnection mainframe;
    Monitor copied("CRATE:Text:Sync");
    for (const char *value : {"one", "", "two"}) {
        mainframe.send({textEvent("Text", value, -1)});
        EXPECT_TRUE(becomes(copied, "CRATE:Text:Sync", std::string(value)));
        EXPECT_EQ(text("CRATE:Text"), value);
    }
    EXPECT_THAT(fake.callsOf("Set"), IsEmpty());
}

TEST_F(Events, DoNotKeepAClientFromWriting)
{
    const EventConnection mainframe;
    Monitor copied("CRATE:00:001:VSet:Sync");
    mainframe.send({event("VSet", 7.5F)});
    EXPECT_TRUE(becomes(copied, "CRATE:00:001:VSet:Sync", 7.5));
    put("CRATE:00:001:VSet", 20.0);
    EXPECT_EQ(fake.callsOf("Set"), Lines{"SetChParam(7, 0, VSet, 1, [1]) = 20"});
    mainframe.send({event("VSet", 20.0F)});
    EXPECT_TRUE(becomes(copied, "CRATE:00:001:VSet:Sync", 20.0));
    EXPECT_EQ(fake.callsOf("Set").size(), 1U);
}

TEST_F(Events, OfNumbersDoNotProcessMbbiRecords)
{
    const EventConnection mainframe;
    give(nodeOf("Int"), variantOf(int32_t{3}));
    const double before = number("CRATE:00:000:Int");
    const uint32_t asked = ioscanpvt_mbbi.asked();
    Monitor monitor("CRATE:00:001:Mask:RBV");
    mainframe.send({event("Int", int32_t{before == 9 ? 8 : 9}, 0), event("Mask", int32_t{77})});
    EXPECT_TRUE(becomes(monitor, "CRATE:00:001:Mask:RBV", 77));
    EXPECT_EQ(number("CRATE:00:000:Int"), before);
    EXPECT_EQ(ioscanpvt_mbbi.asked(), asked);
    // Their own list scans them.
    Monitor own("CRATE:00:000:Int");
    ioscanpvt_mbbi.request();
    EXPECT_TRUE(becomes(own, "CRATE:00:000:Int", before == 9 ? 8 : 9));
}

TEST_F(Events, OfAnEnumerationChangeTheNodeAndScanNothing)
{
    const EventConnection mainframe;
    Monitor monitor("CRATE:00:001:VMon");
    mainframe.send({event("Enum", int32_t{3}, 0)});
    mainframe.send({event("VMon", 77.5F)});
    EXPECT_TRUE(becomes(monitor, "CRATE:00:001:VMon", 77.5));
    EXPECT_EQ(nodeOf("Enum")->getNodeValue().ZANTOGetValue().toFloat(), 3.0F);
}

TEST_F(Events, AfterANewTreeReachTheRecords)
{
    const EventConnection mainframe;
    Monitor monitor("CRATE:00:001:VMon");
    mainframe.send({event("VMon", 3.25F)});
    EXPECT_TRUE(becomes(monitor, "CRATE:00:001:VMon", 3.25));
    plantTree();
    mainframe.send({event("VMon", 4.25F)});
    EXPECT_TRUE(becomes(monitor, "CRATE:00:001:VMon", 4.25));
}

// ---- many events ----

// The event thread is faster than the records: while one record's pass is stuck, requests must
// neither flood the IOC nor be lost.
TEST_F(Events, ManyBatchesTakeNoPlaceInTheCallbackQueuesAndTheLastValueWins)
{
    constexpr int batches = 100000;
    queueStatistics(true);
    const uint32_t refused = ioscanpvt_ai.refused();
    const uint32_t deferred = ioscanpvt_ai.deferred();
    Monitor monitor("CRATE:00:001:VMon");
    Monitor power("CRATE:00:001:Pw:RBV");
    nodeOf("IMon", 1)->lockSem(); // its ai record waits here, and the list with it
    {
        const EventConnection mainframe;
        CallCount freed("FreeEventData");
        for (int i = 1; i <= batches; ++i)
            mainframe.send(
                {event("VMon", static_cast<float>(i)), event("Pw", static_cast<uint32_t>(i % 2))});
        EXPECT_TRUE(freed.reaches(batches));
    }
    const callbackQueueStats statistics = queueStatistics();
    nodeOf("IMon", 1)->unlockSem();
    EXPECT_TRUE(becomes(monitor, "CRATE:00:001:VMon", batches));
    EXPECT_TRUE(becomes(power, "CRATE:00:001:Pw:RBV", 0));
    for (int priority = 0; priority < NUM_CALLBACK_PRIORITIES; ++priority) {
        EXPECT_EQ(statistics.numOverflow[priority], 0);
        EXPECT_EQ(statistics.maxUsed[priority], 0);
    }
    EXPECT_EQ(ioscanpvt_ai.refused(), refused);
    EXPECT_GT(ioscanpvt_ai.deferred(), deferred + batches - 10);
}

// Without anything in the way: whatever the order of passes and requests, the last one counts.
TEST_F(Events, TheLastOfManyIsNeverLost)
{
    const EventConnection mainframe;
    Monitor monitor("CRATE:00:001:VMon");
    for (int round = 1; round <= 200; ++round) {
        for (int i = 1; i <= 20; ++i)
            mainframe.send({event("VMon", static_cast<float>(round * 100 + i))});
        ASSERT_TRUE(becomes(monitor, "CRATE:00:001:VMon", round * 100 + 20));
    }
}

// ---- two connections ----

TEST_F(Events, OfTwoConnectionsAreBothApplied)
{
    const EventConnection first;
    const EventConnection second;
    CallCount freed("FreeEventData");
    Monitor vmon("CRATE:00:001:VMon");
    Monitor imon("CRATE:00:001:IMon");
    for (int i = 1; i <= 500; ++i) {
        first.send({event("VMon", static_cast<float>(i))});
        second.send({event("IMon", static_cast<float>(i))});
    }
    ASSERT_TRUE(freed.reaches(1000));
    // Until here the two may have overtaken each other.
    first.send({event("VMon", -1.5F)});
    second.send({event("IMon", -2.5F)});
    EXPECT_TRUE(becomes(vmon, "CRATE:00:001:VMon", -1.5));
    EXPECT_TRUE(becomes(imon, "CRATE:00:001:IMon", -2.5));
}
