// Records of the server's own health, and read-backs that tell when they are stale: each in an IOC
// of its own.
#include "healthSupport.h"

#include "ZANTOhealth.h"
#include "ZANTOhealthwatch.h"

#include <alarm.h>
#include <dbAccess.h>
#include <dbLock.h>
#include <dbStaticLib.h>
#include <dbState.h>
#include <epicsThread.h>
#include <initHooks.h>
#include <iocInit.h>

#include <atomic>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <thread>

// ---- the connection ----

TEST_F(HealthDeathTest, LostTellsWhetherTheCrateIsConnected)
{
    inFreshProcess([] {
        startWithHealth();
        EXPECT_EQ(number(lostRecord), 1);
        EXPECT_EQ(text(lostRecord), "Lost");
        EXPECT_EQ(severityOf(lostRecord), MAJOR_ALARM);
        for (int i = 0; i < 3; ++i) {
            {
                const Connection connection;
                EXPECT_TRUE(becomes(lostRecord, NO_ALARM));
                EXPECT_EQ(text(lostRecord), "Connected");
            }
            EXPECT_TRUE(becomes(lostRecord, MAJOR_ALARM));
        }
    });
}

TEST_F(HealthDeathTest, ReadBacksAreInvalidWhileTheConnectionIsLost)
{
    inFreshProcess([] {
        startWithHealth();
        EXPECT_TRUE(stateIsLost());
        EXPECT_TRUE(allBecome(INVALID_ALARM)) << "until the crate connects";
        EXPECT_EQ(severityOf("CRATE:00:001:IMon"), NO_ALARM) << "has no link";
        for (int i = 0; i < 3; ++i) {
            give(nodeOf("VMon", 1), variantOf(static_cast<float>(i)));
            {
                const Connection connection;
                EXPECT_TRUE(allBecome(NO_ALARM));
                EXPECT_EQ(number("CRATE:00:001:VMon"), i);
                EXPECT_FALSE(stateIsLost());
            }
            EXPECT_TRUE(allBecome(INVALID_ALARM));
            EXPECT_EQ(number("CRATE:00:001:VMon"), i) << "the last value is kept";
            EXPECT_TRUE(stateIsLost());
        }
    });
}

TEST_F(HealthDeathTest, AlsoWhereOnlyChangedRecordsAreScanned)
{
    inFreshProcess([] {
        setScanChangedOnly(true);
        startWithHealth();
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(allBecome(INVALID_ALARM));
            const Connection connection;
            EXPECT_TRUE(allBecome(NO_ALARM));
            for (const auto &readBack : readBacks)
                EXPECT_TRUE(reaches(counterOf(readBack.record), i + 1)) << readBack.record;
        }
    });
}

TEST_F(HealthDeathTest, ACrateThatConnectsEarlyMakesAllGoodFromTheStart)
{
    inFreshProcess([] {
        const Connection connection;
        give(nodeOf("VMon", 1), variantOf(1.5F));
        startWithHealth();
        EXPECT_EQ(number("CRATE:00:001:VMon"), 1.5) << "by PINI";
        EXPECT_EQ(number(lostRecord), 0);
        EXPECT_TRUE(allBecome(NO_ALARM));
    });
}

// ---- between first processing and scans ----

namespace {

Connection *early = nullptr;

void connectAtTheFirstProcessing(initHookState state)
{
    if (state == initHookAfterInitialProcess)
        early = new Connection;
}

} // namespace

TEST_F(HealthDeathTest, ACrateThatConnectsBeforeTheScansRunIsNotMissed)
{
    inFreshProcess([] {
        initHookRegister(connectAtTheFirstProcessing);
        startWithHealth();
        ASSERT_NE(early, nullptr);
        EXPECT_TRUE(becomes(lostRecord, NO_ALARM));
        EXPECT_TRUE(allBecome(NO_ALARM));
        delete early;
        EXPECT_TRUE(allBecome(INVALID_ALARM));
    });
}

// ---- order ----

