#include "result.h"

namespace sim {

const char *resultText(Result result)
{
    switch (result) {
    case Result::Ok: return "ok";
    case Result::BadRequest: return "request cannot be understood";
    case Result::NotLoggedIn: return "not logged in";
    case Result::LoginRefused: return "login refused";
    case Result::NoSlot: return "no board in this slot";
    case Result::NoChannel: return "no such channel";
    case Result::NoItem: return "no such item";
    case Result::NoProperty: return "the item has no such property";
    case Result::NotReadable: return "the item cannot be read";
    case Result::NotWritable: return "the item cannot be written";
    case Result::OutOfRange: return "value out of range";
    case Result::Locked: return "locked by a trip, an alarm or a disable";
    case Result::NoCommand: return "no such command";
    case Result::Refused: return "refused";
    }
    return "unknown result";
}

} // namespace sim
