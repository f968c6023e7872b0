// Threads that have to wait for each other.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string_view>
#include <thread>

// Whether this thread of the process sleeps. Needs no memory.
inline bool sleeps(pid_t thread)
{
    char text[512] = {};
    std::snprintf(text, sizeof(text), "/proc/self/task/%d/stat", thread);
    const int file = open(text, O_RDONLY | O_CLOEXEC);
    const ssize_t length = file < 0 ? 0 : read(file, text, sizeof(text) - 1);
    if (file >= 0)
        close(file);
    // Its state stands behind its name, which is in brackets.
    const std::string_view status(text, length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::size_t name = status.rfind(')');
    return name != status.npos && status.substr(name, 3) == ") S";
}

// Runs an action on a thread of its own.
class Contender {
public:
    explicit Contender(std::function<void()> action)
        : m_action(std::move(action)), m_thread([this] {
              m_id = gettid();
              m_action();
              m_done = true;
          })
    {
    }
    ~Contender() { join(); }
    Contender(const Contender &) = delete;
    Contender &operator=(const Contender &) = delete;

    // Until the action is through or its thread sleeps: whether it sleeps. Needs no memory.
    bool waits() const
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!m_done && std::chrono::steady_clock::now() < end) {
            if (m_id != 0 && sleeps(m_id))
                return !m_done;
            std::this_thread::yield();
        }
        return false;
    }
    void join()
    {
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    const std::function<void()> m_action;
    std::atomic<pid_t> m_id{0};
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};
