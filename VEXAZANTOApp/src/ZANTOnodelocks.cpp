// The locks of a node, and how an event gets its value into a node that somebody holds.
#include "ZANTOnode.h"

#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>

namespace {

void initRecursive(pthread_mutex_t &mutex, bool &live)
{
    if (live)
        return;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    live = true;
}

/// A lock that is taken only if nobody else has it, until release() or the end of the scope.
class TryLock {
public:
    explicit TryLock(pthread_mutex_t &mutex)
        : m_mutex(pthread_mutex_trylock(&mutex) == 0 ? &mutex : nullptr)
    {
    }
    ~TryLock() { release(); }
    TryLock(const TryLock &) = delete;
    TryLock &operator=(const TryLock &) = delete;

    explicit operator bool() const { return m_mutex != nullptr; }
    void release()
    {
        if (m_mutex != nullptr)
            pthread_mutex_unlock(std::exchange(m_mutex, nullptr));
    }

private:
    pthread_mutex_t *m_mutex;
};

// Guards the pending values of all nodes, for a moment each time, and is the last lock that
// anybody takes. Few nodes ever have a pending value.
std::mutex pendingMutex;

} // namespace

void ZANTONode::initSem()
{
    initRecursive(m_tcpMutex, m_tcpMutexLive);
    initRecursive(m_serializer, m_serializerLive);
}

void ZANTONode::destroySem()
{
    if (!m_tcpMutexLive)
        return;
    pthread_mutex_destroy(&m_tcpMutex);
    m_tcpMutexLive = false;
}

// Waits for m_serializer where a value is pending: a read must not miss it, since no scan comes
// after the one that its event asked for.
void ZANTONode::lockSem()
{
    pthread_mutex_lock(&m_tcpMutex);
    if (m_tcpDepth++ > 0 || m_pending.load(std::memory_order_acquire) == nullptr)
        return;
    const MemberGuard guard(*this);
    if (m_serializerDepth == 1)
        applyPending();
}

void ZANTONode::unlockSem()
{
    const bool last = --m_tcpDepth == 0;
    pthread_mutex_unlock(&m_tcpMutex);
    if (last)
        settle();
}

void ZANTONode::lockMembers()
{
    pthread_mutex_lock(&m_serializer);
    ++m_serializerDepth;
}

void ZANTONode::unlockMembers()
{
    const bool last = --m_serializerDepth == 0;
    pthread_mutex_unlock(&m_serializer);
    if (last)
        settle();
}

// ---- values of events ----
//
// A value that finds the node in use is left in m_pending, and whoever lets go of a lock looks
// there afterwards. Every put and every look is a read-modify-write of m_pending, so of any two
// one comes first, and what its thread did before happens before what the other's does after.
// That no value is stranded follows:
//
// An event puts its value and then cannot have a lock. The lock's holder lets go and then looks.
// If the look came before the put, the lock was free for the event, as far as that holder is
// concerned; so the look comes after and sees the value.
//
// Who sees a value needs both locks. One that has m_tcpMutex and not m_serializer lets go, looks,
// and asks for m_serializer once more; the holder of m_serializer lets go, looks, and asks for
// m_tcpMutex. Whoever looks later finds the other's lock free. If it is taken again by then, the
// same holds for the new holder. Nobody asks again while a lock is held, so a library call that
// hangs makes nobody spin.

void ZANTONode::updateValue(ZANTONodeValue value, uint64_t connection)
{
    if (!applyAtOnce(value, connection) && !leavePending(value, connection)) {
        const SemGuard record(*this);
        const MemberGuard members(*this);
        take(std::move(value), connection);
    }
    settle();
}

// Leaves the value to the caller when it fails.
bool ZANTONode::applyAtOnce(ZANTONodeValue &value, uint64_t connection)
{
    const TryLock record(m_tcpMutex);
    if (!record)
        return false;
    const TryLock members(m_serializer);
    if (!members)
        return false;
    applyPending();
    take(std::move(value), connection);
    return true;
}

// Under both locks.
void ZANTONode::applyPending()
{
    if (m_pending.load(std::memory_order_acquire) == nullptr)
        return;
    std::unique_ptr<Pending> pending;
    {
        std::lock_guard<std::mutex> lock(pendingMutex);
        pending.reset(m_pending.exchange(nullptr));
    }
    if (pending != nullptr)
        take(std::move(pending->value), pending->connection);
}

// Under both locks, and when one is let go, where nothing can be thrown: the value is moved,
// which asks for no memory.
void ZANTONode::take(ZANTONodeValue &&value, uint64_t connection) noexcept
{
    if (connection != noConnection) {
        if (connection < m_connection)
            return;
        m_connection = connection;
    }
    static_assert(std::is_nothrow_move_assignable_v<ZANTONodeValue>);
    m_nodeValue = std::move(value);
}

// False, and the value is still the caller's, when there is no memory for it.
bool ZANTONode::leavePending(ZANTONodeValue &value, uint64_t connection)
{
    try {
        putPending(value, connection);
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

// Of two values the one that came later stays, unless its connection is the older one. It takes
// the other's place without a moment in which a read finds neither.
void ZANTONode::putPending(ZANTONodeValue &value, uint64_t connection)
{
    std::lock_guard<std::mutex> lock(pendingMutex);
    Pending *pending = m_pending.load();
    std::unique_ptr<Pending> fresh;
    if (pending == nullptr) {
        fresh = std::make_unique<Pending>();
        pending = fresh.get();
    }
    if (connection == noConnection || connection >= pending->connection) {
        pending->value = std::move(value);
        pending->connection = connection;
    }
    m_pending.exchange(fresh != nullptr ? fresh.release() : pending);
}

bool ZANTONode::anyPending() { return m_pending.fetch_add(0) != nullptr; }

// False when somebody holds the node who looks again after letting go, maybe this very thread.
bool ZANTONode::tryToApply()
{
    TryLock record(m_tcpMutex);
    if (!record || m_tcpDepth > 0)
        return false;
    {
        const TryLock members(m_serializer);
        if (members && m_serializerDepth > 0)
            return false;
        if (members) {
            applyPending();
            return true;
        }
    }
    record.release();
    anyPending();
    return static_cast<bool>(TryLock(m_serializer));
}

void ZANTONode::settle()
{
    while (anyPending() && tryToApply()) {
    }
}
