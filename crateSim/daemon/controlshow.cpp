// The crate as somebody in front of it sees it.
#include "controlfields.h"
#include "controltables.h"

namespace sim::daemon {

namespace {

using nlohmann::json;

json show(World &world, const json &)
{
    json slots = json::array();
    for (int32_t slot = 0; slot < static_cast<int32_t>(world.crate.slotCount()); ++slot) {
        const Board *board = world.crate.board(slot);
        if (board != nullptr)
            slots.push_back({{"slot", slot},
                             {"model", board->model().name},
                             {"description", board->description().description},
                             {"channels", board->channelCount()}});
    }
    return {{"name", world.crate.description().name},
            {"slotCount", world.crate.slotCount()},
            {"slots", slots}};
}

} // namespace

const CommandTable &showCommands()
{
    static const CommandTable table = {
        {"show", show},
    };
    return table;
}

} // namespace sim::daemon
