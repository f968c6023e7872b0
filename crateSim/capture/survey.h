// Everything that a mainframe tells about itself.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "../model/description.h"
#include "session.h"

namespace sim::capture {

// Parameters of a board or channel, without roles, and the values that could be
// read: as many, and none of a value for what cannot be.
struct SeenLevel {
    std::vector<ParameterDescription> parameters;
    std::vector<std::optional<Value>> values;
};

struct SeenChannel {
    std::string name;
    SeenLevel level;
};

struct SeenBoard {
    Slot slot;
    SeenLevel level;
    std::vector<SeenChannel> channels;
};

struct SeenCrate {
    std::vector<PropertyDescription> properties;
    std::vector<std::string> commands;
    std::vector<std::optional<SeenBoard>> slots;
    // What is not in here, or not as the mainframe said it; for people.
    std::vector<std::string> leftOut;
};

// Nearly nothing can be read: going on would only fill pages.
class TooMuchFails : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws CallFailed when there is no crate map, TooMuchFails, and what the session's
// hook throws. The progress is told of each board that follows.
SeenCrate survey(Session &session, const std::function<void(size_t slot)> &progress = {});

} // namespace sim::capture
