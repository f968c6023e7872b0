// Calls as text for the call log: the operation with its input arguments in
// the order of the access library's interface, the handle left out.
#pragma once

#include <string>

#include "protocol/messages.h"
#include "protocol/operations.h"

namespace sim {
class Crate;
}

namespace sim::calls {

std::string callText(const Crate &crate, wire::Operation op, const wire::LoginRequest &request);
std::string callText(const Crate &crate, wire::Operation op, const wire::Nothing &request);
std::string callText(const Crate &crate, wire::Operation op, const wire::NameRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::SetPropertyRequest &request);
std::string callText(const Crate &crate, wire::Operation op, const wire::PlaceRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::ParameterPropertyRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::BoardParameterRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::SetBoardParameterRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::ChannelNameRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::SetChannelNameRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::ChannelParameterRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::SetChannelParameterRequest &request);
std::string callText(const Crate &crate, wire::Operation op,
                     const wire::SubscriptionRequest &request);

} // namespace sim::calls
