// The crate's time, and waiting for what it brings.
#include <algorithm>

#include "../model/words.h"
#include "declare.h"
#include "problem.h"
#include "values.h"

namespace sim::ctl {

namespace {

struct WaitOptions {
    std::string place;
    std::string name;
    std::string value;
    std::optional<double> tolerance;
    std::string status;
    std::string call;
    std::optional<int32_t> count;
    std::optional<int32_t> eventConnections;
    std::optional<int32_t> sessions;
};

template <size_t size>
uint32_t bitOf(const std::array<StatusWord, size> &words, const std::string &word)
{
    const auto found = std::find_if(words.begin(), words.end(),
                                    [&word](const auto &each) { return each.word == word; });
    if (found == words.end())
        throw Problem("\"" + word + "\" is no word of this status");
    return found->bit;
}

uint32_t bitsOf(const Place &place, const std::string &list)
{
    uint32_t bits = 0;
    for (const auto &word : splitAt(',', list))
        bits |= place.isChannel() ? bitOf(channelStatusWords, word) : bitOf(boardStatusWords, word);
    return bits;
}

Json itemCondition(const WaitOptions &options)
{
    const Place place = placeOf(options.place);
    Json request = withPlace({{"cmd", "wait"}, {"name", options.name}}, place);
    if (!options.status.empty())
        request["bits"] = bitsOf(place, options.status);
    else if (!options.value.empty())
        request["value"] = plainValue(options.value);
    else
        throw Problem("wait needs the VALUE that " + options.name + " is to have, or --status");
    if (options.tolerance)
        request["tolerance"] = *options.tolerance;
    return request;
}

Json waitRequest(const WaitOptions &options)
{
    if (!options.place.empty())
        return itemCondition(options);
    if (options.call.empty() && !options.eventConnections && !options.sessions)
        throw Problem("wait needs PLACE NAME VALUE, --call, --event-connections or --sessions");
    Json request = {{"cmd", "wait"}};
    if (!options.call.empty())
        request["call"] = options.call;
    if (options.count)
        request["count"] = *options.count;
    if (options.eventConnections)
        request["eventConnections"] = *options.eventConnections;
    if (options.sessions)
        request["sessions"] = *options.sessions;
    return request;
}

void wait(Client &client, const WaitOptions &options)
{
    client.show(client.askToWait(waitRequest(options)), {});
}

void declareWait(CLI::App &command, WaitOptions &options)
{
    command.footer("Says nothing once it holds. Gives up after --timeout, with status 1.");
    auto *place = addPlace(command, options.place, PlaceKind::Any);
    auto *name =
        command.add_option("NAME", options.name, "Name of a parameter or property")->type_name("");
    auto *value =
        command.add_option("VALUE", options.value, "Value that it is to have")->type_name("");
    command
        .add_option("--status", options.status,
                    "Instead of VALUE: bits that are to be set in it, such as on,ramping-up; "
                    "\"show\" has the words")
        ->type_name("WORD,...")
        ->needs(name)
        ->excludes(value);
    place->needs(name);
    command.add_option("--tolerance", options.tolerance, "How far from VALUE is near enough")
        ->type_name("NUMBER")
        ->needs(value);
    auto *call =
        command.add_option("--call", options.call, "Wait for a call of the access library")
            ->type_name("OPERATION");
    command.add_option("--count", options.count, "How many of these calls (default: 1)")
        ->type_name("N")
        ->needs(call)
        ->check(wholeNumberFrom0());
    auto *connections = command
                            .add_option("--event-connections", options.eventConnections,
                                        "Wait until so many event connections are open")
                            ->type_name("N")
                            ->check(wholeNumberFrom0());
    auto *sessions = command
                         .add_option("--sessions", options.sessions,
                                     "Wait until so many connections of the library are open")
                         ->type_name("N")
                         ->check(wholeNumberFrom0());
    for (auto *one : {place, call, connections, sessions})
        for (auto *other : {place, call, connections, sessions})
            if (one != other)
                one->excludes(other);
}

struct NumberOptions {
    double number = 0;
};

void declareNumber(CLI::App &app, Action &chosen, const char *name, const char *help,
                   const char *option, const char *optionHelp, const char *field)
{
    addCommand<NumberOptions>(
        app, chosen, name, help,
        [option, optionHelp](CLI::App &command, NumberOptions &options) {
            command.add_option(option, options.number, optionHelp)->required()->type_name("");
        },
        [name, field](Client &client, const NumberOptions &options) {
            client.order({{"cmd", name}, {field, options.number}});
        });
}

void declareOrder(CLI::App &app, Action &chosen, const char *name, const char *help)
{
    addCommand<NoOptions>(app, chosen, name, help, nothingToFill,
                          [name](Client &client, const NoOptions &) {
                              client.order({{"cmd", name}});
                          });
}

} // namespace

void declareClockCommands(CLI::App &app, Action &chosen)
{
    declareOrder(app, chosen, "pause", "Stop the crate's time");
    declareOrder(app, chosen, "continue", "Let the crate's time go on");
    declareNumber(app, chosen, "step", "Let exactly so much of the crate's time pass at once",
                  "SECONDS", "Crate time, above 0", "seconds");
    declareNumber(app, chosen, "speed", "Let the crate's time pass so many times faster", "FACTOR",
                  "From 0.001 to 100000; 1 is the pace of the clock", "factor");
    addCommand<WaitOptions>(app, chosen, "wait",
                            "Wait for a value, a status, a call or a connection", declareWait,
                            wait);
}

} // namespace sim::ctl
