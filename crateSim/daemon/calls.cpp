#include "calls.h"

#include <array>

#include "callhandlers.h"
#include "calltext.h"

namespace sim::daemon {

namespace {

using wire::Operation;

// Notes the call, lets an ordered failure have its way, else carries it out.
template <class Request, Outcome (*handler)(Session &, const Request &)>
std::pair<int32_t, msgpack::sbuffer> carryOut(Session &session, const wire::Call &call)
{
    const auto request = wire::convert<Request>(call.body);
    World &world = session.world();
    world.statistics.countCall(call.operation, callText(world.crate, call.operation, request));
    if (const auto code = world.faults.takeFailure(call.operation))
        return {*code, msgpack::sbuffer()};
    if (!session.isLoggedIn() && call.operation != Operation::InitSystem)
        return {static_cast<int32_t>(Result::NotLoggedIn), msgpack::sbuffer()};
    Outcome outcome = handler(session, request);
    return {static_cast<int32_t>(outcome.result), std::move(outcome.body)};
}

using Carrier = std::pair<int32_t, msgpack::sbuffer> (*)(Session &, const wire::Call &);

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

std::string answerCall(Session &session, std::string_view payload)
{
    const auto unpacked = wire::unpackPayload(payload);
    const wire::Call call = wire::readCall(unpacked);
    const auto [result, body] = carriers[static_cast<size_t>(call.operation)](session, call);
    if (result == 0)
        return wire::makeAnswer(0, body);
    session.world().statistics.countFailure(call.operation);
    return wire::makeAnswer(result, wire::packBody(wire::Nothing()));
}

} // namespace sim::daemon
