// Records, monitors and events as the tests see them.
#include "iocSupport.h"

#include "ZANTOeventsthread.h"
#include "ZANTOrecord.h"

#include <aiRecord.h>
#include <aoRecord.h>
#include <biRecord.h>
#include <boRecord.h>
#include <dbAccess.h>
#include <dbChannel.h>
#include <dbEvent.h>
#include <dbLock.h>
#include <epicsThread.h>
#include <mbbiDirectRecord.h>
#include <mbbiRecord.h>
#include <mbboDirectRecord.h>
#include <mbboRecord.h>

#include <cstdio>
#include <cstdlib>
#include <sys/socket.h>
#include <type_traits>
#include <unistd.h>

// ---- records ----

namespace {

DBADDR addressOf(const std::string &field)
{
    DBADDR address = {};
    if (dbNameToAddr(field.c_str(), &address) != 0)
        ADD_FAILURE() << "no field " << field;
    return address;
}

class RecordLock {
public:
    explicit RecordLock(dbCommon *record) : m_record(record) { dbScanLock(m_record); }
    ~RecordLock() { dbScanUnlock(m_record); }

private:
    dbCommon *m_record;
};

ZANTODset5<dbCommon> *supportOf(dbCommon *record)
{
    return reinterpret_cast<ZANTODset5<dbCommon> *>(record->dset);
}

// Calls `use` with the numeric record in its own type.
template <typename Use> void visit(dbCommon *record, const Use &use)
{
    const std::string type = record->rdes->name;
    if (type == "ai")
        use(reinterpret_cast<aiRecord *>(record));
    else if (type == "ao")
        use(reinterpret_cast<aoRecord *>(record));
    else if (type == "bi")
        use(reinterpret_cast<biRecord *>(record));
    else if (type == "bo")
        use(reinterpret_cast<boRecord *>(record));
    else if (type == "mbbi")
        use(reinterpret_cast<mbbiRecord *>(record));
    else if (type == "mbbo")
        use(reinterpret_cast<mbboRecord *>(record));
    else if (type == "mbbiDirect")
        use(reinterpret_cast<mbbiDirectRecord *>(record));
    else if (type == "mbboDirect")
        use(reinterpret_cast<mbboDirectRecord *>(record));
    else
        ADD_FAILURE() << record->name << " is no number";
}

} // namespace

dbCommon *record(const std::string &name) { return addressOf(name).precord; }

DBLINK *linkOf(const std::string &type, const std::string &node)
{
    const std::string field = recordOf(type, node) + "." + recordType(type).link;
    return static_cast<DBLINK *>(addressOf(field).pfield);
}

double number(const std::string &field)
{
    DBADDR address = addressOf(field);
    double value = 0.0;
    long count = 1;
    EXPECT_EQ(dbGetField(&address, DBR_DOUBLE, &value, nullptr, &count, nullptr), 0) << field;
    return value;
}

std::string text(const std::string &field)
{
    DBADDR address = addressOf(field);
    char value[MAX_STRING_SIZE] = {};
    long count = 1;
    EXPECT_EQ(dbGetField(&address, DBR_STRING, value, nullptr, &count, nullptr), 0) << field;
    return value;
}

void put(const std::string &field, double value)
{
    DBADDR address = addressOf(field);
    dbPutField(&address, DBR_DOUBLE, &value, 1);
}

void put(const std::string &field, const std::string &value)
{
    DBADDR address = addressOf(field);
    char buffer[MAX_STRING_SIZE] = {};
    value.copy(buffer, sizeof(buffer) - 1);
    dbPutField(&address, DBR_STRING, buffer, 1);
}

callbackQueueStats queueStatistics(bool reset)
{
    callbackQueueStats statistics = {};
    EXPECT_EQ(callbackQueueStatus(reset ? 1 : 0, &statistics), 0);
    return statistics;
}

long callInit(const std::string &name)
{
    dbCommon *common = record(name);
    const RecordLock lock(common);
    return supportOf(common)->init_record(common);
}

