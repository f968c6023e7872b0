// The event connections that are served, and which of them gives way when there is no room.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

struct ZANTOEventConnection {
    int socket;
    uint64_t number;   // in the order of accept, from 1
    bool isCrates;     // it comes from the crate's own address
    bool hasDelivered; // a batch with at least one event
    bool isLeaving;    // told to end, and its thread has not ended yet
};

// Position of the connection that gives way to a new one, of a list in the order of accept, or
// none: then the new one has no place. The oldest that never delivered anything goes,
// strangers before the crate's; where all have delivered, the oldest stranger, and only for
// the crate.
std::optional<size_t> ZANTOConnectionToReplace(const std::vector<ZANTOEventConnection> &list,
                                               bool newIsCrates);

// The crate's events come in: a connection of the crate is open, or one that has delivered any. A
// stranger that only connects does not make values look alive.
bool ZANTOEventsComeIn(const std::vector<ZANTOEventConnection> &list);

// The connections of the process. Any thread may call any function; none blocks.
class ZANTOEventConnections {
public:
    // Tells the health watch whether events come in.
    ZANTOEventConnections();
    // `tells` is called after each change, for a moment and never twice at a time.
    explicit ZANTOEventConnections(void (*tells)(bool comeIn)) : m_tells(tells) {}

    static ZANTOEventConnections &instance();

    // Takes a new connection in and gives it its number; one that has to give way is shut down,
    // so that its thread ends. 0 when there is no place for it.
    uint64_t admit(int socket, bool isCrates);
    // The number of the connection on this socket, 0 for one that was not admitted.
    uint64_t numberOf(int socket) const;
    void delivered(uint64_t number);
    // To be called before the connection's socket is closed: another may have its descriptor
    // at once.
    void remove(uint64_t number);

    // More than any number of mainframes that one server follows. Without a bound, peers that
    // only connect would take every descriptor, and those of the clients' servers with them.
    static constexpr size_t maxServed = 128;
    // Those that were told to end and are still there.
    static constexpr size_t maxLeaving = 128;

private:
    bool makeRoom(bool newIsCrates);
    void tell() const;

    void (*const m_tells)(bool comeIn);
    mutable std::mutex m_mutex;
    // Guarded by m_mutex.
    std::vector<ZANTOEventConnection> m_list; // in the order of accept
    uint64_t m_lastNumber = 0;
};
