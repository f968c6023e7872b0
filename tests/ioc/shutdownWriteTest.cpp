// Records that are written while the server ends.
#include "iocSupport.h"

#include "ZANTO.h"
#include "ZANTOrecord.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <unistd.h>

namespace {

using ShutdownWriteDeathTest = IocDeathTest;

// A record each for the operations that write.
constexpr struct {
    const char *type;
    const char *record;
    const char *call;
} writes[] = {
    {"ao", "CRATE:00:000:Float", "SetChParam(7, 0, Float"},
    {"bo", "CRATE:00:000:UInt", "SetChParam(7, 0, UInt"},
    {"mbboDirect", "CRATE:00:000:Int", "SetChParam(7, 0, Int"},
    {"stringout", "CRATE:Text", "SetSysProp("},
    {"stringout", "CRATE:Clear", "ExecComm("},
};
constexpr std::size_t writers = std::size(writes);

// What the library saw and what the threads did: these outlive the test's own scope.
std::array<std::atomic<int>, writers> callsBefore{};
std::array<std::atomic<int>, writers> rounds{};
std::atomic<int> logouts{0};

template <typename Condition> void yieldUntil(const Condition &condition)
{
    const auto end = std::chrono::steady_clock::now() + watchdog;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            _exit(1);
        std::this_thread::yield();
    }
}

// Every record has been written once more, from the beginning.
void waitForARoundOfAll()
{
    for (std::atomic<int> &count : rounds) {
        const int seen = count;
        yieldUntil([&count, seen] { return count >= seen + 2; });
    }
}

// Whatever comes after the logout fails the process, however it ends otherwise.
void watchCall(const std::string &call)
{
    if (logouts != 0)
        _exit(1);
    if (call == "DeinitSystem(7)") {
        ++logouts;
        waitForARoundOfAll();
    }
    for (std::size_t i = 0; i < writers; ++i) {
        if (call.rfind(writes[i].call, 0) == 0)
            ++callsBefore[i];
    }
}

// Without the records' locks, which EPICS takes apart before the process ends.
void writeOnAndOn(std::size_t writer)
{
    dbCommon *common = record(writes[writer].record);
    std::thread([common, writer] {
        while (true) {
            reinterpret_cast<ZANTODset5<dbCommon> *>(common->dset)->read_write(common);
            ++rounds[writer];
        }
    }).detach();
}

std::string recordsToWrite()
{
    std::string text;
    for (const auto &write : writes)
        text += std::string("record(") + write.type + ", \"" + write.record +
                "\") { field(DTYP, \"VEXA ZANTO Item\") field(OUT, \"@x\") }\n";
    return text;
}

void failWithoutALogout()
{
    if (logouts != 1)
        _exit(1);
}

} // namespace

TEST_F(ShutdownWriteDeathTest, NoCallReachesTheLibraryOnceTheLogoutHasBegun)
{
    inFreshProcess([this] {
        nodeOf("Clear Alarm", -1)->setNodeName("Clear");
        startIoc(recordsToWrite());
        fake.setHook(watchCall);
        for (std::size_t i = 0; i < writers; ++i)
            writeOnAndOn(i);
        for (std::atomic<int> &count : callsBefore)
            yieldUntil([&count] { return count > 0; });
        std::atexit(failWithoutALogout);
        Shutdown();
    });
}
