#include "ZANTOlife.h"

#include "ZANTOstatic.h"
#include "ZANTOtypes.h"

#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

constexpr int64_t noSession = -1;

struct Life {
    // Each changes by itself; the handler of a signal touches the first two only.
    std::atomic<ZANTOLifeState> state{ZANTOLifeState()};
    std::atomic<bool> hasEnder{false};
    pthread_t ender{};                       // written before hasEnder is set
    std::atomic<int64_t> session{noSession}; // a handle until the logout
    std::atomic<bool> treeUnfinished{false}; // a build of it has begun and not ended

    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by mutex.
    std::thread::id startupThread; // nobody's id while no start-up work is done
};
static_assert(std::atomic<ZANTOLifeState>::is_always_lock_free, "for the handler of a signal");

Life &life()
{
    static ZANTONeverDestroyed<Life> instance;
    return instance.get();
}

// Until its verdict has been put into place.
ZANTOLot happen(ZANTOHappening happening, uint16_t signal, bool byTheEnder) noexcept
{
    std::atomic<ZANTOLifeState> &state = life().state;
    ZANTOLifeState now = state;
    ZANTOVerdict verdict = ZANTODecide(now, happening, signal, byTheEnder);
    while (!state.compare_exchange_weak(now, verdict.next))
        verdict = ZANTODecide(now, happening, signal, byTheEnder);
    return verdict.lot;
}

void nameEnder() noexcept
{
    life().ender = pthread_self();
    life().hasEnder = true;
}

} // namespace

// ---- phases ----

void ZANTOBeginLife()
{
    Life &l = life();
    l.state = ZANTOLifeState();
    l.hasEnder = false;
    l.session = noSession;
    std::lock_guard<std::mutex> lock(l.mutex);
    l.startupThread = std::thread::id();
}

ZANTOLifeState ZANTOPresentLife() noexcept { return life().state; }

void ZANTOAdvance(ZANTOHappening step)
{
    if (happen(step, 0, ZANTOIsEnder()) == ZANTOLot::park)
        ZANTOPark();
}

void ZANTOLoggedIn(int32_t handle)
{
    life().session = handle & int64_t{0xFFFFFFFF};
    ZANTOStartupCheckpoint();
    ZANTOAdvance(ZANTOHappening::loggedIn);
}

void ZANTOBeginEnd(ZANTOHappening cause)
{
    switch (happen(cause, 0, ZANTOIsEnder())) {
    case ZANTOLot::goOn: return;
    case ZANTOLot::end: nameEnder(); return;
    case ZANTOLot::park: ZANTOPark();
    }
}

bool ZANTONoteSignal(uint16_t number) noexcept
{
    return happen(ZANTOHappening::signalled, number, false) == ZANTOLot::end;
}

void ZANTOTakeOverEnd() noexcept { nameEnder(); }

bool ZANTOIsEnding() noexcept { return ZANTOPresentLife().ending(); }

bool ZANTOIsEnder() noexcept
{
    return life().hasEnder && pthread_equal(life().ender, pthread_self()) != 0;
}

bool ZANTOMaySpeak() noexcept { return !ZANTOIsEnding() || ZANTOIsEnder(); }

void ZANTOParkIfEnding()
{
    if (!ZANTOMaySpeak())
        ZANTOPark();
}

void ZANTOPark()
{
    // Whoever waits for the start-up work sees that it has stopped.
    Life &l = life();
    {
        std::lock_guard<std::mutex> lock(l.mutex);
        if (l.startupThread == std::this_thread::get_id()) {
            l.startupThread = std::thread::id();
            l.changed.notify_all();
        }
    }
    while (true)
        pause();
}

// ---- session ----

bool ZANTOTakeSession(int32_t &handle) noexcept
{
    const int64_t session = life().session.exchange(noSession);
    handle = static_cast<int32_t>(static_cast<uint32_t>(session));
    return session != noSession;
}

// ---- start-up work ----

ZANTOStartupWork::ZANTOStartupWork()
{
    {
        std::lock_guard<std::mutex> lock(life().mutex);
        life().startupThread = std::this_thread::get_id();
    }
    // Work that would begin once the process is ending does not begin.
    ZANTOStartupCheckpoint();
}

ZANTOStartupWork::~ZANTOStartupWork()
{
    std::lock_guard<std::mutex> lock(life().mutex);
    life().startupThread = std::thread::id();
    life().changed.notify_all();
}

void ZANTOStartupCheckpoint() { ZANTOStartupPause(std::chrono::milliseconds(0)); }

void ZANTOStartupPause(std::chrono::milliseconds pause)
{
    Life &l = life();
    {
        std::unique_lock<std::mutex> lock(l.mutex);
        if (pause.count() > 0)
            l.changed.wait_for(lock, pause, ZANTOIsEnding);
        if (ZANTOMaySpeak() || l.startupThread != std::this_thread::get_id())
            return;
    }
    ZANTOPark();
}

bool ZANTOAwaitStartup(std::chrono::milliseconds limit)
{
    Life &l = life();
    std::unique_lock<std::mutex> lock(l.mutex);
    l.changed.notify_all();
    const auto self = std::this_thread::get_id();
    return l.changed.wait_for(lock, limit, [&l, self] {
        return l.startupThread == std::thread::id() || l.startupThread == self;
    });
}

// ---- completeness of the tree ----

void ZANTOBeginTree() { life().treeUnfinished = true; }

void ZANTOOpenTree()
{
    std::lock_guard<std::mutex> lock(life().mutex);
    ZANTOTreeUse::open();
    life().treeUnfinished = false;
    life().changed.notify_all();
}

bool ZANTOTreeIsComplete() noexcept { return systemNode != nullptr && !life().treeUnfinished; }

void ZANTOWaitForTree()
{
    std::unique_lock<std::mutex> lock(life().mutex);
    life().changed.wait(lock, ZANTOTreeIsComplete);
}

bool ZANTOCloseTree(std::chrono::milliseconds limit) { return ZANTOTreeUse::close(limit); }
