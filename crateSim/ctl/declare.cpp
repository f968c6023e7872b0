#include "declare.h"

#include <cstdio>

#include "views.h"

namespace sim::ctl {

namespace {

const char *formOf(PlaceKind kind)
{
    switch (kind) {
    case PlaceKind::Any: break;
    case PlaceKind::BoardOrChannel: return "SLOT or SLOT:CHANNEL";
    case PlaceKind::Channel: return "SLOT:CHANNEL";
    }
    return "SLOT, SLOT:CHANNEL or system";
}

bool isOfKind(const Place &place, PlaceKind kind)
{
    switch (kind) {
    case PlaceKind::Any: return true;
    case PlaceKind::BoardOrChannel: return !place.isSystem();
    case PlaceKind::Channel: break;
    }
    return place.isChannel();
}

} // namespace

CLI::Option *addPlace(CLI::App &command, std::string &place, PlaceKind kind)
{
    const auto check = [kind](const std::string &given) {
        const auto parsed = parsePlace(given);
        const bool good = parsed && isOfKind(*parsed, kind);
        return good ? std::string() : "\"" + given + "\" is not " + formOf(kind);
    };
    return command.add_option("PLACE", place, formOf(kind))->check(check)->type_name("");
}

CLI::Option *addSlot(CLI::App &command, int32_t &slot)
{
    return command.add_option("SLOT", slot, "Number of the slot, from 0")
        ->required()
        ->check(CLI::NonNegativeNumber.description(""))
        ->type_name("");
}

void print(const View &view)
{
    for (const auto &line : linesOf(view)) {
        std::fputs(line.text.c_str(), stdout);
        std::fputc('\n', stdout);
    }
}

} // namespace sim::ctl
