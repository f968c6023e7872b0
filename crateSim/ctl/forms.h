// The forms that an argument of a subcommand may have.
#pragma once

#include "json.h"

namespace sim::ctl {

struct Form {
    const char *name = "";
    // What goes into the request; null for a text that is not of this form. Throws Problem where
    // there is more to say.
    Json (*parse)(const std::string &text) = nullptr;
};

// An object with "slot" and "channel".
extern const Form anyPlace;
extern const Form boardOrChannel;
extern const Form channelPlace;

extern const Form number;
extern const Form numberAbove0;
extern const Form wholeNumber;

extern const Form anyText;
extern const Form anyValue;   // a number, true or false when it reads as one
extern const Form fieldValue; // FIELD=VALUE as an object
extern const Form stormRate;
extern const Form stormMix;

// Of a flag: whether it was given, or the opposite.
extern const Form isGiven;
extern const Form isNotGiven;

} // namespace sim::ctl