long callReadOrWrite(const std::string &name)
{
    dbCommon *common = record(name);
    const RecordLock lock(common);
    return supportOf(common)->read_write(common);
}

void setVal(const std::string &name, double value)
{
    dbCommon *common = record(name);
    const RecordLock lock(common);
    visit(common, [value](auto *typed) {
        using Val = decltype(typed->val);
        typed->val = std::is_floating_point_v<Val> ? static_cast<Val>(value)
                                                   : static_cast<Val>(static_cast<int64_t>(value));
    });
}

double val(const std::string &name)
{
    dbCommon *common = record(name);
    const RecordLock lock(common);
    double value = 0.0;
    visit(common, [&value](const auto *typed) { value = static_cast<double>(typed->val); });
    return value;
}

// ---- monitors ----

namespace {

dbEventCtx eventContext()
{
    static const dbEventCtx context = [] {
        const dbEventCtx fresh = db_init_events();
        db_start_events(fresh, "monitors", nullptr, nullptr, epicsThreadPriorityMedium);
        return fresh;
    }();
    return context;
}

void onPost(void *monitor, dbChannel *, int, db_field_log *)
{
    static_cast<Monitor *>(monitor)->posted();
}

} // namespace

Monitor::Monitor(const std::string &field) : m_channel(dbChannelCreate(field.c_str()))
{
    auto *channel = static_cast<dbChannel *>(m_channel);
    if (channel == nullptr || dbChannelOpen(channel) != 0) {
        std::fprintf(stderr, "no field %s\n", field.c_str());
        std::abort();
    }
    m_subscription =
        db_add_event(eventContext(), channel, onPost, this, DBE_VALUE | DBE_LOG | DBE_ALARM);
    db_event_enable(m_subscription);
}

Monitor::~Monitor()
{
    db_cancel_event(m_subscription);
    dbChannelDelete(static_cast<dbChannel *>(m_channel));
}

void Monitor::posted()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_posts;
    m_changed.notify_all();
}

bool Monitor::until(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + watchdog;
    while (true) {
        int seen = 0;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            seen = m_posts;
        }
        if (condition())
            return true;
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_changed.wait_until(lock, end, [&] { return m_posts != seen; }))
            return false;
    }
}

// ---- events ----

CallCount::CallCount(const std::string &prefix)
{
    FakeAccessLibrary::instance().setHook([prefix, state = m_state](const std::string &call) {
        if (call.compare(0, prefix.size(), prefix) != 0)
            return;
        std::lock_guard<std::mutex> lock(state->mutex);
        ++state->count;
        state->changed.notify_all();
    });
}

bool CallCount::reaches(int count)
{
    std::unique_lock<std::mutex> lock(m_state->mutex);
    return m_state->changed.wait_for(lock, watchdog,
                                     [this, count] { return m_state->count >= count; });
}

EventConnection::EventConnection()
{
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    m_peer = ends[1];
    FakeAccessLibrary::instance().blockForEvents();
    systemNode->setSysSocket(ends[0]);
    CallCount reading("GetEventData(" + std::to_string(ends[0]) + ")");
    m_thread = std::thread([] { ZANTOEvents_Thread(nullptr); });
    EXPECT_TRUE(reading.reaches(1)) << "the thread must have its socket before another starts";
    FakeAccessLibrary::instance().setHook(nullptr);
}

EventConnection::~EventConnection()
{
    FakeAccessLibrary::instance().closeEvents();
    m_thread.join();
    close(m_peer);
}

void EventConnection::send(const std::vector<VEXAHVEventData_t> &batch) const
{
    FakeAccessLibrary::instance().queueEvents(batch);
}

VEXAHVEventData_t textEvent(const std::string &item, const std::string &value, int channel)
{
    return FakeAccessLibrary::event(channel < 0 ? -1 : 0, channel, item, FakeBytes::text(value));
}
