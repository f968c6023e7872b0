// From the mainframe's event to the record while another one hangs, moves or is missing: each in an
// IOC of its own.
#include "iocSupport.h"

#include "ZANTOAio.h"
#include "ZANTOBio.h"

#include <atomic>
#include <future>

namespace {

using EventsDeathTest = IocDeathTest;

// Counts how often a list's priority was scanned: a record of it passes each processing on.
std::string withScanCounter(const std::string &record)
{
    return "record(ai, \"" + record + "\") { field(FLNK, \"scans\") }\n" +
           "record(calc, \"scans\") { field(CALC, \"VAL+1\") }\n" +
           "record(calc, \"clock\") { field(CALC, \"VAL+1\") field(SCAN, \".1 second\") }\n";
}

void letTicksPass(int count)
{
    Monitor clock("clock");
    const double end = number("clock") + count;
    EXPECT_TRUE(clock.until([end] { return number("clock") >= end; }));
}

} // namespace

// Records of one list may be scanned at different priorities. Those of one that are stuck hold
// up none of another, and their requests do not pile up.
TEST_F(EventsDeathTest, ReachRecordsOfOnePriorityWhileThoseOfAnotherAreStuck)
{
    for (const char *stuck : {"HIGH", "LOW"}) {
        SCOPED_TRACE(stuck);
        inFreshProcess([stuck] {
            const bool high = std::string(stuck) == "HIGH";
            startIoc(generatedRecords("VMon") + generatedRecords("IMon") +
                     "record(ai, \"CRATE:00:001:" + (high ? "IMon" : "VMon") +
                     "\") { field(PRIO, \"HIGH\") }\n");
            constexpr int batches = 5000; // more than the IOC's queue has places
            const EventConnection mainframe;
            CallCount freed("FreeEventData");
            Monitor monitor("CRATE:00:001:VMon");
            Monitor other("CRATE:00:001:IMon");
            queueStatistics(true);
            nodeOf("IMon", 1)->lockSem();
            for (int i = 1; i <= batches; ++i)
                mainframe.send({event("VMon", static_cast<float>(i))});
            EXPECT_TRUE(freed.reaches(batches));
            EXPECT_TRUE(monitor.until([] { return number("CRATE:00:001:VMon") == batches; }));
            mainframe.send({event("IMon", 2.5F)});
            EXPECT_TRUE(freed.reaches(batches + 1));
            const callbackQueueStats statistics = queueStatistics();
            EXPECT_THAT(statistics.numOverflow, ::testing::Each(0));
            EXPECT_THAT(statistics.maxUsed, ::testing::Each(0));
            nodeOf("IMon", 1)->unlockSem();
            EXPECT_TRUE(other.until([] { return number("CRATE:00:001:IMon") == 2.5; }));
        });
    }
}

// A priority that has no records any more is forgotten, and nothing is scanned for it.
TEST_F(EventsDeathTest, ReachARecordThatMovesAndLeaveNoScansBehind)
{
    inFreshProcess([] {
        startIoc(generatedRecords("VMon") + generatedRecords("IMon") +
                 withScanCounter("CRATE:00:001:VMon"));
        const EventConnection mainframe;
        Monitor imon("CRATE:00:001:IMon");
        Monitor scans("scans");
        int expected = 2; // by the start's own processing and by the first pass
        const auto scanned = [&] {
            return scans.until([&] { return number("scans") == expected; });
        };
        EXPECT_TRUE(scanned());
        for (const char *priority : {"HIGH", "LOW"}) {
            put("CRATE:00:001:IMon.PRIO", std::string(priority));
            ++expected; // one scan follows each move, and one each event
            EXPECT_TRUE(scanned()) << priority;
            const float value = *priority == 'H' ? 1.5F : 2.5F;
            mainframe.send({event("VMon", value), event("IMon", value)});
            ++expected;
            EXPECT_TRUE(scanned()) << priority;
            EXPECT_TRUE(imon.until([=] { return number("CRATE:00:001:IMon") == value; }));
        }
        letTicksPass(6); // ten times as long as one scan that was put off
        EXPECT_EQ(number("scans"), expected);
        mainframe.send({event("VMon", 3.5F)});
        ++expected;
        EXPECT_TRUE(scanned());
        letTicksPass(3);
        EXPECT_EQ(number("scans"), expected);
        EXPECT_EQ(number("CRATE:00:001:VMon"), 3.5);
    });
}

// What changes while a record is in no list reaches it when it is back in one.
TEST_F(EventsDeathTest, BetweenTwoListsReachTheRecord)
{
    inFreshProcess([] {
        startIoc(generatedRecords("VMon") + generatedRecords("IMon"));
        Monitor imon("CRATE:00:001:IMon");
        for (const char *priority : {"HIGH", "LOW"}) {
            const double value = *priority == 'H' ? 1.5 : 2.5;
            put("CRATE:00:001:IMon.SCAN", std::string("Passive"));
            give(nodeOf("IMon", 1), variantOf(static_cast<float>(value)));
            ioscanpvt_ai.request();
            put("CRATE:00:001:IMon.PRIO", std::string(priority));
            put("CRATE:00:001:IMon.SCAN", std::string("I/O Intr"));
            EXPECT_TRUE(imon.until([=] { return number("CRATE:00:001:IMon") == value; }));
        }
    });
}

