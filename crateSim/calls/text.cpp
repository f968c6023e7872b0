#include "text.h"

#include "model/crate.h"
#include "bytes.h"

namespace sim::calls {

namespace {

std::string quoted(const std::string &text) { return '"' + text + '"'; }

using Texts = std::vector<std::string>;

std::string joined(const Texts &texts)
{
    std::string all;
    for (const auto &text : texts)
        all.append(all.empty() ? "" : ", ").append(text);
    return all;
}

std::string number(int64_t value) { return std::to_string(value); }

std::string listed(const std::vector<uint16_t> &numbers)
{
    Texts texts;
    for (const uint16_t each : numbers)
        texts.push_back(number(each));
    return '[' + joined(texts) + ']';
}

// slot and channel, as far as they apply.
Texts place(int32_t slot, int32_t channel)
{
    Texts texts;
    if (slot >= 0)
        texts.push_back(number(slot));
    if (channel >= 0)
        texts.push_back(number(channel));
    return texts;
}

// The value as the item takes it; unknown items show the bare word.
std::string wordText(const Crate &crate, Address address, const std::string &parameter,
                     uint32_t word)
{
    ItemId id = 0;
    if (crate.find(address, parameter, id) != Result::Ok)
        return "word " + number(word);
    return toText(parameterValue(crate.items().item(id).shape, word));
}

std::string propertyText(const Crate &crate, const wire::SetPropertyRequest &request)
{
    ItemId id = 0;
    if (crate.find({}, request.name, id) != Result::Ok)
        return "?";
    const auto type = crate.items().item(id).property->type;
    const auto value = propertyValue(type, request.bytes);
    if (!value)
        return "?";
    return type == PropertyType::Text ? quoted(toText(*value)) : toText(*value);
}

Address firstPlace(const std::vector<uint16_t> &slots)
{
    return slots.empty() ? Address{} : Address{slots.front(), -1};
}

Address firstPlace(uint16_t slot, const std::vector<uint16_t> &channels)
{
    return {slot, channels.empty() ? -1 : channels.front()};
}

std::string called(wire::Operation op, const Texts &arguments)
{
    return std::string(wire::operationName(op)) + '(' + joined(arguments) + ')';
}

} // namespace

std::string callText(const Crate &, wire::Operation op, const wire::LoginRequest &r)
{
    return called(
        op, {number(r.systemType), number(r.linkType), quoted(r.linkArgument), quoted(r.user)});
}

std::string callText(const Crate &, wire::Operation op, const wire::Nothing &)
{
    return called(op, {});
}

std::string callText(const Crate &, wire::Operation op, const wire::NameRequest &r)
{
    return called(op, {quoted(r.name)});
}

std::string callText(const Crate &crate, wire::Operation op, const wire::SetPropertyRequest &r)
{
    return called(op, {quoted(r.name), propertyText(crate, r)});
}

std::string callText(const Crate &, wire::Operation op, const wire::PlaceRequest &r)
{
    return called(op, place(r.slot, r.channel));
}

std::string callText(const Crate &, wire::Operation op, const wire::ParameterPropertyRequest &r)
{
    Texts arguments = place(r.slot, r.channel);
    arguments.insert(arguments.end(), {quoted(r.parameter), quoted(r.property)});
    return called(op, arguments);
}

std::string callText(const Crate &, wire::Operation op, const wire::BoardParameterRequest &r)
{
    return called(op, {listed(r.slots), quoted(r.parameter)});
}

std::string callText(const Crate &crate, wire::Operation op,
                     const wire::SetBoardParameterRequest &r)
{
    return called(op, {listed(r.slots), quoted(r.parameter),
                       wordText(crate, firstPlace(r.slots), r.parameter, r.word)});
}

std::string callText(const Crate &, wire::Operation op, const wire::ChannelNameRequest &r)
{
    return called(op, {number(r.slot), listed(r.channels)});
}

std::string callText(const Crate &, wire::Operation op, const wire::SetChannelNameRequest &r)
{
    return called(op, {number(r.slot), listed(r.channels), quoted(r.name)});
}

std::string callText(const Crate &, wire::Operation op, const wire::ChannelParameterRequest &r)
{
    return called(op, {number(r.slot), quoted(r.parameter), listed(r.channels)});
}

std::string callText(const Crate &crate, wire::Operation op,
                     const wire::SetChannelParameterRequest &r)
{
    return called(op, {number(r.slot), quoted(r.parameter), listed(r.channels),
                       wordText(crate, firstPlace(r.slot, r.channels), r.parameter, r.word)});
}

std::string callText(const Crate &, wire::Operation op, const wire::SubscriptionRequest &r)
{
    Texts arguments = place(r.slot, r.channel);
    arguments.insert(arguments.begin(), number(r.port));
    arguments.insert(arguments.end(), {quoted(r.names), number(r.count)});
    return called(op, arguments);
}

} // namespace sim::calls
