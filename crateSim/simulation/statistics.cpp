#include "statistics.h"

namespace sim {

void Statistics::countCall(wire::Operation operation, std::string text)
{
    ++m_calls[index(operation)];
    ++m_allCalls;
    m_log.push_back(std::move(text));
    if (m_log.size() > logLimit)
        m_log.pop_front();
}

void Statistics::countFailure(wire::Operation operation) { ++m_failures[index(operation)]; }

void Statistics::clear() { *this = Statistics(); }

} // namespace sim
