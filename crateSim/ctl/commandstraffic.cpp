// What goes on between the crate and its clients.
#include <cstdio>

#include "declare.h"
#include "problem.h"
#include "values.h"

namespace sim::ctl {

namespace {

struct StormOptions {
    std::string rate;
    std::string mix;
    double seconds = 0;
    int32_t batch = 0;
};

void storm(Client &client, const StormOptions &options)
{
    Json request = {{"cmd", "storm"}, {"rate", 0}};
    if (options.rate != "stop") {
        request["rate"] = plainValue(options.rate);
        if (!request["rate"].is_number())
            throw Problem("\"" + options.rate +
                          "\" is neither a number of events per second"
                          " nor \"stop\"");
    }
    if (options.seconds > 0)
        request["seconds"] = options.seconds;
    if (options.batch > 0)
        request["batch"] = options.batch;
    if (!options.mix.empty())
        request["mix"] = parseMix(options.mix);
    client.order(request);
}

void declareStorm(CLI::App &command, StormOptions &options)
{
    command.add_option("RATE", options.rate, "Events per second, or \"stop\"")
        ->required()
        ->type_name("");
    command
        .add_option("--mix", options.mix,
                    "Shares of the kinds numeric, status, on-off, integer, text, property; "
                    "such as numeric=8,status=1")
        ->type_name("KIND=SHARE,...");
    command.add_option("--seconds", options.seconds, "End by itself after so long")
        ->check(numberAbove0())
        ->type_name("S");
    command
        .add_option("--batch", options.batch,
                    "Send them in batches of so many, not of what is due at a time")
        ->check(wholeNumberFrom0())
        ->type_name("N");
}

struct StatisticsOptions {
    bool clear = false;
};

void statistics(Client &client, const StatisticsOptions &options)
{
    client.show(client.ask({{"cmd", "statistics"}, {"clear", options.clear}}),
                [](const Json &answer) { print(statisticsView(answer)); });
}

struct LogOptions {
    std::string match;
    int32_t last = 0;
};

void log(Client &client, const LogOptions &options)
{
    Json request = {{"cmd", "log"}};
    if (!options.match.empty())
        request["match"] = options.match;
    if (options.last > 0)
        request["last"] = options.last;
    client.show(client.ask(request), [](const Json &answer) {
        for (const auto &line : answer.at("log"))
            std::puts(textOf(line).c_str());
    });
}

void subscriptions(Client &client, const NoOptions &)
{
    client.show(client.ask({{"cmd", "subscriptions"}}),
                [](const Json &answer) { print(subscriptionsView(answer)); });
}

} // namespace

void declareTrafficCommands(CLI::App &app, Action &chosen)
{
    addCommand<StormOptions>(app, chosen, "storm",
                             "Report so many events per second to the subscribers", declareStorm,
                             storm);
    addCommand<StatisticsOptions>(
        app, chosen, "statistics", "Print what was called, sent and opened",
        [](CLI::App &command, StatisticsOptions &options) {
            command.add_flag("--clear", options.clear, "Count from 0 again afterwards");
        },
        statistics);
    addCommand<LogOptions>(
        app, chosen, "log", "Print the calls of the access library",
        [](CLI::App &command, LogOptions &options) {
            command.add_option("--match", options.match, "Only lines that begin like this")
                ->type_name("TEXT");
            command.add_option("--last", options.last, "Only the last ones")
                ->check(wholeNumberFrom0())
                ->type_name("N");
        },
        log);
    addCommand<NoOptions>(app, chosen, "subscriptions", "List who gets events", nothingToFill,
                          subscriptions);
}

} // namespace sim::ctl
