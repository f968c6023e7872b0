// Parameters of boards and channels, and channel names.
#include <string_view>

#include "bytes.h"
#include "handlers.h"
#include "protocol/bytes.h"
#include "protocol/lists.h"

namespace sim::calls {

namespace {

using wire::bytesOf;

bool always(ParamType) { return true; }

// A property that a parameter can be asked for: for which parameters, and the
// bytes that answer.
struct Property {
    std::string_view name;
    bool (*applies)(ParamType);
    std::string (*bytes)(const ParameterDescription &);
};

constexpr Property properties[] = {
    {"Type", always, [](const auto &p) { return bytesOf(static_cast<uint32_t>(p.type)); }},
    {"Mode", always, [](const auto &p) { return bytesOf(static_cast<uint32_t>(p.mode)); }},
    {"Minval", hasLimits, [](const auto &p) { return bytesOf(p.minimum); }},
    {"Maxval", hasLimits, [](const auto &p) { return bytesOf(p.maximum); }},
    {"Unit", hasLimits, [](const auto &p) { return bytesOf(static_cast<uint16_t>(p.unit)); }},
    {"Exp", hasLimits, [](const auto &p) { return bytesOf(p.exponent); }},
    {"Decimal", hasDecimals, [](const auto &p) { return bytesOf(p.decimals); }},
    {"Onstate", hasLabels, [](const auto &p) { return p.onLabel + '\0'; }},
    {"Offstate", hasLabels, [](const auto &p) { return p.offLabel + '\0'; }},
};

// Reads one item at each of several places into consecutive elements.
template <class AddressOf>
Outcome<wire::BytesAnswer> readAll(const ShownValues &shown, const std::vector<uint16_t> &indexes,
                                   const std::string &parameter, AddressOf addressOf)
{
    wire::BytesAnswer answer;
    for (const uint16_t index : indexes) {
        Value value;
        const Result result = shown.read(addressOf(index), parameter, value);
        if (result != Result::Ok)
            return result;
        if (shapeOf(value) == Shape::Text)
            return Result::NotReadable;
        answer.bytes += parameterBytes(value);
    }
    return answer;
}

// Writes one value at several places; the first refusal ends it.
template <class AddressOf>
Done writeAll(Crate &crate, const std::vector<uint16_t> &indexes, const std::string &parameter,
              uint32_t word, AddressOf addressOf)
{
    for (const uint16_t index : indexes) {
        ItemId id = 0;
        Result result = crate.find(addressOf(index), parameter, id);
        if (result != Result::Ok)
            return result;
        const Shape shape = crate.items().item(id).shape;
        if (shape == Shape::Text)
            return Result::NotWritable;
        result =
            crate.write(addressOf(index), parameter, parameterValue(shape, word), Origin::Network);
        if (result != Result::Ok)
            return result;
    }
    return Result::Ok;
}

Address boardAddress(uint16_t slot) { return {slot, -1}; }

auto channelsOf(uint16_t slot)
{
    return [slot](uint16_t channel) { return Address{slot, channel}; };
}

} // namespace

Outcome<wire::NameTableAnswer> listParameters(const wire::PlaceRequest &request, const Crate &crate)
{
    const Board *board = crate.board(request.slot);
    if (board == nullptr)
        return Result::NoSlot;
    const bool ofChannel = request.channel >= 0;
    if (ofChannel && static_cast<size_t>(request.channel) >= board->channelCount())
        return Result::NoChannel;
    wire::NameTableAnswer answer;
    for (const auto &parameter :
         ofChannel ? board->channel(static_cast<size_t>(request.channel)).model().channel
                   : board->model().board) {
        wire::appendSlot(answer.table, parameter.name, parameterSlot);
        ++answer.count;
    }
    wire::appendSlot(answer.table, "", parameterSlot);
    return answer;
}

Outcome<wire::BytesAnswer> parameterProperty(const wire::ParameterPropertyRequest &request,
                                             const Crate &crate)
{
    ItemId id = 0;
    const Result result = crate.find({request.slot, request.channel}, request.parameter, id);
    if (result != Result::Ok)
        return result;
    const ParameterDescription *parameter = crate.items().item(id).parameter;
    if (parameter == nullptr)
        return Result::NoItem;
    for (const auto &property : properties)
        if (property.name == request.property && property.applies(parameter->type))
            return wire::BytesAnswer{property.bytes(*parameter)};
    return Result::NoProperty;
}

Outcome<wire::BytesAnswer> getBoardParameter(const wire::BoardParameterRequest &request,
                                             const ShownValues &shown)
{
    return readAll(shown, request.slots, request.parameter, boardAddress);
}

Done setBoardParameter(const wire::SetBoardParameterRequest &request, Crate &crate)
{
    return writeAll(crate, request.slots, request.parameter, request.word, boardAddress);
}

Outcome<wire::BytesAnswer> getChannelParameter(const wire::ChannelParameterRequest &request,
                                               const ShownValues &shown)
{
    return readAll(shown, request.channels, request.parameter, channelsOf(request.slot));
}

Done setChannelParameter(const wire::SetChannelParameterRequest &request, Crate &crate)
{
    return writeAll(crate, request.channels, request.parameter, request.word,
                    channelsOf(request.slot));
}

Outcome<wire::BytesAnswer> getChannelName(const wire::ChannelNameRequest &request,
                                          const ShownValues &shown)
{
    wire::BytesAnswer answer;
    for (const uint16_t channel : request.channels) {
        Value name;
        const Result result = shown.read({request.slot, channel}, "Name", name);
        if (result != Result::Ok)
            return result;
        wire::appendSlot(answer.bytes, std::get<std::string>(name), channelSlot);
    }
    return answer;
}

Done setChannelName(const wire::SetChannelNameRequest &request, Crate &crate)
{
    for (const uint16_t channel : request.channels) {
        const Result result =
            crate.write({request.slot, channel}, "Name", request.name, Origin::Network);
        if (result != Result::Ok)
            return result;
    }
    return Result::Ok;
}

} // namespace sim::calls
