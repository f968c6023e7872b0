// The operations of the access library, as the crate answers them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "faults/active.h"

namespace sim::daemon {
class Session;
}

namespace sim::calls {

using daemon::Session;

// What the call in the payload has to suffer. Throws wire::BadFrame when the
// payload cannot be understood.
CallFault takeCallFault(Faults &faults, std::string_view payload);

// The answer's frame to the call in the payload. With a code the call fails
// with it and is not carried out. Throws wire::BadFrame.
std::string answerCall(Session &session, std::string_view payload, std::optional<int32_t> code);

} // namespace sim::calls
