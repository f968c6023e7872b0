// The end of an IOC whose scan lists are busy.
#include "iocSupport.h"

#include "ZANTO.h"
#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"
#include "ZANTOclock.h"

#include <initHooks.h>
#include <iocInit.h>

#include <atomic>
#include <future>

namespace {

constexpr int repetitions = 10;
// More than any pass that is queued takes to begin.
constexpr std::chrono::milliseconds aWhile{100};

template <typename Condition> bool comesTrue(const Condition &condition)
{
    const auto end = std::chrono::steady_clock::now() + watchdog;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

std::string recordsOfAllTypes()
{
    return generatedRecords("VSet") + generatedRecords("VMon") + generatedRecords("IMon") +
           generatedRecords("Pw") + generatedRecords("Mask") + generatedRecords("Text", -1) +
           "record(ai, \"CRATE:00:001:IMon\") { field(PRIO, \"HIGH\") }\n";
}

// These go on until the process ends and touch nothing that EPICS takes apart.
void requestOnAndOn()
{
    for (ZANTOScanList *list :
         {&ioscanpvt_ai, &ioscanpvt_bi, &ioscanpvt_mbbiDirect, &ioscanpvt_stringin}) {
        std::thread([list] {
            while (true)
                list->request();
        }).detach();
    }
}

void sendStorm(const EventConnection &mainframe)
{
    for (int i = 1; i <= 1000; ++i) {
        mainframe.send({event("VSet", static_cast<float>(i)), event("VMon", static_cast<float>(i)),
                        event("IMon", static_cast<float>(i)),
                        event("Pw", static_cast<uint32_t>(i % 2)), event("Mask", int32_t{i}),
                        textEvent("Text", std::to_string(i), -1)});
    }
}

// A pass of the analog records that stands at the record of IMon until it is let go, or for
// ever.
class StandingPass {
public:
    StandingPass()
    {
        std::promise<void> locked;
        std::thread([&locked] {
            const ZANTONode::SemGuard guard(*nodeOf("IMon", 1));
            locked.set_value();
            lettingGo().get_future().wait();
        }).detach();
        locked.get_future().wait();
        ioscanpvt_ai.request();
        EXPECT_TRUE(comesTrue([] { return ioscanpvt_ai.passRuns(); }));
    }
    static void letGo() { lettingGo().set_value(); }

private:
    static std::promise<void> &lettingGo()
    {
        static std::promise<void> promise;
        return promise;
    }
};

// Of a clock that stands still but for the server's pauses.
std::atomic<int> pauses{0};
std::atomic<int64_t> paused{0}; // milliseconds

const ZANTOClock pausing = {
    ZANTOSystemClock.now,
    [] { return std::chrono::steady_clock::time_point(std::chrono::milliseconds(paused)); },
    [](std::chrono::milliseconds time) {
        ++pauses;
        paused += time.count();
    }};

// Its third pause of the shutdown lets the pass go.
const ZANTOClock lettingGo = {ZANTOSystemClock.now, ZANTOSystemClock.steadyNow,
                              [](std::chrono::milliseconds time) {
                                  if (++pauses == 3)
                                      StandingPass::letGo();
                                  ZANTOSystemClock.pause(time);
                              }};

std::atomic<bool> ranAtTheClosingOfLinks{true}; // until it is known

void seeWhatRuns(initHookState state)
{
    if (state == initHookAfterCloseLinks)
        ranAtTheClosingOfLinks = ioscanpvt_ai.passRuns();
}

class ScanShutdownDeathTest : public IocDeathTest {
protected:
    // Many times over, each in a process of its own.
    static void endInAStorm(const std::function<void()> &end)
    {
        for (int i = 0; i < repetitions; ++i) {
            inFreshProcess([&end] {
                startIoc(recordsOfAllTypes());
                const EventConnection mainframe;
                requestOnAndOn();
                sendStorm(mainframe);
                end();
            });
        }
    }
};

} // namespace

TEST_F(ScanShutdownDeathTest, TakesNothingApartUnderAPassThatRuns)
{
    inFreshProcess([] {
        startIoc(generatedRecords("VMon") + generatedRecords("IMon"));
        ASSERT_TRUE(comesTrue([] { return !ioscanpvt_ai.passRuns(); }));
        initHookRegister(seeWhatRuns);
        const StandingPass pass;
        ZANTOPresentClock = &lettingGo;
        EXPECT_EQ(iocShutdown(), 0);
        EXPECT_GE(pauses, 3);
        EXPECT_FALSE(ranAtTheClosingOfLinks);
    });
}

TEST_F(ScanShutdownDeathTest, DoesNotWaitForEverForAPassThatHangs)
{
    inFreshProcess([] {
        startIoc(generatedRecords("VMon") + generatedRecords("IMon"));
        const StandingPass pass;
        ZANTOPresentClock = &pausing;
        initHookAnnounce(initHookAtShutdown);
        EXPECT_GE(paused, 1000);
        EXPECT_LT(paused, 5000);
        EXPECT_TRUE(ioscanpvt_ai.passRuns());
    });
}

TEST_F(ScanShutdownDeathTest, BeginsNoPassThatWasQueued)
{
    inFreshProcess([] {
        startIoc("record(calc, \"scans\") { field(CALC, \"VAL+1\") }\n" + generatedRecords("IMon") +
                 "record(ai, \"CRATE:00:001:IMon\") { field(FLNK, \"scans\") }\n");
        // By the start's own processing and by the first pass.
        ASSERT_TRUE(comesTrue([] { return number("scans") == 2; }));
        ASSERT_TRUE(comesTrue([] { return !ioscanpvt_ai.passRuns(); }));
        const double before = number("scans");
        const StandingPass pass;
        ioscanpvt_ai.request(); // queued behind it
        ZANTOPresentClock = &pausing;
        initHookAnnounce(initHookAtShutdown);
        StandingPass::letGo();
        EXPECT_TRUE(comesTrue([] { return !ioscanpvt_ai.passRuns(); }));
        ioscanpvt_ai.request();
        std::this_thread::sleep_for(aWhile);
        EXPECT_EQ(number("scans"), before + 1);
    });
}

TEST_F(ScanShutdownDeathTest, OfAnIsolatedIocSurvivesAStorm)
{
    endInAStorm([] { EXPECT_EQ(iocShutdown(), 0); });
}

TEST_F(ScanShutdownDeathTest, OfTheServerSurvivesAStorm)
{
    endInAStorm([] { Shutdown(); });
}
