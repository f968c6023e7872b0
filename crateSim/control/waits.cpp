#include "waits.h"

#include <vector>

namespace sim::control {

void Waits::add(Condition condition, std::chrono::milliseconds timeout, Done done)
{
    if (condition())
        return done(true);
    const auto wait = std::make_shared<Wait>(
        Wait{std::move(condition), std::move(done), asio::steady_timer(m_context, timeout)});
    m_waits.push_back(wait);
    wait->timer.async_wait([this, weak = std::weak_ptr<Wait>(wait)](const Error &error) {
        const auto expired = weak.lock();
        if (error || !expired)
            return;
        m_waits.remove(expired);
        expired->done(false);
    });
}

// The answers come after the walk: they may add or end other waits.
void Waits::check()
{
    std::vector<std::shared_ptr<Wait>> held;
    for (auto each = m_waits.begin(); each != m_waits.end();) {
        if ((*each)->condition()) {
            held.push_back(*each);
            each = m_waits.erase(each);
        } else {
            ++each;
        }
    }
    for (const auto &wait : held)
        wait->done(true);
}

} // namespace sim::control
