#include "calls.h"

#include <array>
#include <spdlog/spdlog.h>

#include "faults/brokenanswers.h"
#include "handlers.h"
#include "text.h"

namespace sim::calls {

namespace {

using wire::Operation;

// What of a request decides about the form of its answer.
template <class Request> std::string_view askedFor(const Request &) { return {}; }
std::string_view askedFor(const wire::NameRequest &request) { return request.name; }
std::string_view askedFor(const wire::ParameterPropertyRequest &request)
{
    return request.property;
}

void breakAnswer(World &world, Operation operation, std::string_view item, msgpack::sbuffer &body)
{
    ItemId id = 0;
    const bool isText = world.crate.find({}, item, id) == Result::Ok &&
                        world.crate.items().item(id).shape == Shape::Text;
    const AnswerForm form = answerForm(operation, item, isText);
    const auto answer = world.faults.takeAnswer(
        operation, [form](FaultAnswer each) { return canBreak(each, form); });
    if (!answer)
        return;
    spdlog::debug("{} gets a broken answer as ordered", wire::operationName(operation));
    body = broken(*answer, form, body);
}

// Notes the call and carries it out, unless it has to fail.
template <class Request, Outcome (*handler)(Session &, const Request &)>
std::pair<int32_t, msgpack::sbuffer> carryOut(Session &session, const wire::Call &call,
                                              std::optional<int32_t> code)
{
    const auto request = wire::convert<Request>(call.body);
    World &world = session.world();
    world.statistics.countCall(call.operation, callText(world.crate, call.operation, request));
    spdlog::trace("{}", world.statistics.log().back());
    if (code) {
        spdlog::debug("{} fails as ordered", wire::operationName(call.operation));
        return {*code, msgpack::sbuffer()};
    }
    if (!session.isLoggedIn() && call.operation != Operation::InitSystem)
        return {static_cast<int32_t>(Result::NotLoggedIn), msgpack::sbuffer()};
    Outcome outcome = handler(session, request);
    if (outcome.result == Result::Ok && !world.faults.none())
        breakAnswer(world, call.operation, askedFor(request), outcome.body);
    return {static_cast<int32_t>(outcome.result), std::move(outcome.body)};
}

using Carrier = std::pair<int32_t, msgpack::sbuffer> (*)(Session &, const wire::Call &,
                                                         std::optional<int32_t>);

// In the order of the operations.
constexpr std::array<Carrier, wire::operationCount> carriers = {
    carryOut<wire::LoginRequest, login>,
    carryOut<wire::Nothing, logout>,
    carryOut<wire::Nothing, listProperties>,
    carryOut<wire::NameRequest, propertyInfo>,
    carryOut<wire::NameRequest, getProperty>,
    carryOut<wire::SetPropertyRequest, setProperty>,
    carryOut<wire::Nothing, listCommands>,
    carryOut<wire::NameRequest, executeCommand>,
    carryOut<wire::Nothing, crateMap>,
    carryOut<wire::PlaceRequest, listParameters>,
    carryOut<wire::ParameterPropertyRequest, parameterProperty>,
    carryOut<wire::BoardParameterRequest, getBoardParameter>,
    carryOut<wire::SetBoardParameterRequest, setBoardParameter>,
    carryOut<wire::ChannelNameRequest, getChannelName>,
    carryOut<wire::SetChannelNameRequest, setChannelName>,
    carryOut<wire::PlaceRequest, listParameters>,
    carryOut<wire::ParameterPropertyRequest, parameterProperty>,
    carryOut<wire::ChannelParameterRequest, getChannelParameter>,
    carryOut<wire::SetChannelParameterRequest, setChannelParameter>,
    carryOut<wire::SubscriptionRequest, subscribe>,
    carryOut<wire::SubscriptionRequest, unsubscribe>,
    carryOut<wire::SubscriptionRequest, subscribe>,
    carryOut<wire::SubscriptionRequest, unsubscribe>,
    carryOut<wire::SubscriptionRequest, subscribe>,
    carryOut<wire::SubscriptionRequest, unsubscribe>,
};

} // namespace

CallFault takeCallFault(Faults &faults, std::string_view payload)
{
    return faults.takeCall(wire::readCall(wire::unpackPayload(payload)).operation);
}

std::string answerCall(Session &session, std::string_view payload, std::optional<int32_t> code)
{
    const auto unpacked = wire::unpackPayload(payload);
    const wire::Call call = wire::readCall(unpacked);
    const auto [result, body] = carriers[static_cast<size_t>(call.operation)](session, call, code);
    if (result == 0)
        return wire::makeAnswer(0, body);
    session.world().statistics.countFailure(call.operation);
    return wire::makeAnswer(result, wire::packBody(wire::Nothing()));
}

} // namespace sim::calls
