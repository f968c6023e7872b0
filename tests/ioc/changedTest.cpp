// Events that make only the records process that show what changed: each in an IOC of its own.
#include "iocSupport.h"

#include "ZANTOAio.h"
#include "ZANTOchangedrecords.h"

#include <epicsThread.h>
#include <initHooks.h>
#include <iocInit.h>

#include <future>
#include <map>
#include <random>

using ::testing::IsEmpty;

namespace {

using Counts = std::map<std::string, double>;

// The records at whose ends there are counters, by their counters' names.
const struct {
    const char *counter;
    const char *type;
    const char *record;
} ends[] = {
    {"VMon", "ai", "CRATE:00:001:VMon"},     {"IMon", "ai", "CRATE:00:001:IMon"},
    {"Status", "ai", "CRATE:00:001:Status"}, {"VSet", "ao", "CRATE:00:001:VSet:Sync"},
    {"Pw", "bo", "CRATE:00:001:Pw:Sync"},    {"Mask", "mbboDirect", "CRATE:00:001:Mask:Sync"},
    {"Text", "stringout", "CRATE:Text:Sync"}};

std::string countedRecords()
{
    std::string text = generatedRecords("Text", -1);
    for (const char *node : {"VMon", "IMon", "Status", "VSet", "Pw", "Mask"})
        text += generatedRecords(node);
    for (const auto &end : ends) {
        const std::string counter = std::string("count:") + end.counter;
        text += "record(calc, \"" + counter + "\") { field(CALC, \"VAL+1\") }\n" + "record(" +
                end.type + ", \"" + end.record + "\") { field(FLNK, \"" + counter + "\") }\n";
    }
    return text + "record(calc, \"clock\") { field(CALC, \"VAL+1\") field(SCAN, \".1 second\") }\n";
}

Counts counts()
{
    Counts all;
    for (const auto &end : ends)
        all[end.counter] = number(std::string("count:") + end.counter);
    return all;
}

void letTicksPass(int count)
{
    Monitor clock("clock");
    const double end = number("clock") + count;
    EXPECT_TRUE(clock.until([end] { return number("clock") >= end; }));
}

// From when on nothing is processed any more but for an event.
void letTheStartPass()
{
    for (const auto &end : ends) {
        const std::string counter = std::string("count:") + end.counter;
        Monitor monitor(counter);
        EXPECT_TRUE(monitor.until([&] { return number(counter) >= 2; })) << end.counter;
    }
    letTicksPass(2);
}

bool shows(const std::string &record, double value)
{
    Monitor monitor(record);
    return monitor.until([&] { return number(record) == value; });
}

class ChangedOnlyDeathTest : public IocDeathTest {
protected:
    static void startWithCounters()
    {
        setScanChangedOnly(true);
        startIoc(countedRecords());
        letTheStartPass();
    }
};

} // namespace

TEST_F(ChangedOnlyDeathTest, TheRecordsOfOtherNodesStandStill)
{
    inFreshProcess([] {
        startWithCounters();
        const EventConnection mainframe;
        Counts expected = counts();
        const epicsTimeStamp stamp = record("CRATE:00:001:IMon")->time;
        mainframe.send({event("VMon", 1.5F)});
        EXPECT_TRUE(shows("CRATE:00:001:VMon", 1.5));
        mainframe.send({event("Mask", int32_t{3}), event("Pw", uint32_t{1})});
        EXPECT_TRUE(shows("CRATE:00:001:Mask:RBV", 3));
        EXPECT_TRUE(shows("CRATE:00:001:Pw:RBV", 1));
        letTicksPass(2);
        for (const char *changed : {"VMon", "Mask", "Pw"})
            ++expected[changed];
        EXPECT_EQ(counts(), expected);
        EXPECT_EQ(record("CRATE:00:001:IMon")->time.nsec, stamp.nsec);
        EXPECT_EQ(record("CRATE:00:001:IMon")->time.secPastEpoch, stamp.secPastEpoch);
    });
}

