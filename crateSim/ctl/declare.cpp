#include "declare.h"

#include <cmath>
#include <cstdio>

#include "values.h"
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

namespace {

CLI::Validator numberThat(const char *what, bool (*fits)(double))
{
    const auto check = [what, fits](const std::string &given) {
        const auto number = parseReal(given);
        const bool good = number && fits(*number);
        return good ? std::string() : "\"" + given + "\" is no " + what;
    };
    return CLI::Validator(check, "");
}

} // namespace

CLI::Validator wholeNumberFrom0()
{
    return numberThat("whole number from 0 up", [](double number) {
        return number >= 0 && number <= INT32_MAX && number == std::floor(number);
    });
}

CLI::Validator numberAbove0()
{
    return numberThat("number above 0", [](double number) { return number > 0; });
}

CLI::Option *addSlot(CLI::App &command, int32_t &slot)
{
    return command.add_option("SLOT", slot, "Number of the slot, from 0")
        ->required()
        ->check(wholeNumberFrom0())
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
