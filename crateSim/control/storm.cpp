// Events in great number.
#include <algorithm>
#include <cmath>
#include <spdlog/spdlog.h>

#include "command.h"

namespace sim::control {

namespace {

constexpr double highestRate = 1e7;
constexpr double longestStorm = 1e6;
constexpr int32_t largestShare = 1000000;

double numberUpTo(const Json &request, const char *name, double highest)
{
    const double number = numberField(request, name);
    if (!(number >= 0 && number <= highest))
        throw ControlError("\"" + std::string(name) + "\" is not from 0 to " +
                           Json(highest).dump());
    return number;
}

StormMix mixOf(const Json &request)
{
    const auto found = request.find("mix");
    if (found == request.end())
        return defaultMix;
    if (!found->is_object())
        throw ControlError("\"mix\" is not an object");
    StormMix mix{};
    for (const auto &[name, share] : found->items()) {
        const auto kind = std::find(stormKindNames.begin(), stormKindNames.end(), name);
        if (kind == stormKindNames.end())
            throw ControlError("unknown kind \"" + name + "\" in \"mix\"");
        if (!share.is_number_integer() || share < 0 || share > largestShare)
            throw ControlError("the share of \"" + name + "\" is not an integer from 0 to " +
                               std::to_string(largestShare));
        mix[static_cast<size_t>(kind - stormKindNames.begin())] = share.get<uint32_t>();
    }
    if (mix == StormMix{})
        throw ControlError("the shares of \"mix\" are all 0");
    return mix;
}

} // namespace

Json storm(SimulationState &state, const Json &request)
{
    StormOrder order;
    order.rate = numberUpTo(request, "rate", highestRate);
    order.mix = mixOf(request);
    order.batch = static_cast<uint64_t>(countField(request, "batch", 0));
    if (order.batch > wire::maxBatchRecords)
        throw ControlError("\"batch\" is above " + std::to_string(wire::maxBatchRecords));
    const double seconds =
        request.contains("seconds") ? numberUpTo(request, "seconds", longestStorm) : 0;
    if (seconds > 0)
        order.length = Duration(std::llround(seconds * 1e9));
    if (order.rate == 0) {
        state.storm.stop();
        spdlog::info("storm stopped");
        return {};
    }
    spdlog::info("storm of {} events per second", order.rate);
    state.storm.start(order);
    if (state.onStorm)
        state.onStorm();
    return {};
}

} // namespace sim::control
