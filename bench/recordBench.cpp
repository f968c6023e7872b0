// What the server adds to the processing of a record and to an event of the mainframe.

#include "ZANTOeventsthread.h"
#include "ZANTOnode.h"
#include "ZANTOrecord.h"
#include "ZANTOtypes.h"
#include "ZANTOutils.h"

#include <aiRecord.h>
#include <epicsExport.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

extern "C" dset *pvar_dset_devVEXAZANTOAi;

namespace {

constexpr int boards = 16;
constexpr int channels = 48;
constexpr int parameters = 16;

std::unique_ptr<ZANTONode> makeNode(const std::string &name, nodeType type)
{
    auto node = std::make_unique<ZANTONode>();
    node->ZANTOPrepareNode(name, type, -1, -1, "", "", "");
    return node;
}

void addParameters(ZANTONode &channel)
{
    for (int i = 0; i < parameters; ++i) {
        auto parameter = makeNode("Param" + std::to_string(i), nodeTypeChannelParam);
        parameter->setDataType(nodeDataTypeFloat);
        channel.addParameter(parameter.release());
    }
}

// A full crate: 16 boards of 48 channels.
std::unique_ptr<ZANTONode> makeTree()
{
    auto root = makeNode("CRATE", nodeTypeSystemItem);
    for (int b = 0; b < boards; ++b) {
        auto board = makeNode("Board", nodeTypeBoardItem);
        for (int c = 0; c < channels; ++c) {
            auto channel = makeNode("Chan", nodeTypeChannelItem);
            addParameters(*channel);
            board->addChildNode(channel.release());
        }
        root->addChildNode(board.release());
    }
    return root;
}

const std::unique_ptr<ZANTONode> &tree()
{
    static const std::unique_ptr<ZANTONode> root = [] {
        ZANTOUtils::SysName = "CRATE";
        auto made = makeTree();
        systemNode = made.get();
        return made;
    }();
    return root;
}

constexpr const char *lastParameter = "CRATE:15:047:Param15";

void readAi(benchmark::State &state)
{
    tree();
    const auto read =
        reinterpret_cast<const ZANTODset6<aiRecord> *>(pvar_dset_devVEXAZANTOAi)->read_write;
    aiRecord record = {};
    std::strcpy(record.name, lastParameter);
    record.inp.type = INST_IO;
    if (!ZANTOBindRecord(reinterpret_cast<dbCommon *>(&record), record.inp) ||
        read(&record) != ZANTODontConvert)
        state.SkipWithError("the record has no node");
    for (auto _ : state)
        benchmark::DoNotOptimize(read(&record));
}
BENCHMARK(readAi);

void resolveName(benchmark::State &state)
{
    tree();
    for (auto _ : state)
        benchmark::DoNotOptimize(ZANTOUtils::getNodeFromEpicsId(lastParameter));
}
BENCHMARK(resolveName);

void applyEvent(benchmark::State &state)
{
    tree();
    IDValue_t value = {};
    value.FloatValue = 1.5F;
    if (updateNode(boards - 1, channels - 1, "Param15", value) != VEXAHV_PARAM_NUMERIC)
        state.SkipWithError("the item has no node");
    for (auto _ : state)
        benchmark::DoNotOptimize(updateNode(boards - 1, channels - 1, "Param15", value));
}
BENCHMARK(applyEvent);

} // namespace

BENCHMARK_MAIN();
