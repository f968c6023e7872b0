#include "text.h"

#include <fmt/format.h>

#include "bytes.h"
#include "model/crate.h"

namespace sim::calls {

using fmt::format;

namespace {

std::string listed(const std::vector<uint16_t> &numbers)
{
    return format("[{}]", fmt::join(numbers, ", "));
}

// slot and channel, as far as they apply, with a comma before the next argument.
std::string place(int32_t slot, int32_t channel, const char *end = ", ")
{
    if (slot < 0)
        return {};
    return channel < 0 ? format("{}{}", slot, end) : format("{}, {}{}", slot, channel, end);
}

// The value as the item takes it; unknown items show the bare word.
std::string wordText(const Crate &crate, Address address, const std::string &parameter,
                     uint32_t word)
{
    ItemId id = 0;
    if (crate.find(address, parameter, id) != Result::Ok)
        return format("word {}", word);
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
    return format(type == PropertyType::Text ? "\"{}\"" : "{}", toText(*value));
}

int32_t firstOf(const std::vector<uint16_t> &indexes)
{
    return indexes.empty() ? -1 : indexes.front();
}

} // namespace

std::string argumentText(const Crate &, const wire::LoginRequest &r)
{
    return format("{}, {}, \"{}\", \"{}\"", r.systemType, r.linkType, r.linkArgument, r.user);
}

std::string argumentText(const Crate &, const wire::Nothing &) { return {}; }

std::string argumentText(const Crate &, const wire::NameRequest &r)
{
    return format("\"{}\"", r.name);
}

std::string argumentText(const Crate &crate, const wire::SetPropertyRequest &r)
{
    return format("\"{}\", {}", r.name, propertyText(crate, r));
}

std::string argumentText(const Crate &, const wire::PlaceRequest &r)
{
    return place(r.slot, r.channel, "");
}

std::string argumentText(const Crate &, const wire::ParameterPropertyRequest &r)
{
    return format("{}\"{}\", \"{}\"", place(r.slot, r.channel), r.parameter, r.property);
}

std::string argumentText(const Crate &, const wire::BoardParameterRequest &r)
{
    return format("{}, \"{}\"", listed(r.slots), r.parameter);
}

std::string argumentText(const Crate &crate, const wire::SetBoardParameterRequest &r)
{
    return format("{}, \"{}\", {}", listed(r.slots), r.parameter,
                  wordText(crate, {firstOf(r.slots), -1}, r.parameter, r.word));
}

std::string argumentText(const Crate &, const wire::ChannelNameRequest &r)
{
    return format("{}, {}", r.slot, listed(r.channels));
}

std::string argumentText(const Crate &, const wire::SetChannelNameRequest &r)
{
    return format("{}, {}, \"{}\"", r.slot, listed(r.channels), r.name);
}

std::string argumentText(const Crate &, const wire::ChannelParameterRequest &r)
{
    return format("{}, \"{}\", {}", r.slot, r.parameter, listed(r.channels));
}

std::string argumentText(const Crate &crate, const wire::SetChannelParameterRequest &r)
{
    return format("{}, \"{}\", {}, {}", r.slot, r.parameter, listed(r.channels),
                  wordText(crate, {r.slot, firstOf(r.channels)}, r.parameter, r.word));
}

std::string argumentText(const Crate &, const wire::SubscriptionRequest &r)
{
    return format("{}, {}\"{}\", {}", r.port, place(r.slot, r.channel), r.names, r.count);
}

} // namespace sim::calls
