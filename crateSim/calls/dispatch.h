// The operations of the access library, as the crate answers them.
#pragma once

#include <optional>
#include <string>

#include "caller.h"
#include "model/crate.h"
#include "protocol/codec.h"
#include "statistics.h"

namespace sim::calls {

// What there is for handlers; each is given the parts that it asks for.
struct CallContext {
    Crate &crate;
    const ShownValues &shown;
    Caller &caller;
    Faults &faults;
    CallStatistics &statistics;

    operator Crate &() const { return crate; }
    operator const ShownValues &() const { return shown; }
    operator Caller &() const { return caller; }
    operator Faults &() const { return faults; }
    operator CallStatistics &() const { return statistics; }
};

// The answer's frame. With a code the call fails with it and is not handled. Throws wire::BadFrame
// when the call's body is not what its operation needs.
std::string dispatch(const CallContext &context, const wire::Call &call,
                     std::optional<int32_t> code);

} // namespace sim::calls
