// The operations of the access library, as the crate answers them.
#pragma once

#include <string>
#include <string_view>

namespace sim::daemon {

class Session;

// The answer's frame to the call in the payload. Throws wire::BadFrame when
// the payload cannot be understood.
std::string answerCall(Session &session, std::string_view payload);

} // namespace sim::daemon
