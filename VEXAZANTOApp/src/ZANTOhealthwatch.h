// Has links and records tell when the event connection is lost, and the figures tick.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

// What the watch asks of the IOC; tests put their own in place. Called on one thread at a time.
struct ZANTOHealthServices {
    // For the links that ask for the state.
    void (*setState)(bool lost);
    // Processes the records that show whether the connection is lost; returns when that is done.
    void (*showLost)();
    // Has each I/O-interrupt list scanned once. Does not wait for it.
    void (*requestScans)();
    // Once a second while the scans run.
    void (*tick)();
};

// Whether the crate's events come in. As soon as it is begun, each change is carried out on a
// thread of its own: state, records that show it, scans of all records, in this order, so that a
// record whose SDIS asks for the state gets its severity when it is lost and its value when it is
// back. Changes that follow each other quickly are carried out once; the last one always is.
//
// Any thread may call any function; none blocks but turn(), which processes records. The lock
// inside is held for moments, and nothing is waited for under it.
class ZANTOHealthWatch {
public:
    ZANTOHealthWatch() = default;
    ZANTOHealthWatch(const ZANTOHealthWatch &) = delete;
    ZANTOHealthWatch &operator=(const ZANTOHealthWatch &) = delete;

    // The one of the process, which no exit destroys.
    static ZANTOHealthWatch &instance();

    // Lost until told otherwise. Known also to a watch that is never begun.
    void setConnected(bool connected);
    bool isLost() const noexcept { return m_lost; }
    // What the state was set to last: records show the same, also where the connection has changed
    // since then and the next turn has not begun.
    bool isShownLost() const noexcept { return m_shownLost; }

    // The records are initialised and none has processed: sets the state and starts the thread.
    // `services` must live on.
    void begin(const ZANTOHealthServices &services);
    // The scans run: every record is processed once, since the state may have changed meanwhile.
    void iocRuns();
    // The scans end or pause: no record is begun any more until the next iocRuns(). The state is
    // kept on.
    void stop();
    bool scansRun() const noexcept { return m_iocRuns; }
    // A turn has begun and is not over.
    bool isBusy() const noexcept { return m_isBusy; }

    // Does what is due. For the thread.
    void turn();

    static constexpr std::chrono::seconds period{1}; // of the ticks

private:
    struct Work {
        const ZANTOHealthServices *services = nullptr; // null: nothing is to be done
        bool lost = false;
        bool state = false;
        bool records = false;
        bool tick = false;
    };

    bool tellIocRuns();
    void show(const ZANTOHealthServices &services, bool lost);
    void startThread();
    void run() noexcept;
    bool hasWork() const;
    Work takeWork();
    bool takeTick();

    std::atomic<bool> m_lost{true};
    std::atomic<bool> m_shownLost{true};
    // Written under m_mutex, read without it.
    std::atomic<bool> m_iocRuns{false};
    std::atomic<bool> m_isBusy{false};

    std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    const ZANTOHealthServices *m_services = nullptr; // null until begun
    bool m_hasThread = false;
    bool m_stateDue = false;
    bool m_recordsDue = false;
    std::chrono::steady_clock::time_point m_nextTick;
};
