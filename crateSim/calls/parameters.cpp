// Parameters of boards and channels, and channel names.
#include <string_view>

#include "protocol/lists.h"
#include "bytes.h"
#include "handlers.h"

namespace sim::calls {

namespace {

constexpr size_t parameterSlot = maxParameterName + 1;
constexpr size_t channelSlot = maxChannelName + 1;

bool hasLimits(const ParameterDescription &p)
{
    return p.type == ParamType::Numeric || p.type == ParamType::Integer ||
           p.type == ParamType::Enumeration;
}

bool hasDecimals(const ParameterDescription &p)
{
    return p.type == ParamType::Numeric || p.type == ParamType::Integer;
}

bool hasLabels(const ParameterDescription &p) { return p.type == ParamType::OnOff; }

bool always(const ParameterDescription &) { return true; }

// A property that a parameter can be asked for: for which parameters, and the
// bytes that answer.
struct Property {
    std::string_view name;
    bool (*applies)(const ParameterDescription &);
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

Outcome answerless(Result result) { return {result, wire::packBody(wire::Nothing())}; }

// Reads one item at each of several places into consecutive elements.
template <class AddressOf>
Outcome readAll(const Crate &crate, const std::vector<uint16_t> &indexes,
                const std::string &parameter, AddressOf addressOf)
{
    wire::BytesAnswer answer;
    for (const uint16_t index : indexes) {
        Value value;
        const Result result = crate.read(addressOf(index), parameter, value);
        if (result != Result::Ok)
            return failed(result);
        if (shapeOf(value) == Shape::Text)
            return failed(Result::NotReadable);
        answer.bytes += parameterBytes(value);
    }
    return succeeded(answer);
}

// Writes one value at several places; the first refusal ends it.
template <class AddressOf>
Outcome writeAll(Crate &crate, const std::vector<uint16_t> &indexes, const std::string &parameter,
                 uint32_t word, AddressOf addressOf)
{
    for (const uint16_t index : indexes) {
        ItemId id = 0;
        Result result = crate.find(addressOf(index), parameter, id);
        if (result != Result::Ok)
            return failed(result);
        const Shape shape = crate.items().item(id).shape;
        if (shape == Shape::Text)
            return failed(Result::NotWritable);
        result =
            crate.write(addressOf(index), parameter, parameterValue(shape, word), Origin::Network);
        if (result != Result::Ok)
            return failed(result);
    }
    return answerless(Result::Ok);
}

Address boardAddress(uint16_t slot) { return {slot, -1}; }

auto channelsOf(uint16_t slot)
{
    return [slot](uint16_t channel) { return Address{slot, channel}; };
}

} // namespace

Outcome listParameters(Session &session, const wire::PlaceRequest &request)
{
    const Board *board = session.world().crate.board(request.slot);
    if (board == nullptr)
        return failed(Result::NoSlot);
    const bool ofChannel = request.channel >= 0;
    if (ofChannel && static_cast<size_t>(request.channel) >= board->channelCount())
        return failed(Result::NoChannel);
    wire::NameTableAnswer answer;
    for (const auto &parameter :
         ofChannel ? board->channel(static_cast<size_t>(request.channel)).model().channel
                   : board->model().board) {
        wire::appendSlot(answer.table, parameter.name, parameterSlot);
        ++answer.count;
    }
    wire::appendSlot(answer.table, "", parameterSlot);
    return succeeded(answer);
}

Outcome parameterProperty(Session &session, const wire::ParameterPropertyRequest &request)
{
    const Crate &crate = session.world().crate;
    ItemId id = 0;
    const Result result = crate.find({request.slot, request.channel}, request.parameter, id);
    if (result != Result::Ok)
        return failed(result);
    const ParameterDescription *parameter = crate.items().item(id).parameter;
    if (parameter == nullptr)
        return failed(Result::NoItem);
    for (const auto &property : properties)
        if (property.name == request.property && property.applies(*parameter))
            return succeeded(wire::BytesAnswer{property.bytes(*parameter)});
    return failed(Result::NoProperty);
}

Outcome getBoardParameter(Session &session, const wire::BoardParameterRequest &request)
{
    return readAll(session.world().crate, request.slots, request.parameter, boardAddress);
}

Outcome setBoardParameter(Session &session, const wire::SetBoardParameterRequest &request)
{
    return writeAll(session.world().crate, request.slots, request.parameter, request.word,
                    boardAddress);
}

Outcome getChannelParameter(Session &session, const wire::ChannelParameterRequest &request)
{
    return readAll(session.world().crate, request.channels, request.parameter,
                   channelsOf(request.slot));
}

Outcome setChannelParameter(Session &session, const wire::SetChannelParameterRequest &request)
{
    return writeAll(session.world().crate, request.channels, request.parameter, request.word,
                    channelsOf(request.slot));
}

Outcome getChannelName(Session &session, const wire::ChannelNameRequest &request)
{
    wire::BytesAnswer answer;
    for (const uint16_t channel : request.channels) {
        Value name;
        const Result result = session.world().crate.read({request.slot, channel}, "Name", name);
        if (result != Result::Ok)
            return failed(result);
        wire::appendSlot(answer.bytes, std::get<std::string>(name), channelSlot);
    }
    return succeeded(answer);
}

Outcome setChannelName(Session &session, const wire::SetChannelNameRequest &request)
{
    for (const uint16_t channel : request.channels) {
        const Result result = session.world().crate.write({request.slot, channel}, "Name",
                                                          request.name, Origin::Network);
        if (result != Result::Ok)
            return failed(result);
    }
    return answerless(Result::Ok);
}

} // namespace sim::calls
