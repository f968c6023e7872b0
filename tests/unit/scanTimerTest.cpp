// The timer of the scans where memory is short.
#include "unitSupport.h"

#include "ZANTOscantimer.h"

#include <epicsEvent.h>
#include <epicsThread.h>
#include <epicsTimer.h>

#include <cstdint>
#include <unistd.h>

namespace {

void signalEvent(void *event) { epicsEventSignal(static_cast<epicsEventId>(event)); }

// The queue of the timers is made once in a process.
class ScanTimerDeathTest : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};

} // namespace

TEST_F(ScanTimerDeathTest, IsHadOnceThereIsMemoryForIt)
{
    EXPECT_EXIT(
        {
            alarm(20); // watchdog
            // As the IOC does before there are scans: without the memory for what all queues
            // share EPICS cannot go on.
            epicsTimerQueueAllocate(0, epicsThreadPriorityHigh);
            const epicsEventId event = epicsEventMustCreate(epicsEventEmpty);
            void *timer = nullptr;
            bool early = false;
            {
                const AllocationFailure none(0, SIZE_MAX);
                early = ZANTOStartScanTimer(&timer, signalEvent, event, 0);
            }
            const bool started = ZANTOStartScanTimer(&timer, signalEvent, event, 0);
            const bool expired = started && epicsEventWait(event) == epicsEventWaitOK;
            _exit(!early && expired ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}
