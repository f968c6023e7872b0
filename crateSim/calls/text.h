// Calls as text for the call log: the input arguments in the order of the access library's
// interface, the handle left out.
#pragma once

#include <string>

#include "protocol/messages.h"

namespace sim {
class Crate;
}

namespace sim::calls {

std::string argumentText(const Crate &crate, const wire::LoginRequest &request);
std::string argumentText(const Crate &crate, const wire::Nothing &request);
std::string argumentText(const Crate &crate, const wire::NameRequest &request);
std::string argumentText(const Crate &crate, const wire::SetPropertyRequest &request);
std::string argumentText(const Crate &crate, const wire::PlaceRequest &request);
std::string argumentText(const Crate &crate, const wire::ParameterPropertyRequest &request);
std::string argumentText(const Crate &crate, const wire::BoardParameterRequest &request);
std::string argumentText(const Crate &crate, const wire::SetBoardParameterRequest &request);
std::string argumentText(const Crate &crate, const wire::ChannelNameRequest &request);
std::string argumentText(const Crate &crate, const wire::SetChannelNameRequest &request);
std::string argumentText(const Crate &crate, const wire::ChannelParameterRequest &request);
std::string argumentText(const Crate &crate, const wire::SetChannelParameterRequest &request);
std::string argumentText(const Crate &crate, const wire::SubscriptionRequest &request);

} // namespace sim::calls
