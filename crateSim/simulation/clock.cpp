#include "clock.h"

#include <cmath>

namespace sim {

bool CrateClock::setSpeed(double factor)
{
    if (!(factor >= slowest && factor <= fastest))
        return false;
    m_speed = factor;
    m_modelStep = Duration(std::llround(static_cast<double>(m_tick.count()) * factor));
    return true;
}

} // namespace sim
