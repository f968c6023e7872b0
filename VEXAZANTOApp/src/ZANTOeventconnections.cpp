#include "ZANTOeventconnections.h"

#include "ZANTOhealthwatch.h"
#include "ZANTOstatic.h"

#include <sys/socket.h>

#include <algorithm>

namespace {

std::optional<size_t> oldest(const std::vector<ZANTOEventConnection> &list, bool isCrates,
                             bool hasDelivered)
{
    for (size_t i = 0; i < list.size(); ++i) {
        const ZANTOEventConnection &connection = list[i];
        if (!connection.isLeaving && connection.isCrates == isCrates &&
            connection.hasDelivered == hasDelivered)
            return i;
    }
    return std::nullopt;
}

} // namespace

std::optional<size_t> ZANTOConnectionToReplace(const std::vector<ZANTOEventConnection> &list,
                                               bool newIsCrates)
{
    for (const bool isCrates : {false, true}) {
        const std::optional<size_t> silent = oldest(list, isCrates, false);
        if (silent)
            return silent;
    }
    return newIsCrates ? oldest(list, false, true) : std::nullopt;
}

bool ZANTOEventsComeIn(const std::vector<ZANTOEventConnection> &list)
{
    return std::any_of(list.begin(), list.end(), [](const ZANTOEventConnection &connection) {
        return !connection.isLeaving && (connection.isCrates || connection.hasDelivered);
    });
}

// Under the mutex, so that the last one told is the last that was true.
void ZANTOEventConnections::tell() const { m_tells(ZANTOEventsComeIn(m_list)); }

ZANTOEventConnections &ZANTOEventConnections::instance()
{
    static ZANTONeverDestroyed<ZANTOEventConnections> connections;
    return connections.get();
}

ZANTOEventConnections::ZANTOEventConnections()
    : ZANTOEventConnections([](bool comeIn) { ZANTOHealthWatch::instance().setConnected(comeIn); })
{
}

bool ZANTOEventConnections::makeRoom(bool newIsCrates)
{
    const auto leaving = static_cast<size_t>(std::count_if(
        m_list.begin(), m_list.end(), [](const ZANTOEventConnection &c) { return c.isLeaving; }));
    if (m_list.size() - leaving < maxServed)
        return true;
    const std::optional<size_t> position = ZANTOConnectionToReplace(m_list, newIsCrates);
    if (leaving >= maxLeaving || !position)
        return false;
    ZANTOEventConnection &replaced = m_list[*position];
    replaced.isLeaving = true;
    shutdown(replaced.socket, SHUT_RDWR);
    return true;
}

uint64_t ZANTOEventConnections::admit(int socket, bool isCrates)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!makeRoom(isCrates))
        return 0;
    m_list.push_back({socket, ++m_lastNumber, isCrates, false, false});
    tell();
    return m_lastNumber;
}

uint64_t ZANTOEventConnections::numberOf(int socket) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const ZANTOEventConnection &connection : m_list) {
        if (connection.socket == socket)
            return connection.number;
    }
    return 0;
}

void ZANTOEventConnections::delivered(uint64_t number)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (ZANTOEventConnection &connection : m_list) {
        if (connection.number == number)
            connection.hasDelivered = true;
    }
    tell();
}

void ZANTOEventConnections::remove(uint64_t number)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_list.erase(std::remove_if(m_list.begin(), m_list.end(),
                                [number](const ZANTOEventConnection &connection) {
                                    return connection.number == number;
                                }),
                 m_list.end());
    tell();
}
