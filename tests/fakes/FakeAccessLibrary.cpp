#include "FakeAccessLibrary.h"

#include "ZANTOstatic.h"

#include <algorithm>
#include <cstdlib>
#include <sys/mman.h>

namespace {

bool startsWith(const std::string &text, const std::string &prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

// What a call with a count of 0 hands out: reading it is a segmentation fault.
void *untouchable()
{
    static void *const page = mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return page;
}

} // namespace

FakeAccessLibrary &FakeAccessLibrary::instance()
{
    // Threads of the IOC may call the library while the process exits.
    static ZANTONeverDestroyed<FakeAccessLibrary> library;
    return library.get();
}

void FakeAccessLibrary::reset()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_crate = FakeCrate();
    m_calls.clear();
    m_faults.clear();
    m_refused.clear();
    m_lastNumber = FakeBytes();
    m_hook = nullptr;
    m_buffers.clear();
    m_allocations = m_nullReleases = m_wrongReleases = 0;
    m_events.clear();
    m_blocking = m_eventsClosed = false;
}

void FakeAccessLibrary::setCrate(const FakeCrate &crate)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_crate = crate;
}

FakeCrate FakeAccessLibrary::crate() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_crate;
}

// ---- calls ----

std::vector<std::string> FakeAccessLibrary::calls() const { return callsOf(""); }

std::vector<std::string> FakeAccessLibrary::callsOf(const std::string &prefix) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> found;
    std::copy_if(m_calls.begin(), m_calls.end(), std::back_inserter(found),
                 [&](const std::string &call) { return startsWith(call, prefix); });
    return found;
}

void FakeAccessLibrary::forgetCalls()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
}

FakeBytes FakeAccessLibrary::lastNumberWritten() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastNumber;
}

void FakeAccessLibrary::noteNumberWritten(const FakeBytes &bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lastNumber = bytes;
}

void FakeAccessLibrary::setHook(std::function<void(const std::string &call)> hook)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_hook = std::move(hook);
}

int32_t FakeAccessLibrary::enter(const std::string &call)
{
    std::function<void(const std::string &)> hook;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(call);
        hook = m_hook;
    }
    if (hook)
        hook(call);
    std::lock_guard<std::mutex> lock(m_mutex);
    return faultOf(call);
}

int32_t FakeAccessLibrary::enter(const std::string &call, int32_t callersHandle)
{
    const int32_t fault = enter(call);
    return fault == 0 && callersHandle != handle ? unknownHandle : fault;
}

// ---- faults ----

void FakeAccessLibrary::failCalls(const std::string &prefix, int32_t code, int first, int count)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.push_back({prefix, code, first, count, 0});
}

void FakeAccessLibrary::refuseName(const std::string &name)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_refused.insert(name);
}

void FakeAccessLibrary::heal()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.clear();
    m_refused.clear();
}

// Every fault counts every call that it matches; the first one that is due decides.
int32_t FakeAccessLibrary::faultOf(const std::string &call)
{
    int32_t result = 0;
    for (Fault &fault : m_faults) {
        if (!startsWith(call, fault.prefix))
            continue;
        ++fault.seen;
        const bool over = fault.count != always && fault.seen >= fault.first + fault.count;
        if (result == 0 && fault.seen >= fault.first && !over)
            result = fault.code;
    }
    return result;
}

bool FakeAccessLibrary::isRefused(const std::string &name) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_refused.count(name) != 0;
}

// ---- buffers ----

void *FakeAccessLibrary::handOut(const std::string &list, const std::string &bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_crate.withheldLists.count(list) != 0)
        return nullptr;
    if (bytes.empty())
        return untouchable();
    void *buffer = std::malloc(bytes.size());
    std::memcpy(buffer, bytes.data(), bytes.size());
    m_buffers[buffer] = list;
    ++m_allocations;
    return buffer;
}

void FakeAccessLibrary::release(void *buffer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_buffers.find(buffer);
    m_calls.push_back(
        "Free(" +
        (found != m_buffers.end() ? found->second : std::string(buffer != nullptr ? "?" : "null")) +
        ")");
    if (buffer == nullptr) {
        ++m_nullReleases;
    } else if (found == m_buffers.end()) {
        ++m_wrongReleases;
    } else {
        m_buffers.erase(found);
        std::free(buffer);
    }
}

std::size_t FakeAccessLibrary::unreleased() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_buffers.size();
}

std::size_t FakeAccessLibrary::allocations() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_allocations;
}

std::size_t FakeAccessLibrary::nullReleases() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nullReleases;
}

std::size_t FakeAccessLibrary::wrongReleases() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_wrongReleases;
}

// ---- events ----

void FakeAccessLibrary::queueEvents(const std::vector<VEXAHVEventData_t> &batch)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_events.push_back(batch);
    m_eventsChanged.notify_one();
}

void FakeAccessLibrary::blockForEvents()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_blocking = true;
}

void FakeAccessLibrary::closeEvents()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_eventsClosed = true;
    m_eventsChanged.notify_all();
}

bool FakeAccessLibrary::takeEvents(std::vector<VEXAHVEventData_t> &batch)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_eventsChanged.wait(lock,
                         [this] { return !m_blocking || m_eventsClosed || !m_events.empty(); });
    if (m_eventsClosed || m_events.empty())
        return false;
    batch = m_events.front();
    m_events.pop_front();
    return true;
}

VEXAHVEventData_t FakeAccessLibrary::event(int32_t board, int32_t channel, const std::string &item,
                                           const FakeBytes &value, int32_t type)
{
    VEXAHVEventData_t event = {};
    event.Type = type;
    event.SystemHandle = handle;
    event.BoardIndex = board;
    event.ChannelIndex = channel;
    std::memcpy(event.ItemID, item.data(), std::min(item.size(), sizeof(event.ItemID)));
    std::memcpy(&event.Value, value.raw.data(), std::min(value.raw.size(), sizeof(event.Value)));
    return event;
}

int32_t FakeAccessLibrary::withCrate(const std::function<int32_t(FakeCrate &)> &use)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return use(m_crate);
}
