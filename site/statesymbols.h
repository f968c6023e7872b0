// The states of a channel as drawings: a colour and a shape each, so that nobody has to tell
// colours apart.
#pragma once

#include "plan.h"

namespace site {

constexpr int symbolSize = 20; // pixels

// In the order of the states, beside the screens; behind them that of a channel which is not
// connected.
const OutputFiles &symbols();

} // namespace site
