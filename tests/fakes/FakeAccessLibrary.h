// Stands in for libvexahvwrapper in tests: answers from a FakeCrate, records every call,
// fails on request and keeps the books on the buffers that it hands out.
#pragma once

#include "FakeCrate.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

template <typename T> class ZANTONeverDestroyed;

// The calling thread is inside an operation of the fake, for a scope. What it allocates there
// is the fake's own: tests of failing allocations leave it alone.
class FakeOperation {
public:
    FakeOperation() { ++depth; }
    ~FakeOperation() { --depth; }
    FakeOperation(const FakeOperation &) = delete;
    FakeOperation &operator=(const FakeOperation &) = delete;

    static bool isUnderWay() { return depth > 0; }

private:
    static inline thread_local int depth = 0;
};

// There is one, as there is one library in a process; the C operations are its callers. Link
// it in place of -lvexahvwrapper and call reset() before each test. All functions may be
// called from any thread; only GetEventData ever blocks, and only when asked to.
//
// A call is recorded as one line, lists in brackets, a written value behind "=":
//     SetChParam(7, 1, VSet, 1, [2]) = 12.5
// Like a real library it hands out nothing after a failure, and buffers of exactly the width
// that the interface names, so that a sanitizer sees every byte read too much. A GetEventData
// that fails leaves outputs behind that must not be touched.
class FakeAccessLibrary {
public:
    // The handle that a login gives. Calls with any other fail with unknownHandle.
    static constexpr int32_t handle = 7;
    static constexpr int32_t unknownHandle = -100;
    // Result of a call that names something the crate does not have.
    static constexpr int32_t unknownItem = -101;
    // Result of GetEventData when nothing is queued, or once events are closed.
    static constexpr int32_t eventsEnded = -102;

    static FakeAccessLibrary &instance();

    // An empty crate, no calls, no faults, no events. Buffers handed out before are forgotten.
    void reset();
    void setCrate(const FakeCrate &crate);
    // A copy: shows what writes have changed.
    FakeCrate crate() const;

    // ---- calls ----

    std::vector<std::string> calls() const;
    // Those that begin with `prefix`, such as "GetChParamProp(" or "Free(".
    std::vector<std::string> callsOf(const std::string &prefix) const;
    void forgetCalls();
    // The first 8 bytes of the buffer that came with the last write of a system property that
    // is a number: a library may read more of it than the value's width.
    FakeBytes lastNumberWritten() const;
    // Runs on the calling thread after a call is recorded and before it is answered; no lock
    // of the fake is held. An empty function removes it.
    void setHook(std::function<void(const std::string &call)> hook);

    // ---- faults ----

    static constexpr int always = -1;
    // Calls that begin with `prefix` fail with `code`: from the `first`-th on, `count` times.
    void failCalls(const std::string &prefix, int32_t code, int first = 1, int count = always);
    // Subscriptions of this name get a non-zero result byte; the call itself succeeds.
    void refuseName(const std::string &name);
    // Ends all faults and refusals.
    void heal();

    // ---- buffers ----

    // Lists and event arrays that the caller has not released.
    std::size_t unreleased() const;
    std::size_t allocations() const;
    std::size_t nullReleases() const;
    // Releases of what was never handed out, was released before, or must not be released.
    std::size_t wrongReleases() const;

    // ---- events ----

    // The batch that the next GetEventData, of any socket, hands out.
    void queueEvents(const std::vector<VEXAHVEventData_t> &batch);
    // GetEventData waits for a batch instead of failing when none is queued.
    void blockForEvents();
    // Wakes all waiting GetEventData calls; these and all later ones fail.
    void closeEvents();

    static VEXAHVEventData_t event(int32_t board, int32_t channel, const std::string &item,
                                   const FakeBytes &value, int32_t type = PARAMETER);

    // ---- for the C operations ----

    // Records the call. Non-zero: the result that the operation has to return at once.
    int32_t enter(const std::string &call);
    // As enter(), and a wrong handle fails.
    int32_t enter(const std::string &call, int32_t callersHandle);
    // A copy of `bytes` to hand out. With an empty `bytes`, memory that nobody may touch.
    void *handOut(const std::string &list, const std::string &bytes);
    void release(void *buffer);
    bool isRefused(const std::string &name) const;
    void noteNumberWritten(const FakeBytes &bytes);
    bool takeEvents(std::vector<VEXAHVEventData_t> &batch);

    // Runs `use` on the crate under the lock; its result.
    int32_t withCrate(const std::function<int32_t(FakeCrate &)> &use);

private:
    struct Fault {
        std::string prefix;
        int32_t code;
        int first;
        int count;
        int seen;
    };

    template <typename T> friend class ZANTONeverDestroyed;
    FakeAccessLibrary() = default;
    int32_t faultOf(const std::string &call);

    mutable std::mutex m_mutex;
    std::condition_variable m_eventsChanged;
    // All guarded by m_mutex.
    FakeCrate m_crate;
    std::vector<std::string> m_calls;
    std::vector<Fault> m_faults;
    std::set<std::string> m_refused;
    FakeBytes m_lastNumber;
    std::function<void(const std::string &)> m_hook;
    std::map<void *, std::string> m_buffers; // not yet released, with the name of the list
    std::size_t m_allocations = 0;
    std::size_t m_nullReleases = 0;
    std::size_t m_wrongReleases = 0;
    std::deque<std::vector<VEXAHVEventData_t>> m_events;
    bool m_blocking = false;
    bool m_eventsClosed = false;
};
