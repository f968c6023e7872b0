// The simulated crate: whether it is ever what is measured, and what it costs.

#include "benchCrate.h"

#include "description/defaultcrate.h"
#include "vexahvwrapper.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <malloc.h>
#include <thread>

namespace {

using namespace crateBench;

// Calls of one client, one after the other.
void callsOfOneClient(benchmark::State &state)
{
    BenchCrate crate(sim::defaultCrate());
    const Login login;
    const uint16_t channel = 0;
    float value = 0;
    for (auto _ : state)
        if (VEXAHV_GetChParam(login.handle, 0, "VSet", 1, &channel, &value) != 0)
            state.SkipWithError("the call failed");
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(callsOfOneClient)->UseRealTime();

// Events to one subscriber that does nothing else but take them, in a storm of as many a second
// as the argument says.
void eventsToOneSubscriber(benchmark::State &state)
{
    const auto description = fullCrate();
    BenchCrate crate(description);
    const Login login;
    Subscriber subscriber;
    if (!subscriber.subscribe(login.handle, description, "VMon") || !subscriber.accept())
        return state.SkipWithError("no subscription");
    crate.on([&](auto &simulation) {
        sim::StormOrder order;
        order.rate = static_cast<double>(state.range(0));
        simulation.storm.start(order);
        simulation.onStorm();
        return 0;
    });
    int64_t events = 0;
    for (auto _ : state) {
        const uint32_t count = subscriber.nextBatch();
        if (count == 0)
            return state.SkipWithError("the stream ended");
        events += count;
    }
    state.SetItemsProcessed(events);
    state.counters["per_batch"] =
        static_cast<double>(events) / static_cast<double>(state.iterations());
}
BENCHMARK(eventsToOneSubscriber)->Arg(200000)->Arg(10000000)->UseRealTime();

// From a description to a server that listens, and the memory that it holds then.
void startOfTheFullCrate(benchmark::State &state)
{
    const auto description = fullCrate();
    double megabytes = 0;
    for (auto _ : state) {
        const auto before = mallinfo2().uordblks;
        const sim::daemon::Server server(description, BenchCrate::settings());
        megabytes = static_cast<double>(mallinfo2().uordblks - before) * 1e-6;
    }
    state.counters["MB"] = megabytes;
}
BENCHMARK(startOfTheFullCrate)->Unit(benchmark::kMillisecond);

// What a crate costs that nobody talks to, as a share of a core.
void idle(benchmark::State &state, sim::CrateDescription (*description)())
{
    BenchCrate crate(description());
    const double before = crate.cpuSeconds();
    const auto begin = std::chrono::steady_clock::now();
    for (auto _ : state)
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
    state.counters["percent_of_a_core"] = 100 * (crate.cpuSeconds() - before) / passed.count();
}
BENCHMARK_CAPTURE(idle, default, sim::defaultCrate)->UseRealTime()->Iterations(4);
BENCHMARK_CAPTURE(idle, full, fullCrate)->UseRealTime()->Iterations(4);

} // namespace

BENCHMARK_MAIN();