TEST_F(HealthDeathTest, StateThenLostThenReadBacks)
{
    inFreshProcess([] {
        // What Lost's own processing finds of the state, and a read-back's of Lost.
        startWithHealth("record(ai, \"state:at:lost\") { field(INP, {state:\"ZANTO:EventsLost\"}) "
                        "field(FLNK, \"wrong\") }\n"
                        "record(calc, \"wrong\") { field(INPA, \"state:at:lost\")\n"
                        "  field(INPB, \"CRATE:Health:Lost\") field(INPC, \"wrong\")\n"
                        "  field(CALC, \"C+(A#B)\") }\n"
                        "record(bi, \"CRATE:Health:Lost\") { field(FLNK, \"state:at:lost\") }\n"
                        "record(calc, \"lost:at:vmon\") { field(INPA, \"CRATE:Health:Lost\")\n"
                        "  field(INPB, \"lost:at:vmon\") field(CALC, \"B+A\") }\n"
                        "record(calc, \"count:CRATE:00:001:VMon\") "
                        "{ field(FLNK, \"lost:at:vmon\") }\n");
        const auto connectAndLose = [] {
            {
                const Connection connection;
                EXPECT_TRUE(allBecome(NO_ALARM));
            }
            EXPECT_TRUE(allBecome(INVALID_ALARM));
        };
        // Passes of the start may still run meanwhile: they are not those of a change.
        connectAndLose();
        const double before = number("lost:at:vmon");
        for (int i = 0; i < 5; ++i)
            connectAndLose();
        EXPECT_EQ(number("wrong"), 0);
        EXPECT_EQ(number("lost:at:vmon"), before) << "a good read-back saw Lost";
    });
}

TEST_F(HealthDeathTest, QuickChangesEndInTheLastState)
{
    inFreshProcess([] {
        startWithHealth();
        for (int round = 0; round < 5; ++round) {
            for (int i = 0; i < 200; ++i)
                const Connection connection;
            EXPECT_TRUE(becomes(lostRecord, MAJOR_ALARM));
            EXPECT_TRUE(allBecome(INVALID_ALARM));
            auto kept = std::make_unique<Connection>();
            for (int i = 0; i < 200; ++i) {
                // The new one opens before the old one ends, and after it.
                if (i % 2 == 0)
                    kept.reset();
                kept = std::make_unique<Connection>();
            }
            EXPECT_TRUE(becomes(lostRecord, NO_ALARM));
            EXPECT_TRUE(allBecome(NO_ALARM));
        }
    });
}

// A link to a record would tie all of them together.
TEST_F(HealthDeathTest, LinksToTheStateLeaveRecordsApart)
{
    inFreshProcess([] {
        startWithHealth();
        std::set<unsigned long> lockSets;
        for (const auto &readBack : readBacks)
            lockSets.insert(dbLockGetLockId(record(readBack.record)));
        lockSets.insert(dbLockGetLockId(record(lostRecord)));
        EXPECT_EQ(lockSets.size(), std::size(readBacks) + 1);
    });
}

// ---- figures ----

TEST_F(HealthDeathTest, TheFiguresTick)
{
    inFreshProcess([] {
        startWithHealth();
        EXPECT_EQ(number("CRATE:Health:Events"), 0);
        EXPECT_TRUE(reaches("CRATE:Health:LastDelivery", 1));
        const EventConnection mainframe;
        mainframe.send({event("VMon", 1.5F), event("VMon", 2.5F)});
        mainframe.send({event("VMon", 3.5F)});
        EXPECT_TRUE(reaches("CRATE:Health:Events", 3));
        EXPECT_EQ(number("CRATE:Health:Batches"), 2);
        ZANTOPresentCounts.heldValues = 5;
        ZANTOPresentCounts.failedCalls = 7;
        EXPECT_TRUE(reaches("CRATE:Health:HeldValues", 5));
        EXPECT_TRUE(reaches("CRATE:Health:FailedCalls", 7));
        for (const char *rate : {"EventRate", "BatchRate"}) {
            const std::string name = std::string("CRATE:Health:") + rate;
            Monitor monitor(name);
            EXPECT_TRUE(monitor.until([&] { return number(name) == 0; })) << rate;
        }
        ZANTOPresentCounts.inserted = true;
        EXPECT_TRUE(becomes("CRATE:Health:Inserted", MINOR_ALARM));
        EXPECT_EQ(text("CRATE:Health:Inserted"), "Yes");
    });
}

