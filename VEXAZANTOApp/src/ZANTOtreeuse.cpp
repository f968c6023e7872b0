#include "ZANTOtreeuse.h"

#include "ZANTOstatic.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <mutex>
#include <thread>

namespace {

// The thread sanitizer does not know of barriers that another thread runs.
#if defined(__SANITIZE_THREAD__) || !defined(SYS_membarrier)

bool lendsBarriers() { return false; }
void runBarriers() {}

#else

bool membarrier(int command) { return syscall(SYS_membarrier, command, 0, 0) == 0; }

// Since Linux 4.14; a sandbox may forbid it.
bool lendsBarriers()
{
    static const bool registered = membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);
    return registered;
}

// A store that a processor still keeps to itself is seen by all when this returns.
void runBarriers()
{
    if (lendsBarriers() && !membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED))
        membarrier(MEMBARRIER_CMD_GLOBAL);
}

// While there is one thread it takes no time.
const bool registeredEarly = lendsBarriers();

#endif

// The counters of all threads that ever used the tree. They never move and are never freed: a
// thread that ends passes its own on to the next one.
struct Users {
    std::mutex mutex;
    std::deque<ZANTOTreeUser> all; // guarded by mutex, except what each user says of itself
    ZANTOTreeUser shared;          // of threads that have none of their own
};

Users &users()
{
    static ZANTONeverDestroyed<Users> instance;
    return instance.get();
}

ZANTOTreeUser &takeUser()
{
    std::lock_guard<std::mutex> lock(users().mutex);
    for (ZANTOTreeUser &user : users().all) {
        if (!user.isTaken) {
            user.isTaken = true;
            return user;
        }
    }
    ZANTOTreeUser &user = users().all.emplace_back();
    user.isLocked = !lendsBarriers();
    return user;
}

void passOn(ZANTOTreeUser &user)
{
    std::lock_guard<std::mutex> lock(users().mutex);
    user.isTaken = false;
}

bool nobodyUsesTheTree()
{
    std::lock_guard<std::mutex> lock(users().mutex);
    return users().shared.uses == 0 &&
           std::all_of(users().all.begin(), users().all.end(),
                       [](const ZANTOTreeUser &user) { return user.uses == 0; });
}

} // namespace

// What a thread does after it gave its counter back at its end, and what it does without memory
// for a counter, counts with the shared one.
ZANTOTreeUser &ZANTOTreeUse::join() noexcept
{
    thread_local bool isOver = false;
    struct Membership {
        ~Membership()
        {
            isOver = true;
            if (t_user != nullptr)
                passOn(*t_user);
            t_user = nullptr;
        }
    };
    if (isOver)
        return users().shared;
    try {
        thread_local Membership membership;
        t_user = &takeUser();
        return *t_user;
    } catch (...) {
        return users().shared;
    }
}

// With the barriers run, a thread that was not told of the closing is one whose use is seen here.
// Seeing each at 0 once is enough: whoever begins later is refused.
bool ZANTOTreeUse::close(std::chrono::milliseconds limit)
{
    s_closed = true;
    runBarriers();
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!nobodyUsesTheTree()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
