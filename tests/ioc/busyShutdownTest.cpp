// The end of a server whose records and events are busy.
#include "iocSupport.h"

#include "ZANTO.h"
#include "ZANTOlife.h"
#include "ZANTOrecord.h"

#include <atomic>
#include <cstdlib>
#include <future>
#include <unistd.h>

namespace {

using BusyShutdownDeathTest = IocDeathTest;

// Threads that use the tree all the time, as scans and clients do, each with records of its own.
// They end with the process and touch nothing that EPICS takes apart before.
void keepBusy()
{
    for (const char *type : {"ai", "mbbi", "ao"}) {
        std::thread([first = record(recordOf(type, "Int")),
                     second = record(recordOf(type, "Float"))] {
            while (true) {
                for (dbCommon *common : {first, second})
                    reinterpret_cast<ZANTODset5<dbCommon> *>(common->dset)->read_write(common);
            }
        }).detach();
    }
}

std::string passiveRecords()
{
    std::string text;
    for (const char *type : {"ai", "mbbi", "ao"}) {
        for (const char *node : {"Int", "Float"})
            text += std::string("record(") + type + ", \"" + recordOf(type, node) +
                    "\") { field(DTYP, \"VEXA ZANTO Item\") field(" + recordType(type).link +
                    ", \"@x\") }\n";
    }
    return text;
}

} // namespace

TEST_F(BusyShutdownDeathTest, LogsOutOnceAndEndsWithStatus0)
{
    inFreshProcess([this] {
        startIoc(passiveRecords() + generatedRecords("VMon"));
        const EventConnection mainframe;
        keepBusy();
        {
            Monitor monitor("CRATE:00:001:VMon");
            mainframe.send({event("VMon", 12.5F)});
            ASSERT_TRUE(monitor.until([] { return number("CRATE:00:001:VMon") == 12.5; }));
        }
        for (int i = 1; i <= 1000; ++i)
            mainframe.send({event("VMon", static_cast<float>(i))});
        static std::atomic<int> logouts{0};
        fake.setHook([](const std::string &call) {
            if (call == "DeinitSystem(7)")
                ++logouts;
        });
        std::atexit([] {
            if (logouts != 1 || systemNode != nullptr)
                _exit(1);
        });
        Shutdown();
    });
}

// A write that hangs in the library keeps its node and with it the tree, but not the process.
TEST_F(BusyShutdownDeathTest, DoesNotDeleteATreeThatAWriteStillUses)
{
    inFreshProcess([this] {
        startIoc(passiveRecords());
        std::promise<void> hanging;
        fake.setHook([&hanging](const std::string &call) {
            if (call.rfind("SetChParam", 0) != 0)
                return;
            hanging.set_value();
            while (true)
                pause();
        });
        std::thread([] { callReadOrWrite(recordOf("ao", "Int")); }).detach();
        hanging.get_future().wait();
        EXPECT_FALSE(ZANTOCloseTree(std::chrono::milliseconds(10)));
    });
}
