// Requests that are answered once a condition holds, or when their time is up.
#pragma once

#include <functional>
#include <list>
#include <memory>

#include "events/net.h"

namespace sim::control {

class Waits {
public:
    using Condition = std::function<bool()>;
    using Done = std::function<void(bool held)>;

    explicit Waits(asio::io_context &context) : m_context(context) {}

    // Calls done exactly once: at once, from check() or from the event loop.
    void add(Condition condition, std::chrono::milliseconds timeout, Done done);

    // Looks at every condition again.
    void check();

private:
    struct Wait {
        Condition condition;
        Done done;
        asio::steady_timer timer;
    };

    asio::io_context &m_context;
    std::list<std::shared_ptr<Wait>> m_waits;
};

} // namespace sim::control
