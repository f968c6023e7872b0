// What may end a capture before its time: a signal between two calls, a call that
// is not answered.
#pragma once

#include <stdexcept>

namespace sim::capture {

class Interrupted : public std::runtime_error {
public:
    explicit Interrupted(int number);
    int number() const { return m_number; }

private:
    int m_number;
};

// From now on the first SIGHUP, SIGINT or SIGTERM is kept for checkSignals(), and
// the second one ends the process.
void catchSignals();
// Throws Interrupted when there was one.
void checkSignals();

// Ends the process with status 1 and a message unless disarmed in time: nobody
// can call a library back out of a call. The name has to live on.
void armTimeout(const char *operation, unsigned seconds);
void disarmTimeout();

} // namespace sim::capture