TEST_F(ChangedOnlyDeathTest, ABatchHasEachRecordProcessedOnceAlsoForAnEqualValue)
{
    inFreshProcess([] {
        startWithCounters();
        const EventConnection mainframe;
        Counts expected = counts();
        Monitor scans("count:VMon");
        mainframe.send({event("VMon", 1.5F), event("VMon", 2.5F), event("VMon", 3.5F)});
        EXPECT_TRUE(shows("CRATE:00:001:VMon", 3.5));
        mainframe.send({event("VMon", 3.5F)});
        expected["VMon"] += 2;
        EXPECT_TRUE(scans.until([&] { return number("count:VMon") == expected["VMon"]; }));
        letTicksPass(2);
        EXPECT_EQ(counts(), expected);
    });
}

TEST_F(ChangedOnlyDeathTest, TheSetPointFollowsAndNothingIsWritten)
{
    inFreshProcess([this] {
        startWithCounters();
        const EventConnection mainframe;
        Monitor copied("CRATE:00:001:VSet:Sync");
        Monitor words("CRATE:Text:Sync");
        for (const float value : {12.5F, 0.0F, -1.5F}) {
            mainframe.send({event("VSet", value), textEvent("Text", std::to_string(value), -1)});
            EXPECT_TRUE(copied.until([=] { return number("CRATE:00:001:VSet:Sync") == value; }));
            EXPECT_TRUE(words.until([=] { return text("CRATE:Text") == std::to_string(value); }));
            EXPECT_EQ(number("CRATE:00:001:VSet"), value);
        }
        EXPECT_THAT(fake.callsOf("Set"), IsEmpty());
        // A client's set-point is shown when the crate has told it.
        put("CRATE:00:001:VSet", 20.0);
        EXPECT_EQ(fake.callsOf("SetChParam").size(), 1U);
        mainframe.send({event("VSet", 20.0F)});
        EXPECT_TRUE(shows("CRATE:00:001:VSet:RBV", 20.0));
        EXPECT_EQ(fake.callsOf("SetChParam").size(), 1U);
    });
}

TEST_F(ChangedOnlyDeathTest, RecordsOfOnesOwnShowTheNodeToo)
{
    inFreshProcess([] {
        setScanChangedOnly(true);
        startIoc(generatedRecords("VMon") + generatedRecords("Mask") +
                 "record(ai, \"OTHER:00:001:VMon\") { field(DTYP, \"VEXA ZANTO Item\")\n"
                 "  field(INP, \"@x\") field(SCAN, \"I/O Intr\") field(PRIO, \"HIGH\") }\n"
                 "record(mbbi, \"OTHER:00:001:Mask\") { field(DTYP, \"VEXA ZANTO Item\")\n"
                 "  field(INP, \"@x\") field(SCAN, \"I/O Intr\") }\n"
                 "record(ai, \"OTHER:00:001:Missing\") { field(DTYP, \"VEXA ZANTO Item\")\n"
                 "  field(INP, \"@x\") field(SCAN, \"I/O Intr\") }\n");
        const EventConnection mainframe;
        mainframe.send({event("VMon", 1.5F), event("Mask", int32_t{3})});
        EXPECT_TRUE(shows("CRATE:00:001:VMon", 1.5));
        EXPECT_TRUE(shows("OTHER:00:001:VMon", 1.5));
        EXPECT_TRUE(shows("OTHER:00:001:Mask", 3));
        EXPECT_TRUE(shows("CRATE:00:001:Mask:RBV", 3));
        EXPECT_NE(epicsThreadGetId("changedLow"), nullptr);
        EXPECT_EQ(epicsThreadGetId("changedMedium"), nullptr);
        EXPECT_EQ(epicsThreadGetPriority(epicsThreadGetId("changedHigh")),
                  epicsThreadGetPriority(epicsThreadGetId("cbHigh")));
    });
}

// ---- records that move ----

