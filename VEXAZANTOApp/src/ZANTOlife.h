/// Who may use the tree and when: the phases of the process as its threads see them.
///
/// The main thread builds the tree and subscribes; records and event threads use it; Shutdown,
/// on whatever thread it runs, ends the work of the first and waits for the others to leave
/// before the tree is deleted.
#ifndef ZANTOLIFE_H
#define ZANTOLIFE_H

#include <chrono>

/// One use of the tree by a record or an event, for a scope. False when the tree is closed:
/// then no node may be touched. Never blocks.
class ZANTOTreeUse {
public:
    ZANTOTreeUse() noexcept;
    ~ZANTOTreeUse();
    ZANTOTreeUse(const ZANTOTreeUse &) = delete;
    ZANTOTreeUse &operator=(const ZANTOTreeUse &) = delete;

    explicit operator bool() const noexcept { return m_open; }

private:
    bool m_open;
};

/// A build of the tree begins: until it ends with ZANTOOpenTree the tree is not complete, even
/// if systemNode is set already.
void ZANTOBeginTree();
/// The tree is complete: connections of the mainframe that wait for it are served from now on.
void ZANTOOpenTree();
/// There is a tree and no build of it is unfinished.
bool ZANTOTreeIsComplete() noexcept;
/// Blocks until the tree is complete.
void ZANTOWaitForTree();
/// Refuses further uses and waits for the present ones to end. False when some did not end in
/// time; then the tree must not be deleted.
bool ZANTOCloseTree(std::chrono::milliseconds limit);

/// The main thread's walk through the mainframe (tree build, subscription), for a scope. An
/// end of the process waits for it to reach a checkpoint.
class ZANTOStartupWork {
public:
    ZANTOStartupWork();
    ~ZANTOStartupWork();
    ZANTOStartupWork(const ZANTOStartupWork &) = delete;
    ZANTOStartupWork &operator=(const ZANTOStartupWork &) = delete;
};

/// Called between two calls of the access library. Once the process is ending it never returns
/// to the thread that does start-up work: another thread logs out and ends the process.
void ZANTOStartupCheckpoint();
/// As ZANTOStartupCheckpoint, after a pause that an end of the process cuts short.
void ZANTOStartupPause(std::chrono::milliseconds pause);
/// The process ends: start-up work stops at its next checkpoint. False when it did not within
/// `limit` because a library call does not return.
bool ZANTOEndStartupWork(std::chrono::milliseconds limit);

/// The main thread runs the start-up script: set and cleared by it, asked by any thread.
void ZANTOSetScriptRunning(bool running) noexcept;
bool ZANTOScriptIsRunning() noexcept;

#endif
