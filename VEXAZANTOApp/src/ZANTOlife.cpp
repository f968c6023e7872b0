#include "ZANTOlife.h"

#include "ZANTOstatic.h"
#include "ZANTOtypes.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

struct Phases {
    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by mutex.
    bool ending = false;
    std::thread::id startupThread; // nobody's id while no start-up work is done
};

Phases &phases()
{
    static ZANTONeverDestroyed<Phases> instance;
    return instance.get();
}

std::atomic<bool> treeUnfinished{false};
std::atomic<bool> treeClosed{false};
std::atomic<int> treeUsers{0};
std::atomic<bool> scriptRunning{false};

} // namespace

// The counter is raised before the flag is looked at, and the closing side sets the flag
// before it looks at the counter: with sequential consistency one of the two sees the other.
ZANTOTreeUse::ZANTOTreeUse() noexcept
{
    treeUsers.fetch_add(1);
    m_open = !treeClosed.load();
}

ZANTOTreeUse::~ZANTOTreeUse() { treeUsers.fetch_sub(1); }

void ZANTOBeginTree() { treeUnfinished = true; }

void ZANTOOpenTree()
{
    std::lock_guard<std::mutex> lock(phases().mutex);
    treeClosed = false;
    treeUnfinished = false;
    phases().changed.notify_all();
}

bool ZANTOTreeIsComplete() noexcept { return systemNode != nullptr && !treeUnfinished; }

void ZANTOWaitForTree()
{
    std::unique_lock<std::mutex> lock(phases().mutex);
    phases().changed.wait(lock, ZANTOTreeIsComplete);
}

bool ZANTOCloseTree(std::chrono::milliseconds limit)
{
    treeClosed = true;
    const auto end = std::chrono::steady_clock::now() + limit;
    // Seeing 0 once is enough: whoever raises the counter later is refused.
    while (treeUsers != 0) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

ZANTOStartupWork::ZANTOStartupWork()
{
    {
        std::lock_guard<std::mutex> lock(phases().mutex);
        phases().startupThread = std::this_thread::get_id();
    }
    // Work that would begin once the process is ending does not begin.
    ZANTOStartupCheckpoint();
}

ZANTOStartupWork::~ZANTOStartupWork()
{
    std::lock_guard<std::mutex> lock(phases().mutex);
    phases().startupThread = std::thread::id();
    phases().changed.notify_all();
}

void ZANTOStartupCheckpoint() { ZANTOStartupPause(std::chrono::milliseconds(0)); }

void ZANTOStartupPause(std::chrono::milliseconds pause)
{
    Phases &p = phases();
    std::unique_lock<std::mutex> lock(p.mutex);
    if (pause.count() > 0)
        p.changed.wait_for(lock, pause, [&p] { return p.ending; });
    if (!p.ending || p.startupThread != std::this_thread::get_id())
        return;
    p.startupThread = std::thread::id();
    p.changed.notify_all();
    while (true)
        p.changed.wait(lock);
}

bool ZANTOEndStartupWork(std::chrono::milliseconds limit)
{
    Phases &p = phases();
    std::unique_lock<std::mutex> lock(p.mutex);
    p.ending = true;
    p.changed.notify_all();
    const auto self = std::this_thread::get_id();
    return p.changed.wait_for(lock, limit, [&p, self] {
        return p.startupThread == std::thread::id() || p.startupThread == self;
    });
}

void ZANTOSetScriptRunning(bool running) noexcept { scriptRunning = running; }
bool ZANTOScriptIsRunning() noexcept { return scriptRunning; }
