#include "measurements.h"

#include "benchIoc.h"
#include "memoryCrate.h"
#include "results.h"
#include "startupFiles.h"
#include "variant.h"

#include <callback.h>

#include <algorithm>
#include <fstream>
#include <sys/stat.h>

namespace {

uint64_t fileSize(const char *path)
{
    struct stat status = {};
    return stat(path, &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
}

} // namespace

bool measureBuild(bool shown)
{
    const Stopwatch watch;
    const bool built = variantBuild();
    const double milliseconds = watch.nanoseconds() / 1e6;
    const auto wall = static_cast<uint64_t>(watch.wallNanoseconds() / 1e3);
    if (built && shown)
        printResult("build", "ms", milliseconds,
                    {{"calls", MemoryCrate::instance().calls()},
                     {"wallMicroseconds", wall},
                     {"databaseBytes", fileSize(databasePath)},
                     {"pvListBytes", fileSize(pvListPath)}});
    return built;
}

// ---- events ----

namespace {

constexpr uint32_t batchSize = 100;

// What the library of memory itself takes of each event.
double libraryShare(std::size_t batches)
{
    const Stopwatch watch;
    for (std::size_t i = 0; i < batches; ++i) {
        VEXAHVSystemStatus_t status;
        VEXAHVEventData_t *events = nullptr;
        uint32_t count = 0;
        VEXAHV_GetEventData(-1, &status, &events, &count);
        VEXAHV_FreeEventData(&events);
    }
    return watch.nanoseconds() / static_cast<double>(batches * batchSize);
}

double oneRound(std::size_t batches)
{
    const Stopwatch watch;
    for (std::size_t i = 0; i < batches; ++i)
        variantNextBatch();
    return watch.nanoseconds() / static_cast<double>(batches * batchSize);
}

} // namespace

void measureEvents()
{
    constexpr int rounds = 9;
    MemoryCrate &crate = MemoryCrate::instance();
    crate.storm(batchSize);
    variantBeforeEvents();
    const std::size_t batches = (crate.stormItems() + batchSize - 1) / batchSize;
    const double library = libraryShare(batches);
    oneRound(batches);
    std::vector<double> values;
    for (int i = 0; i < rounds; ++i)
        values.push_back(oneRound(batches));
    printResult("event", "ns", median(values),
                {{"items", crate.stormItems()},
                 {"batch", batchSize},
                 {"rounds", rounds},
                 {"libraryNanoseconds", static_cast<uint64_t>(library)}});
}

// ---- records ----

namespace {

constexpr struct {
    const char *name;
    const char *recordType;
    ListKind kind;
} passes[] = {{"pass-ai", "ai", ListKind::ai},
              {"pass-bi", "bi", ListKind::bi},
              {"pass-bits", "mbbiDirect", ListKind::mbbiDirect},
              {"pass-text", "stringin", ListKind::stringin}};

void passOver(ListKind kind) { scanIoImmediate(variantList(kind), priorityLow); }

// In KiB; 0 where the system does not tell.
uint64_t proportionalSize()
{
    std::ifstream file("/proc/self/smaps_rollup");
    std::string word;
    uint64_t size = 0;
    while (file >> word) {
        if (word == "Pss:" && file >> size)
            return size;
    }
    return 0;
}

} // namespace

void measureMemory()
{
    for (const auto &pass : passes)
        passOver(pass.kind);
    waitUntilIdle();
    printResult("memory", "KiB", static_cast<double>(proportionalSize()),
                {{"records", countRecords()}});
}

namespace {

// Short lists are passed over more often.
uint64_t repetitionsOf(uint64_t records)
{
    constexpr uint64_t fewest = 9;
    constexpr uint64_t recordsInAll = 60000;
    return std::max(fewest, recordsInAll / std::max<uint64_t>(records, 1));
}

void repeatPass(const std::string &name, ListKind kind, uint64_t records)
{
    const uint64_t repetitions = repetitionsOf(records);
    const auto share = static_cast<double>(records);
    std::vector<double> values;
    std::vector<double> wall;
    passOver(kind);
    for (uint64_t i = 0; i < repetitions; ++i) {
        const Stopwatch watch;
        passOver(kind);
        values.push_back(watch.nanoseconds() / share);
        wall.push_back(watch.wallNanoseconds() / share);
    }
    printResult(name, "ns", median(values),
                {{"records", records},
                 {"repetitions", repetitions},
                 {"wallNanoseconds", static_cast<uint64_t>(median(wall))}});
}

} // namespace

void measurePass(const std::string &name)
{
    for (const auto &pass : passes) {
        if (name == pass.name)
            repeatPass(name, pass.kind, countScanned(pass.recordType));
    }
}
