#include "statistics.h"

namespace sim::calls {

void CallStatistics::countCall(wire::Operation operation, std::string text)
{
    ++m_counts[index(operation)];
    ++m_total;
    m_log.push_back(std::move(text));
    if (m_log.size() > logLimit)
        m_log.pop_front();
}

} // namespace sim::calls