TEST_F(ChangedOnlyDeathTest, ARecordThatMovesIsProcessedOnceAndAlone)
{
    inFreshProcess([] {
        startWithCounters();
        const EventConnection mainframe;
        Monitor scans("count:IMon");
        Counts expected = counts();
        const auto isProcessedOnce = [&] {
            ++expected["IMon"];
            EXPECT_TRUE(scans.until([&] { return number("count:IMon") == expected["IMon"]; }));
            letTicksPass(2);
            EXPECT_EQ(counts(), expected);
        };
        for (const char *priority : {"HIGH", "MEDIUM", "LOW"}) {
            put("CRATE:00:001:IMon.PRIO", std::string(priority));
            isProcessedOnce();
        }
        // What changes while it is in no list.
        CallCount freed("FreeEventData");
        put("CRATE:00:001:IMon.SCAN", std::string("Passive"));
        mainframe.send({event("IMon", 4.5F)});
        EXPECT_TRUE(freed.reaches(1));
        letTicksPass(1);
        EXPECT_EQ(counts(), expected);
        put("CRATE:00:001:IMon.SCAN", std::string("I/O Intr"));
        isProcessedOnce();
        EXPECT_EQ(number("CRATE:00:001:IMon"), 4.5);
        mainframe.send({event("IMon", 5.5F)});
        isProcessedOnce();
    });
}

// One that hangs holds up those of its own priority.
TEST_F(ChangedOnlyDeathTest, RecordsOfAnotherPriorityGoOn)
{
    inFreshProcess([] {
        setScanChangedOnly(true);
        startIoc(countedRecords() +
                 "record(ai, \"CRATE:00:001:VMon\") { field(PRIO, \"HIGH\") }\n");
        letTheStartPass();
        const EventConnection mainframe;
        std::promise<void> held;
        std::promise<void> release;
        std::thread holder([&] {
            const ZANTONode::SemGuard guard(*nodeOf("IMon", 1));
            held.set_value();
            release.get_future().wait();
        });
        held.get_future().wait();
        mainframe.send({event("IMon", 1.5F), event("Status", int32_t{3}), event("VMon", 1.5F)});
        EXPECT_TRUE(shows("CRATE:00:001:VMon", 1.5));
        EXPECT_TRUE(ZANTOChangedRecords::instance().passRuns());
        EXPECT_EQ(number("CRATE:00:001:Status"), 0);
        release.set_value();
        holder.join();
        EXPECT_TRUE(shows("CRATE:00:001:IMon", 1.5));
        EXPECT_TRUE(shows("CRATE:00:001:Status", 3));
    });
}

// ---- start, pause, switch, end ----

namespace {

const EventConnection *earlyMainframe = nullptr;

void sendAtTheFirstProcessing(initHookState state)
{
    if (state != initHookAfterInitialProcess)
        return;
    CallCount freed("FreeEventData");
    earlyMainframe->send({event("VMon", 2.5F)});
    EXPECT_TRUE(freed.reaches(1));
    FakeAccessLibrary::instance().setHook(nullptr);
}

} // namespace

TEST_F(ChangedOnlyDeathTest, WhatChangesBeforeTheScansRunIsShown)
{
    inFreshProcess([] {
        setScanChangedOnly(true);
        const EventConnection mainframe;
        earlyMainframe = &mainframe;
        initHookRegister(sendAtTheFirstProcessing);
        give(nodeOf("IMon", 1), variantOf(1.5F));
        startIoc(generatedRecords("VMon") + generatedRecords("IMon"));
        EXPECT_EQ(number("CRATE:00:001:IMon"), 1.5); // by PINI
        EXPECT_TRUE(shows("CRATE:00:001:VMon", 2.5));
    });
}

TEST_F(ChangedOnlyDeathTest, APausedIocShowsNothingUntilItGoesOn)
{
    inFreshProcess([] {
        startWithCounters();
        const EventConnection mainframe;
        EXPECT_EQ(iocPause(), 0);
        const Counts before = counts();
        CallCount freed("FreeEventData");
        mainframe.send({event("VMon", 1.5F)});
        EXPECT_TRUE(freed.reaches(1));
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // many a pass's time
        EXPECT_EQ(counts(), before);
        EXPECT_EQ(iocRun(), 0);
        EXPECT_TRUE(shows("CRATE:00:001:VMon", 1.5));
    });
}