// A set-point's read-back is tied to it and its scan waits, with the records behind it in the
// same list; the tree and the connection go on.
TEST_F(EventsDeathTest, HangInNoWriteButThatOfTheirOwnNode)
{
    inFreshProcess([this] {
        startIoc(generatedRecords("VSet") + generatedRecords("VMon") + generatedRecords("Status") +
                 generatedRecords("Pw") +
                 "record(ai, \"CRATE:00:001:VMon\") { field(PRIO, \"HIGH\") }\n"
                 "record(ai, \"CRATE:00:001:Status\") { field(PRIO, \"HIGH\") }\n");
        const EventConnection mainframe;
        std::promise<void> begun;
        std::promise<void> release;
        std::atomic<int> batches{0};
        fake.setHook([&](const std::string &call) {
            if (call == "FreeEventData")
                ++batches;
            if (call.rfind("SetChParam", 0) != 0)
                return;
            begun.set_value();
            release.get_future().wait();
        });
        Monitor vmon("CRATE:00:001:VMon");
        Monitor status("CRATE:00:001:Status");
        Monitor readBack("CRATE:00:001:VSet:RBV");
        std::thread client([] { put("CRATE:00:001:VSet", 20.0); });
        begun.get_future().wait();
        mainframe.send({event("VSet", 7.5F), event("VMon", 1.5F)});
        mainframe.send({event("Status", int32_t{5}), event("Pw", uint32_t{1})});
        EXPECT_TRUE(vmon.until([] { return number("CRATE:00:001:VMon") == 1.5; }));
        EXPECT_TRUE(status.until([] { return number("CRATE:00:001:Status") == 5; }));
        const auto end = std::chrono::steady_clock::now() + watchdog;
        while (batches < 2 && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        EXPECT_EQ(batches, 2);
        EXPECT_EQ(nodeOf("Pw", 1)->getNodeValue().ZANTOGetValue().toUInt(), 1U);
        EXPECT_EQ(nodeOf("VSet", 1)->getNodeValue().ZANTOGetValue().toFloat(), 0.0F);
        release.set_value();
        client.join();
        EXPECT_EQ(nodeOf("VSet", 1)->getNodeValue().ZANTOGetValue().toFloat(), 7.5F);
        EXPECT_TRUE(readBack.until([] { return number("CRATE:00:001:VSet:RBV") == 7.5; }));
    });
}

// Nor do they wait in the lists of other record types, at the same priority.
TEST_F(EventsDeathTest, OfOtherRecordTypesReachTheirRecordsWhileAWriteHangs)
{
    inFreshProcess([this] {
        startIoc(generatedRecords("VSet") + generatedRecords("VMon") + generatedRecords("Pw") +
                 generatedRecords("Mask") + generatedRecords("Text", -1));
        const EventConnection mainframe;
        Monitor readBack("CRATE:00:001:VSet:RBV");
        Monitor vmon("CRATE:00:001:VMon");
        Monitor power("CRATE:00:001:Pw:RBV");
        Monitor mask("CRATE:00:001:Mask:RBV");
        Monitor words("CRATE:Text:RBV");
        std::promise<void> begun;
        std::promise<void> release;
        fake.setHook([&](const std::string &call) {
            if (call.rfind("SetChParam", 0) != 0)
                return;
            begun.set_value();
            release.get_future().wait();
        });
        std::thread client([] { put("CRATE:00:001:VSet", 20.0); });
        begun.get_future().wait();
        for (int round = 1; round <= 5; ++round) {
            mainframe.send({event("VSet", 7.5F), event("VMon", static_cast<float>(round)),
                            event("Pw", static_cast<uint32_t>(round % 2)),
                            event("Mask", int32_t{round}),
                            textEvent("Text", std::to_string(round), -1)});
            EXPECT_TRUE(
                power.until([round] { return number("CRATE:00:001:Pw:RBV") == round % 2; }));
            EXPECT_TRUE(mask.until([round] { return number("CRATE:00:001:Mask:RBV") == round; }));
            EXPECT_TRUE(
                words.until([round] { return text("CRATE:Text:RBV") == std::to_string(round); }));
        }
        EXPECT_EQ(number("CRATE:00:001:VMon"), 0.0) << "the pass stands at the read-back";
        release.set_value();
        client.join();
        EXPECT_TRUE(vmon.until([] { return number("CRATE:00:001:VMon") == 5.0; }));
        EXPECT_TRUE(readBack.until([] { return number("CRATE:00:001:VSet:RBV") == 7.5; }));
    });
}

// A crate with numbers alone has no list for the rest.
TEST_F(EventsDeathTest, OfATypeWithoutRecordsChangeTheNodesAlone)
{
    inFreshProcess([] {
        startIoc(generatedRecords("VMon"));
        EXPECT_EQ(static_cast<IOSCANPVT>(ioscanpvt_bi), nullptr);
        const EventConnection mainframe;
        Monitor monitor("CRATE:00:001:VMon");
        mainframe.send({event("Pw", uint32_t{1}), event("Mask", int32_t{5}),
                        textEvent("Text", "text", -1), event("Status", int32_t{2})});
        mainframe.send({event("VMon", 12.5F)});
        EXPECT_TRUE(monitor.until([] { return number("CRATE:00:001:VMon") == 12.5; }));
        EXPECT_EQ(nodeOf("Pw", 1)->getNodeValue().ZANTOGetValue().toUInt(), 1U);
        EXPECT_EQ(nodeOf("Text", -1)->getNodeValue().ZANTOGetValue().toString(), "text");
    });
}

TEST_F(EventsDeathTest, WithoutAnyRecordChangeTheNodes)
{
    inFreshProcess([] {
        startIoc("record(calc, \"unrelated\") {}\n");
        const EventConnection mainframe;
        CallCount freed("FreeEventData");
        mainframe.send({event("VMon", 12.5F)});
        EXPECT_TRUE(freed.reaches(1));
        EXPECT_EQ(nodeOf("VMon", 1)->getNodeValue().ZANTOGetValue().toFloat(), 12.5F);
    });
}
