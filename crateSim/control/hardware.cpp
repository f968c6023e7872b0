// What happens to boards and channels from outside.
#include <algorithm>

#include "model/words.h"
#include "command.h"
#include "editdistance.h"
#include "placeitems.h"

namespace sim::control {

namespace {

void requireAt(const SimulationState &state, Address address, Result result)
{
    if (result != Result::Ok)
        throw ControlError(reasonAt(state.crate, address, result));
}

template <size_t size>
uint32_t bitNamed(const std::array<StatusWord, size> &words, const std::string &name)
{
    std::vector<std::string_view> settable;
    for (const auto &[bit, word, isCondition] : words) {
        if (isCondition && word == name)
            return bit;
        if (isCondition)
            settable.push_back(word);
    }
    throw ControlError("\"" + name + "\" is not a condition that can be set" +
                       suggestion(name, settable));
}

template <size_t size>
uint32_t bitNumbered(const std::array<StatusWord, size> &words, int32_t number)
{
    const auto found = std::find_if(words.begin(), words.end(), [number](const StatusWord &each) {
        return each.isCondition && number < 32 && each.bit == 1u << number;
    });
    if (found == words.end())
        throw ControlError("\"bit\" is missing or is not a condition that can be set");
    return found->bit;
}

// "name", or the number of the status bit from 0.
template <size_t size>
uint32_t conditionBit(const std::array<StatusWord, size> &words, const Json &request)
{
    return request.contains("name") ? bitNamed(words, textField(request, "name"))
                                    : bitNumbered(words, countField(request, "bit", 32));
}

} // namespace

Json trip(SimulationState &state, const Json &request)
{
    const bool external = boolField(request, "external", false);
    const Address address = addressOf(request);
    requireAt(state, address,
              state.crate.tripChannel(address, external ? channelbit::ExternalTrip
                                                        : channelbit::InternalTrip));
    return {};
}

// Raises or drops a status bit from outside. Without a channel it is the
// board's.
Json condition(SimulationState &state, const Json &request)
{
    const Address address = addressOf(request);
    const bool on = boolField(request, "on", true);
    if (address.channel < 0) {
        const uint32_t bit = conditionBit(boardStatusWords, request);
        requireAt(state, address, state.crate.setBoardCondition(address.slot, bit, on));
    } else {
        const uint32_t bit = conditionBit(channelStatusWords, request);
        requireAt(state, address, state.crate.setChannelCondition(address, bit, on));
    }
    return {};
}

Json remove(SimulationState &state, const Json &request)
{
    const Address address = addressOf(request);
    requireAt(state, address, state.crate.removeBoard(address.slot));
    return {};
}

Json insert(SimulationState &state, const Json &request)
{
    const Address address = addressOf(request);
    const Result result = state.crate.insertBoard(address.slot);
    if (result == Result::Refused)
        throw ControlError("the board in slot " + std::to_string(address.slot) +
                           " is already in its place");
    requireAt(state, address, result);
    return {};
}

} // namespace sim::control