TEST_F(ChangedOnlyDeathTest, IsSwitchedAtRunTimeFromTheNextBatchOn)
{
    inFreshProcess([] {
        startIoc(countedRecords());
        letTheStartPass();
        const EventConnection mainframe;
        for (const bool changedOnly : {false, true, false, true}) {
            setScanChangedOnly(changedOnly);
            Counts expected = counts();
            const double value = number("CRATE:00:001:VMon") + 1;
            mainframe.send({event("VMon", static_cast<float>(value))});
            EXPECT_TRUE(shows("CRATE:00:001:VMon", value));
            letTicksPass(2);
            ++expected["VMon"];
            for (const char *other : {"IMon", "Status", "VSet"})
                expected[other] += changedOnly ? 0 : 1;
            EXPECT_EQ(counts(), expected);
        }
        EXPECT_EQ(ioscanpvt_ai.asked(), 1U + 2U) << "by the start and by two events";
    });
}

TEST_F(ChangedOnlyDeathTest, AnotherTreesNodesAreFoundAnew)
{
    inFreshProcess([this] {
        startWithCounters();
        for (const float value : {1.5F, 2.5F, 3.5F}) {
            fake.reset(); // the connection before was its last
            plantTree();
            const EventConnection mainframe;
            mainframe.send({event("VMon", value)});
            EXPECT_TRUE(shows("CRATE:00:001:VMon", value));
        }
    });
}

TEST_F(ChangedOnlyDeathTest, NothingIsProcessedAfterTheShutdownHasBegun)
{
    inFreshProcess([] {
        startWithCounters();
        const EventConnection mainframe;
        CallCount freed("FreeEventData");
        initHookAnnounce(initHookAtShutdown);
        const Counts before = counts();
        mainframe.send({event("VMon", 1.5F)});
        EXPECT_TRUE(freed.reaches(1));
        letTicksPass(2);
        EXPECT_EQ(counts(), before);
    });
}

TEST_F(ChangedOnlyDeathTest, AShutdownSurvivesAStorm)
{
    for (int i = 0; i < 5; ++i) {
        inFreshProcess([] {
            setScanChangedOnly(true);
            startIoc(countedRecords());
            const EventConnection mainframe;
            for (int value = 1; value <= 5000; ++value)
                mainframe.send({event("VSet", static_cast<float>(value)),
                                event("VMon", static_cast<float>(value)),
                                event("Mask", int32_t{value}),
                                textEvent("Text", std::to_string(value), -1)});
            EXPECT_EQ(iocShutdown(), 0);
        });
    }
}

// ---- nothing is lost ----

TEST_F(ChangedOnlyDeathTest, AfterManyChangesThereAreTheLastValues)
{
    inFreshProcess([] {
        setScanChangedOnly(true);
        startIoc(countedRecords() +
                 "record(ai, \"CRATE:00:001:IMon\") { field(PRIO, \"HIGH\") }\n"
                 "record(bi, \"CRATE:00:001:Pw:RBV\") { field(PRIO, \"MEDIUM\") }\n");
        const EventConnection mainframe;
        std::mt19937 random(1);
        std::map<std::string, double> last;
        for (int sent = 0; sent < 100000;) {
            std::vector<VEXAHVEventData_t> batch;
            for (auto left = random() % 20 + 1; left > 0; --left, ++sent) {
                const char *const nodes[] = {"VMon", "IMon", "VSet"};
                const char *node = nodes[random() % 3];
                batch.push_back(event(node, static_cast<float>(sent)));
                last[node] = sent;
                batch.push_back(event("Pw", static_cast<uint32_t>(sent % 2)));
                batch.push_back(event("Mask", int32_t{sent & 0xFFFF}));
            }
            last["Pw"] = (sent - 1) % 2;
            last["Mask"] = (sent - 1) & 0xFFFF;
            mainframe.send(batch);
            if (random() % 500 == 0) // records move meanwhile
                put("CRATE:00:001:VMon.PRIO", std::string(random() % 2 == 0 ? "HIGH" : "LOW"));
        }
        EXPECT_TRUE(shows("CRATE:00:001:VMon", last["VMon"]));
        EXPECT_TRUE(shows("CRATE:00:001:IMon", last["IMon"]));
        EXPECT_TRUE(shows("CRATE:00:001:VSet:RBV", last["VSet"]));
        EXPECT_TRUE(shows("CRATE:00:001:Pw:RBV", last["Pw"]));
        EXPECT_TRUE(shows("CRATE:00:001:Mask:RBV", last["Mask"]));
        EXPECT_TRUE(shows("CRATE:00:001:VSet:Sync", last["VSet"]));
    });
}
