// The locks of a node, and how an event gets its value into a node that somebody holds.
#include "ZANTOnode.h"

#include "ZANTOhealth.h"
#include "ZANTOstatic.h"

#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

namespace {

// A value that an event left for the holder of a node.
struct Pending {
    ZANTONodeValue value;
    uint64_t connection = ZANTONode::noConnection;
};

// Few nodes ever have one.
struct PendingValues {
    // Held for a moment each time; no lock of a node is waited for under it.
    std::mutex mutex;
    std::unordered_map<const ZANTONode *, Pending> of; // guarded by mutex
};

PendingValues &pending()
{
    static ZANTONeverDestroyed<PendingValues> values;
    return values.get();
}

// Of two values the one that came later stays, unless its connection is the older one.
bool replaces(uint64_t connection, const Pending &kept)
{
    return connection == ZANTONode::noConnection || connection >= kept.connection;
}

} // namespace

// ---- locks ----

// Waits for m_serializer where a value is pending: a read must not miss it, since no scan comes
// after the one that its event asked for.
void ZANTONode::lockSem()
{
    if (!m_locks.lock(m_tcpMutex) || !m_locks.isMarked())
        return;
    if (m_locks.lock(m_serializer))
        applyPending();
    unlockMembers();
}

void ZANTONode::unlockSem() { unlock(m_tcpMutex); }
void ZANTONode::lockMembers() { m_locks.lock(m_serializer); }
void ZANTONode::unlockMembers() { unlock(m_serializer); }

void ZANTONode::unlock(ZANTONodeLock::Part part)
{
    if (m_locks.unlock(part))
        settle();
}

// Under both locks, which are let go.
void ZANTONode::settle()
{
    do {
        applyPending();
    } while (m_locks.unlock(ZANTONodeLock::both));
}

// ---- values of events ----
//
// A value that finds the node in use is kept here and marked in the node's locks, and whoever lets
// go of the node last takes it in: the mark is set only while somebody has a lock, and the last
// lock is not let go while the mark is set. A library call that hangs makes nobody spin.

void ZANTONode::updateValue(ZANTONodeValue value, uint64_t connection)
{
    m_value.makeRoomFor(value);
    if (applyAtOnce(value, connection) || leavePending(value, connection))
        return;
    const SemGuard record(*this);
    const MemberGuard members(*this);
    take(std::move(value), connection);
}

// Leaves the value to the caller when it fails.
bool ZANTONode::applyAtOnce(ZANTONodeValue &value, uint64_t connection)
{
    if (m_locks.tryHold()) {
        take(std::move(value), connection);
        if (m_locks.letHoldGo())
            settle();
        return true;
    }
    if (!m_locks.tryLockBoth())
        return false;
    if (m_locks.isMarked())
        applyPending();
    take(std::move(value), connection);
    unlock(ZANTONodeLock::both);
    return true;
}

// Under both locks. Asks for no memory.
void ZANTONode::applyPending() noexcept
{
    std::unordered_map<const ZANTONode *, Pending>::node_type left;
    {
        std::lock_guard<std::mutex> lock(pending().mutex);
        left = pending().of.extract(this);
        m_locks.unmark();
    }
    if (!left.empty())
        take(std::move(left.mapped().value), left.mapped().connection);
}

// Under both locks, and when one is let go, where nothing can be thrown.
void ZANTONode::take(ZANTONodeValue &&value, uint64_t connection) noexcept
{
    if (connection != noConnection) {
        if (connection < m_connection)
            return;
        m_connection = connection;
    }
    m_value.set(std::move(value));
}

// False, and the value is still the caller's, when there is no memory for it.
bool ZANTONode::leavePending(ZANTONodeValue &value, uint64_t connection)
{
    {
        std::lock_guard<std::mutex> lock(pending().mutex);
        try {
            const auto [kept, isFirst] = pending().of.try_emplace(this);
            if (isFirst || replaces(connection, kept->second))
                kept->second = {std::move(value), connection};
        } catch (const std::bad_alloc &) {
            return false;
        }
        if (m_locks.markOrLockBoth()) {
            ZANTOCount(ZANTOPresentCounts.heldValues);
            return true;
        }
    }
    applyPending(); // the node is free by now
    unlock(ZANTONodeLock::both);
    return true;
}

// For a node that is deleted while a thread that never comes back holds it.
void ZANTONode::forgetPending() noexcept
{
    if (!m_locks.isMarked())
        return;
    std::lock_guard<std::mutex> lock(pending().mutex);
    pending().of.erase(this);
}

// ---- reads ----

void ZANTONode::readText(char (&shown)[ZANTOValueCell::shownSize])
{
    if (!m_locks.isReadable() || !m_value.tryText(shown))
        copyHeld([&] { return m_value.tryText(shown); });
}
