// Session, system properties, commands and the crate map.
#include <algorithm>
#include <spdlog/spdlog.h>

#include "bytes.h"
#include "handlers.h"
#include "protocol/lists.h"

namespace sim::calls {

namespace {

constexpr int32_t mainframeFamily = 2;
constexpr int32_t linkOverTcp = 0;

bool accepts(const Crate &crate, const std::string &user, const std::string &password)
{
    const auto &users = crate.description().users;
    return std::any_of(users.begin(), users.end(), [&](const User &known) {
        return known.name == user && known.password == password;
    });
}

const PropertyDescription *findProperty(const Crate &crate, const std::string &name)
{
    const auto &properties = crate.description().properties;
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [&](const auto &each) { return each.name == name; });
    return found == properties.end() ? nullptr : &*found;
}

template <class Named> wire::PackedListAnswer packedNames(const std::vector<Named> &all)
{
    wire::PackedListAnswer answer;
    answer.count = static_cast<uint16_t>(all.size());
    for (const auto &each : all)
        wire::appendPacked(answer.list, each.name);
    return answer;
}

} // namespace

Outcome<wire::LoginAnswer> login(const wire::LoginRequest &request, const Crate &crate,
                                 Caller &caller, Faults &faults, CallStatistics &statistics)
{
    if (caller.isLoggedIn() || request.systemType != mainframeFamily ||
        request.linkType != linkOverTcp)
        return Result::BadRequest;
    if (faults.takeRefusal() || !accepts(crate, request.user, request.password)) {
        statistics.countRefusedLogin();
        spdlog::warn("login of \"{}\" refused", request.user);
        return Result::LoginRefused;
    }
    caller.login(request.handle);
    spdlog::info("\"{}\" logged in", request.user);
    wire::LoginAnswer answer;
    for (const auto &property : crate.description().properties)
        answer.propertyTypes.emplace_back(property.name, static_cast<uint32_t>(property.type));
    return answer;
}

Done logout(const wire::Nothing &, Caller &caller)
{
    spdlog::info("logged out");
    caller.logout();
    return Result::Ok;
}

Outcome<wire::PackedListAnswer> listProperties(const wire::Nothing &, const Crate &crate)
{
    return packedNames(crate.description().properties);
}

Outcome<wire::PropertyInfoAnswer> propertyInfo(const wire::NameRequest &request, const Crate &crate)
{
    const auto *property = findProperty(crate, request.name);
    if (property == nullptr)
        return Result::NoItem;
    return wire::PropertyInfoAnswer{static_cast<uint32_t>(property->mode),
                                    static_cast<uint32_t>(property->type)};
}

Outcome<wire::BytesAnswer> getProperty(const wire::NameRequest &request, const Crate &crate,
                                       const ShownValues &shown)
{
    Value value;
    if (const Result result = shown.read({}, request.name, value); result != Result::Ok)
        return result;
    return wire::BytesAnswer{propertyBytes(findProperty(crate, request.name)->type, value)};
}

Done setProperty(const wire::SetPropertyRequest &request, Crate &crate)
{
    const auto *property = findProperty(crate, request.name);
    if (property == nullptr)
        return Result::NoItem;
    const auto value = propertyValue(property->type, request.bytes);
    if (!value)
        return Result::BadRequest;
    return crate.write({}, request.name, *value, Origin::Network);
}

Outcome<wire::PackedListAnswer> listCommands(const wire::Nothing &, const Crate &crate)
{
    return packedNames(crate.description().commands);
}

Done executeCommand(const wire::NameRequest &request, Crate &crate)
{
    return crate.execute(request.name);
}

Outcome<wire::CrateMapAnswer> crateMap(const wire::Nothing &, const Crate &crate)
{
    const BoardDescription none;
    wire::CrateMapAnswer map;
    map.slotCount = static_cast<uint16_t>(crate.slotCount());
    for (int32_t slot = 0; slot < static_cast<int32_t>(crate.slotCount()); ++slot) {
        const Board *board = crate.board(slot);
        const BoardDescription &d = board != nullptr ? board->description() : none;
        map.channelCounts.push_back(static_cast<uint16_t>(d.channels.size()));
        map.serialNumbers.push_back(d.serialNumber);
        map.firmwareMinor.push_back(d.firmwareMinor);
        map.firmwareMajor.push_back(d.firmwareMajor);
        wire::appendPacked(map.models, board != nullptr ? board->model().name : "");
        wire::appendPacked(map.descriptions, d.description);
    }
    return map;
}

} // namespace sim::calls
