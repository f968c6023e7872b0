#include "ZANTOwatchlists.h"

#include "ZANTOhealth.h"
#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOtypes.h"
#include "vexahvwrapper.h"

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// One call's names, joined as the access library wants them.
struct WatchList {
    std::string text;
    std::vector<std::string> names;

    // A list that does not start with the first parameter of its level begins with ":".
    void addAtPosition(size_t position, const std::string &name)
    {
        text += (position == 0 ? "" : ":") + name;
        names.push_back(name);
    }

    void addNext(const std::string &name) { addAtPosition(names.size(), name); }
};

// A level's own words in its messages: "system properties" or "board [3] parameters".
using LevelName = std::string;

// Reports the names that were not accepted; false when there are any.
bool reportRefused(const LevelName &level, const WatchList &list, bool called,
                   const std::vector<char> &results)
{
    std::string refused;
    for (size_t i = 0; i < list.names.size(); ++i) {
        if (!called || results[i] != 0)
            refused += "[" + list.names[i] + "]";
    }
    if (!refused.empty()) {
        ZANTO_TRACE(0, "Error subscribing %s: %s\n", level.c_str(), refused.c_str());
        ZANTO_TRACE(7, "sent: %s\n", list.text.c_str());
    }
    return called && refused.empty();
}

// Makes the call `watch(list, count, results)`; false when it or any of its names failed.
template <typename Watch>
bool watchLevel(const LevelName &level, const WatchList &list, const Watch &watch)
{
    ZANTOStartupCheckpoint();
    std::vector<char> results;
    try {
        // Two more than names, should a library count the empty place before a leading ":".
        results.resize(list.names.size() + 2);
    } catch (const std::bad_alloc &) {
        ZANTO_TRACE(0, "Error subscribing %s - ALL\n", level.c_str());
        return false;
    }
    const auto count = static_cast<uint32_t>(list.names.size());
    const bool called = ZANTOCountCall(watch(list.text.c_str(), count, results.data())) == 0;
    ZANTOStartupCheckpoint();
    return reportRefused(level, list, called, results);
}

bool watchSystem(bool subscribe, const ZANTONode &root, int16_t port)
{
    WatchList list;
    const auto parameters = root.getParameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        const std::string &name = parameters[i]->nodeName().get();
        // The last two are the server's own; the mainframe does not know them.
        if (parameters[i]->getAccessRights() != nodeAccessWrite && name != "ConnStat" &&
            name != "NrOfSlot")
            list.addAtPosition(i, name);
    }
    const auto call = subscribe ? VEXAHV_SubscribeSystemParams : VEXAHV_UnSubscribeSystemParams;
    return watchLevel("system properties", list,
                      [&](const char *names, uint32_t count, char *results) {
                          return call(root.getSysHandle(), port, names, count, results);
                      });
}

bool watchBoard(bool subscribe, const ZANTONode &board, int32_t handle, int16_t port, uint16_t slot)
{
    WatchList list;
    const auto parameters = board.getParameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i]->getAccessRights() != nodeAccessWrite)
            list.addAtPosition(i, parameters[i]->nodeName().get());
    }
    const auto call = subscribe ? VEXAHV_SubscribeBoardParams : VEXAHV_UnSubscribeBoardParams;
    return watchLevel("board [" + std::to_string(slot) + "] parameters", list,
                      [&](const char *names, uint32_t count, char *results) {
                          return call(handle, port, slot, names, count, results);
                      });
}

bool watchChannel(bool subscribe, const ZANTONode &node, int32_t handle, int16_t port,
                  uint16_t slot, uint16_t channel)
{
    WatchList list;
    for (const ZANTONode *parameter : node.getParameters()) {
        const std::string &name = parameter->nodeName().get();
        if (parameter->getAccessRights() != nodeAccessWrite && name != "Name")
            list.addNext(name);
    }
    const auto call = subscribe ? VEXAHV_SubscribeChannelParams : VEXAHV_UnSubscribeChannelParams;
    const LevelName level =
        "channel [" + std::to_string(slot) + ":" + std::to_string(channel) + "] parameters";
    return watchLevel(level, list, [&](const char *names, uint32_t count, char *results) {
        return call(handle, port, slot, channel, names, count, results);
    });
}

// A level that memory does not suffice for has failed; the others are attempted all the same.
template <typename Level> bool attemptLevel(bool (*goesOn)(), const Level &level)
{
    if (!goesOn())
        return false;
    try {
        return level();
    } catch (const std::exception &error) {
        ZANTO_TRACE(0, "Error subscribing: %s\n", error.what());
        return false;
    }
}

} // namespace

bool ZANTOWatchTree(const ZANTONode &root, bool subscribe, int16_t port, bool (*goesOn)())
{
    const int32_t handle = root.getSysHandle();
    bool accepted = attemptLevel(goesOn, [&] { return watchSystem(subscribe, root, port); });
    for (int32_t slot = 0; const ZANTONode *board = root.childAt(slot); ++slot) {
        if (board->getNodeType() == nodeTypeEmptyNode)
            continue;
        const auto slotNr = static_cast<uint16_t>(slot);
        const auto watchThis = [&] { return watchBoard(subscribe, *board, handle, port, slotNr); };
        accepted = attemptLevel(goesOn, watchThis) && accepted;
        for (int32_t channel = 0; const ZANTONode *node = board->childAt(channel); ++channel) {
            const auto watchOne = [&] {
                return watchChannel(subscribe, *node, handle, port, slotNr,
                                    static_cast<uint16_t>(channel));
            };
            accepted = attemptLevel(goesOn, watchOne) && accepted;
        }
    }
    return accepted;
}
