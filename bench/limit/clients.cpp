#include "clients.h"

#include "memoryCrate.h"
#include "results.h"

#include <cadef.h>
#include <epicsEvent.h>
#include <pv/clientFactory.h>
#include <pva/client.h>

#include <atomic>
#include <cstdio>
#include <deque>
#include <stdexcept>
#include <thread>

namespace {

// An answer that takes as long as this never comes.
constexpr double patience = 20.0;
constexpr int setPoints = 48;

// Spread over the crate: one of each channel, on board after board.
std::string setPointName(int number, uint16_t boards)
{
    char name[64];
    std::snprintf(name, sizeof(name), "%s:%02d:%03d:VSet", MemoryCrate::name, number * 5 % boards,
                  number % MemoryCrate::channels);
    return name;
}

// Never the one before, and exact as a float.
double valueOf(uint32_t put) { return 1.0 + 0.25 * (put % 1000); }

void check(int code, const char *what)
{
    if (code != ECA_NORMAL)
        throw std::runtime_error(std::string(what) + ": " + ca_message(code));
}

class Signal {
public:
    void give() { m_event.signal(); }
    void await()
    {
        if (!m_event.wait(patience))
            throw std::runtime_error("no answer");
    }

private:
    epicsEvent m_event;
};

// ---- Channel Access ----

class CaContext {
public:
    CaContext() { check(ca_context_create(ca_enable_preemptive_callback), "context"); }
    ~CaContext() { ca_context_destroy(); }
    CaContext(const CaContext &) = delete;
    CaContext &operator=(const CaContext &) = delete;
};

std::vector<chid> connectAll(uint16_t boards, const char *suffix)
{
    std::vector<chid> channels(setPoints);
    for (int i = 0; i < setPoints; ++i) {
        const std::string name = setPointName(i, boards) + suffix;
        check(ca_create_channel(name.c_str(), nullptr, nullptr, CA_PRIORITY_DEFAULT,
                                &channels[static_cast<std::size_t>(i)]),
              "channel");
    }
    check(ca_pend_io(patience), "connection");
    return channels;
}

void onPut(event_handler_args arguments) { static_cast<Signal *>(arguments.usr)->give(); }

std::vector<double> caPuts(const ClientTask &task)
{
    Signal done;
    const CaContext context;
    const auto channels = connectAll(task.boards, "");
    std::vector<double> times;
    for (uint32_t i = 0; i < task.puts; ++i) {
        const double value = valueOf(i);
        const auto begin = BenchClock::now();
        check(ca_array_put_callback(DBR_DOUBLE, 1, channels[i % setPoints], &value, onPut, &done),
              "put");
        check(ca_flush_io(), "flush");
        done.await();
        times.push_back(nanosecondsSince(begin) / 1e3);
    }
    return times;
}

// A read-back under watch: tells when it shows what is awaited.
struct Watch {
    Signal *shown;
    std::atomic<double> awaited{-1};
    std::atomic<double> last{0};
};

// What the read-back does not show yet: an earlier client may have put anything.
double nextValue(const Watch &watch)
{
    const double last = watch.last;
    return last < 400 ? last + 0.25 : 1.0;
}

void onMonitor(event_handler_args arguments)
{
    auto *watch = static_cast<Watch *>(arguments.usr);
    if (arguments.status != ECA_NORMAL)
        return;
    watch->last = *static_cast<const double *>(arguments.dbr);
    if (watch->last == watch->awaited)
        watch->shown->give();
}

void watchReadBacks(uint16_t boards, std::deque<Watch> &watches)
{
    const auto readBacks = connectAll(boards, ":RBV");
    for (std::size_t i = 0; i < readBacks.size(); ++i)
        check(ca_create_subscription(DBR_DOUBLE, 1, readBacks[i], DBE_VALUE, onMonitor, &watches[i],
                                     nullptr),
              "monitor");
    ca_flush_io();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
}

// Nanoseconds until the read-back shows a new value.
double setAndAwait(chid channel, Watch &watch)
{
    const double value = nextValue(watch);
    watch.awaited = value;
    const auto begin = BenchClock::now();
    check(ca_array_put(DBR_DOUBLE, 1, channel, &value), "put");
    check(ca_flush_io(), "flush");
    watch.shown->await();
    const double taken = nanosecondsSince(begin);
    watch.awaited = -1;
    return taken;
}

// A pause after each put lets the pass that it caused go to its end.
std::vector<double> setsToReadBacks(const ClientTask &task)
{
    Signal shown;
    std::deque<Watch> watches(setPoints);
    for (Watch &watch : watches)
        watch.shown = &shown;
    const CaContext context; // its threads end before what they use
    const auto channels = connectAll(task.boards, "");
    watchReadBacks(task.boards, watches);
    std::vector<double> times;
    for (uint32_t i = 0; i < task.puts; ++i) {
        const double taken = setAndAwait(channels[i % setPoints], watches[i % setPoints]);
        times.push_back(taken / 1e3);
        std::this_thread::sleep_for(std::chrono::nanoseconds(static_cast<int64_t>(2 * taken)));
    }
    return times;
}

// ---- pvAccess ----

std::vector<double> pvaPuts(const ClientTask &task)
{
    epics::pvAccess::ClientFactory::start();
    pvac::ClientProvider provider("pva");
    std::vector<pvac::ClientChannel> channels;
    for (int i = 0; i < setPoints; ++i)
        channels.push_back(provider.connect(setPointName(i, task.boards)));
    for (pvac::ClientChannel &channel : channels)
        channel.put().set("value", 0.0).exec(patience); // once it is connected
    std::vector<double> times;
    for (uint32_t i = 0; i < task.puts; ++i) {
        const auto begin = BenchClock::now();
        channels[i % setPoints].put().set("value", valueOf(i)).exec(patience);
        times.push_back(nanosecondsSince(begin) / 1e3);
    }
    return times;
}

std::vector<double> timesOf(const ClientTask &task)
{
    if (task.name == "ca-put")
        return caPuts(task);
    if (task.name == "pva-put")
        return pvaPuts(task);
    return setsToReadBacks(task);
}

} // namespace

int runClient(const ClientTask &task)
{
    try {
        const auto times = timesOf(task);
        printResult(task.name, "us", median(times), {{"puts", times.size()}});
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", task.name.c_str(), error.what());
        return 1;
    }
}
