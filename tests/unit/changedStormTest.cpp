// Changed records under events from several threads.
#include "changedSupport.h"

#include "ZANTOlife.h"

#include <atomic>
#include <random>
#include <thread>

namespace {

constexpr std::size_t records = 1000;
constexpr std::size_t writers = 2;
constexpr int changesOfAWriter = 50000;

// A crate whose nodes hold numbers, records that show them, and a thread for each priority.
struct Crowd {
    std::deque<dbCommon> all;
    std::array<std::atomic<int>, records> value{};
    std::array<std::atomic<int>, records> shown{};
    std::atomic<std::size_t> processed{0};
    std::array<std::atomic<int>, NUM_CALLBACK_PRIORITIES> asked{};
    std::atomic<bool> over{false};

    static Crowd &instance()
    {
        static Crowd crowd;
        return crowd;
    }

    static std::size_t placeOf(const dbCommon *record) { return std::stoul(record->name); }

    static const ZANTOChangedServices services;
};

const ZANTOChangedServices Crowd::services = {
    [](const char *name) { return nodeAt(std::stoul(name)); },
    [](dbCommon *) {},
    [](dbCommon *record) {
        Crowd &crowd = instance();
        const std::size_t place = placeOf(record);
        crowd.shown[place] = crowd.value[place].load();
        ++crowd.processed;
    },
    [](dbCommon *) {},
    [](ZANTOChangedRecords *, ZANTOScanThread *, int prio) {
        ++instance().asked[static_cast<std::size_t>(prio)];
        return true;
    },
    [](ZANTOChangedRecords *, void **, double) { return true; },
};

void runPasses(ZANTOChangedRecords &changed, std::size_t prio)
{
    Crowd &crowd = Crowd::instance();
    while (!crowd.over || crowd.asked[prio] > 0) {
        if (crowd.asked[prio] > 0) {
            --crowd.asked[prio];
            changed.pass(static_cast<int>(prio));
        } else {
            std::this_thread::yield();
        }
    }
}

// Each of the threads changes nodes of its own, so that the last value is known.
void changeNodes(ZANTOChangedRecords &changed, std::size_t writer)
{
    Crowd &crowd = Crowd::instance();
    std::mt19937 random(static_cast<unsigned>(writer));
    const uint32_t tree = systemNode.generation();
    for (int i = 1; i <= changesOfAWriter; ++i) {
        const std::size_t place = random() % (records / writers) * writers + writer;
        crowd.value[place] = i;
        changed.mark(nodeAt(place), tree);
        if (i % 3 == 0 || i == changesOfAWriter)
            changed.wake();
    }
}

} // namespace

TEST(ChangedRecordsInAStorm, EndWithTheLastValues)
{
    ZANTONode root;
    systemNode = &root;
    ZANTOOpenTree();
    Crowd &crowd = Crowd::instance();
    ZANTOChangedRecords changed(Crowd::services);
    for (std::size_t place = 0; place < records; ++place) {
        crowd.all.push_back(recordNamed(std::to_string(place)));
        crowd.all.back().prio = static_cast<epicsEnum16>(place % 3);
        changed.recordJoins(&crowd.all.back(), false);
    }
    changed.iocRuns(true);
    std::vector<std::thread> workers;
    for (std::size_t prio = 0; prio < NUM_CALLBACK_PRIORITIES; ++prio)
        workers.emplace_back(runPasses, std::ref(changed), prio);
    std::vector<std::thread> others;
    for (std::size_t writer = 0; writer < writers; ++writer)
        others.emplace_back(changeNodes, std::ref(changed), writer);
    for (std::thread &thread : others)
        thread.join();
    crowd.over = true;
    for (std::thread &thread : workers)
        thread.join();
    for (std::size_t place = 0; place < records; ++place)
        ASSERT_EQ(crowd.shown[place], crowd.value[place]) << place;
    EXPECT_LE(crowd.processed, writers * changesOfAWriter);
    EXPECT_FALSE(changed.passRuns());
    systemNode = nullptr;
}
