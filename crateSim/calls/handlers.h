// One function per operation. The caller has seen to the login, to ordered
// failures and to the statistics.
#pragma once

#include "protocol/codec.h"
#include "daemon/session.h"

namespace sim::calls {

using daemon::Session;

struct Outcome {
    Result result = Result::Ok;
    msgpack::sbuffer body; // packed answer, meaningful only when result is Ok
};

inline Outcome failed(Result result) { return {result, {}}; }

template <class Body> Outcome succeeded(const Body &body)
{
    return {Result::Ok, wire::packBody(body)};
}

Outcome login(Session &session, const wire::LoginRequest &request);
Outcome logout(Session &session, const wire::Nothing &request);
Outcome listProperties(Session &session, const wire::Nothing &request);
Outcome propertyInfo(Session &session, const wire::NameRequest &request);
Outcome getProperty(Session &session, const wire::NameRequest &request);
Outcome setProperty(Session &session, const wire::SetPropertyRequest &request);
Outcome listCommands(Session &session, const wire::Nothing &request);
Outcome executeCommand(Session &session, const wire::NameRequest &request);
Outcome crateMap(Session &session, const wire::Nothing &request);

Outcome listParameters(Session &session, const wire::PlaceRequest &request);
Outcome parameterProperty(Session &session, const wire::ParameterPropertyRequest &request);
Outcome getBoardParameter(Session &session, const wire::BoardParameterRequest &request);
Outcome setBoardParameter(Session &session, const wire::SetBoardParameterRequest &request);
Outcome getChannelName(Session &session, const wire::ChannelNameRequest &request);
Outcome setChannelName(Session &session, const wire::SetChannelNameRequest &request);
Outcome getChannelParameter(Session &session, const wire::ChannelParameterRequest &request);
Outcome setChannelParameter(Session &session, const wire::SetChannelParameterRequest &request);

Outcome subscribe(Session &session, const wire::SubscriptionRequest &request);
Outcome unsubscribe(Session &session, const wire::SubscriptionRequest &request);

} // namespace sim::calls