TEST_F(HealthDeathTest, AllRecordsAreDefinedFromTheStart)
{
    inFreshProcess([] {
        const Connection connection;
        startWithHealth("record(ai, \"soft\") {}\nalias(\"soft\", \"other:name\")\n");
        const std::string others = generated();
        const std::regex head("record\\(");
        const auto heads = std::distance(std::sregex_iterator(others.begin(), others.end(), head),
                                         std::sregex_iterator());
        EXPECT_EQ(number("CRATE:Health:Records"),
                  static_cast<double>(heads) + std::size(readBacks) + std::size(figureNames) + 1)
            << "with the counters and the one that has an alias";
        for (const char *figure : figureNames) {
            const std::string name = std::string("CRATE:Health:") + figure;
            EXPECT_EQ(severityOf(name), NO_ALARM) << figure;
            EXPECT_EQ(number(name + ".UDF"), 0) << figure;
            EXPECT_EQ(text(name + ".SCAN"), "I/O Intr") << figure;
            EXPECT_NE(text(name + ".DESC"), "") << figure;
        }
        EXPECT_TRUE(std::regex_match(text("CRATE:Health:StartTime"),
                                     std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d)")));
        EXPECT_EQ(number("CRATE:Health:Clients"), 0) << "this IOC has no server";
    });
}

TEST_F(HealthDeathTest, ARecordOffItsListIsLeftAlone)
{
    inFreshProcess([] {
        startWithHealth();
        put("CRATE:Health:Events.SCAN", std::string("Passive"));
        ZANTOPresentCounts.events = 5;
        ZANTOPresentCounts.batches = 6;
        EXPECT_TRUE(reaches("CRATE:Health:Batches", 6));
        EXPECT_EQ(number("CRATE:Health:Events"), 0);
        put("CRATE:Health:Events.SCAN", std::string("I/O Intr"));
        EXPECT_TRUE(reaches("CRATE:Health:Events", 5));
    });
}

TEST_F(HealthDeathTest, AFigureThatIsNoneIsToldAndLeavesItsRecordUndefined)
{
    inFreshProcess([] {
        const char *const wrong[][2] = {
            {"ai", "nothing"}, {"ai", "lost"}, {"bi", "events"}, {"stringin", "records"}};
        std::string records;
        std::string complaints;
        for (const auto &[type, figure] : wrong) {
            const std::string name = std::string(type) + ":" + figure;
            records += std::string("record(") + type + ", \"" + name +
                       "\") { field(DTYP, \"ZANTO Health\") field(INP, \"@" + figure +
                       "\")\n  field(SCAN, \"I/O Intr\") field(PINI, \"YES\") }\n";
        }
        const std::string said = printedAt(0, [&] { startWithHealth(records); });
        for (const auto &[type, figure] : wrong) {
            const std::string name = std::string(type) + ":" + figure;
            EXPECT_THAT(said, ::testing::HasSubstr(name + ": @" + figure +
                                                   " is no figure of the server's health for a "
                                                   "record of this type\n"));
            EXPECT_EQ(number(name + ".UDF"), 1) << name;
        }
        const Connection connection;
        EXPECT_TRUE(becomes(lostRecord, NO_ALARM));
    });
}

// ---- parts of it ----

TEST_F(HealthDeathTest, WithoutRecordsAndLinksNothingIsBegun)
{
    inFreshProcess([] {
        startIoc(generated(), loadExtraDefinitions);
        const Connection connection;
        EXPECT_EQ(epicsThreadGetId("ZANTOHealth"), nullptr);
        EXPECT_EQ(dbStateFind(stateName), nullptr);
    });
}

TEST_F(HealthDeathTest, LinksAloneAreServed)
{
    inFreshProcess([] {
        startIoc(generated() + staleLinks(), loadExtraDefinitions);
        EXPECT_TRUE(allBecome(INVALID_ALARM));
        const Connection connection;
        EXPECT_TRUE(allBecome(NO_ALARM));
        EXPECT_NE(epicsThreadGetId("ZANTOHealth"), nullptr);
    });
}

TEST_F(HealthDeathTest, AnyRecordOfTheHealthIsEnoughForTheState)
{
    inFreshProcess([] {
        startIoc("record(ai, \"rate\") { field(DTYP, \"ZANTO Health\") "
                 "field(INP, \"@event-rate\") field(SCAN, \"I/O Intr\") }\n" +
                     generated(),
                 loadExtraDefinitions);
        ASSERT_NE(dbStateFind(stateName), nullptr);
        EXPECT_TRUE(stateIsLost());
        const Connection connection;
        EXPECT_TRUE(reaches("rate.UDF", 0));
        Monitor ticks("rate");
        EXPECT_TRUE(ticks.until([] { return !stateIsLost() && number("rate.UDF") == 0; }));
    });
}

TEST_F(HealthDeathTest, TheSecondDefinitionMayComeFirst)
{
    inFreshProcess([] {
        loadExtraDefinitions();
        startIoc(generated() + staleLinks() + "record(ai, \"soft\") { field(INP, \"5\") }\n", [] {
            EXPECT_EQ(dbReadDatabase(&pdbbase, ZANTO_HEALTH_DB, nullptr, "SYS=CRATE"), 0);
        });
        EXPECT_EQ(text("soft.DTYP"), "Soft Channel") << "as without it";
        EXPECT_EQ(number("soft"), 5);
        const Connection connection;
        EXPECT_TRUE(becomes(lostRecord, NO_ALARM));
        EXPECT_TRUE(allBecome(NO_ALARM));
    });
}

// ---- pause and end ----

TEST_F(HealthDeathTest, APausedIocMakesUpForWhatItMissed)
{
    inFreshProcess([] {
        startWithHealth();
        EXPECT_TRUE(allBecome(INVALID_ALARM));
        EXPECT_EQ(iocPause(), 0);
        const Connection connection;
        EXPECT_EQ(number(lostRecord), 1);
        EXPECT_EQ(iocRun(), 0);
        EXPECT_TRUE(becomes(lostRecord, NO_ALARM));
        EXPECT_TRUE(allBecome(NO_ALARM));
    });
}

TEST_F(HealthDeathTest, NothingIsProcessedAfterTheShutdownHasBegun)
{
    inFreshProcess([] {
        startWithHealth();
        EXPECT_TRUE(allBecome(INVALID_ALARM));
        initHookAnnounce(initHookAtShutdown);
        EXPECT_FALSE(ZANTOHealthWatch::instance().isBusy());
        const Connection connection;
        Monitor state(lostRecord);
        while (stateIsLost())
            epicsThreadSleep(0.01);
        epicsThreadSleep(0.05);
        EXPECT_EQ(number(lostRecord), 1);
        EXPECT_EQ(severityOf("CRATE:00:001:VMon"), INVALID_ALARM);
    });
}

TEST_F(HealthDeathTest, AShutdownSurvivesAStormOfConnections)
{
    for (int i = 0; i < 3; ++i) {
        inFreshProcess([] {
            startWithHealth();
            std::atomic<bool> ends{false};
            std::thread crate([&ends] {
                while (!ends)
                    const Connection connection;
            });
            const EventConnection mainframe;
            for (int value = 1; value <= 2000; ++value)
                mainframe.send({event("VSet", static_cast<float>(value))});
            EXPECT_EQ(iocShutdown(), 0);
            ends = true;
            crate.join();
        });
    }
}
