// Session, system properties, commands and the crate map.
#include <algorithm>
#include <spdlog/spdlog.h>

#include "protocol/lists.h"
#include "bytes.h"
#include "handlers.h"

namespace sim::calls {

namespace {

constexpr int32_t mainframeFamily = 2;
constexpr int32_t linkOverTcp = 0;

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

Outcome login(Session &session, const wire::LoginRequest &request)
{
    World &world = session.world();
    if (session.isLoggedIn() || request.systemType != mainframeFamily ||
        request.linkType != linkOverTcp)
        return failed(Result::BadRequest);
    if (world.faults.takeRefusal() || !world.accepts(request.user, request.password)) {
        ++world.statistics.loginsRefused;
        spdlog::warn("login of \"{}\" refused", request.user);
        return failed(Result::LoginRefused);
    }
    session.login(request.handle);
    spdlog::info("\"{}\" logged in", request.user);
    wire::LoginAnswer answer;
    for (const auto &property : world.crate.description().properties)
        answer.propertyTypes.emplace_back(property.name, static_cast<uint32_t>(property.type));
    return succeeded(answer);
}

Outcome logout(Session &session, const wire::Nothing &)
{
    spdlog::info("logged out");
    session.logout();
    return succeeded(wire::Nothing());
}

Outcome listProperties(Session &session, const wire::Nothing &)
{
    return succeeded(packedNames(session.world().crate.description().properties));
}

Outcome propertyInfo(Session &session, const wire::NameRequest &request)
{
    const auto *property = findProperty(session.world().crate, request.name);
    if (property == nullptr)
        return failed(Result::NoItem);
    return succeeded(wire::PropertyInfoAnswer{static_cast<uint32_t>(property->mode),
                                              static_cast<uint32_t>(property->type)});
}

Outcome getProperty(Session &session, const wire::NameRequest &request)
{
    const Crate &crate = session.world().crate;
    Value value;
    if (const Result result = crate.read({}, request.name, value); result != Result::Ok)
        return failed(result);
    return succeeded(
        wire::BytesAnswer{propertyBytes(findProperty(crate, request.name)->type, value)});
}

Outcome setProperty(Session &session, const wire::SetPropertyRequest &request)
{
    Crate &crate = session.world().crate;
    const auto *property = findProperty(crate, request.name);
    if (property == nullptr)
        return failed(Result::NoItem);
    const auto value = propertyValue(property->type, request.bytes);
    if (!value)
        return failed(Result::BadRequest);
    return {crate.write({}, request.name, *value, Origin::Network),
            wire::packBody(wire::Nothing())};
}

Outcome listCommands(Session &session, const wire::Nothing &)
{
    return succeeded(packedNames(session.world().crate.description().commands));
}

Outcome executeCommand(Session &session, const wire::NameRequest &request)
{
    return {session.world().crate.execute(request.name), wire::packBody(wire::Nothing())};
}

Outcome crateMap(Session &session, const wire::Nothing &)
{
    const Crate &crate = session.world().crate;
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
    return succeeded(map);
}

} // namespace sim::calls
