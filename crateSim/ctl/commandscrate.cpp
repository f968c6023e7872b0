// Looking at the crate and working its front panel.
#include <algorithm>
#include <csignal>

#include "declare.h"
#include "problem.h"
#include "screen.h"
#include "values.h"

namespace sim::ctl {

namespace {

// A process that a signal was to end ends by it, so that a shell knows.
int endedBy(int number)
{
    if (number != 0) {
        std::signal(number, SIG_DFL);
        std::raise(number);
    }
    return 0;
}

struct ShowOptions {
    std::string place;
    bool live = false;
};

int show(Client &client, const ShowOptions &options)
{
    if (options.live && client.settings().json)
        throw Problem("--live is for people and --json for programs: choose one");
    const Json request = withPlace({{"cmd", "show"}}, placeOf(options.place));
    const auto view = options.place == "system" ? systemView : viewOf;
    if (options.live)
        return endedBy(runLive([&] { return view(client.ask(request)); }));
    client.show(client.ask(request), [view](const Json &shown) { print(view(shown)); });
    return 0;
}

struct ItemOptions {
    std::string place;
    std::string name;
    std::string value;
};

void declareItem(CLI::App &command, ItemOptions &options)
{
    addPlace(command, options.place, PlaceKind::Any)->required();
    command.add_option("NAME", options.name, "Name of the parameter or property")
        ->required()
        ->type_name("");
}

void get(Client &client, const ItemOptions &options)
{
    const Json answer =
        client.ask(withPlace({{"cmd", "get"}, {"name", options.name}}, placeOf(options.place)));
    client.show(answer, [](const Json &fields) {
        std::puts(textOf(fields.value("value", Json())).c_str());
    });
}

// A name that does not exist goes to the crate as it is: it knows what to say.
Json convertedValue(Client &client, const ItemOptions &options)
{
    const Json shown = client.ask(withPlace({{"cmd", "show"}}, placeOf(options.place)));
    const Json &items = shown.at("items");
    const auto found = std::find_if(items.begin(), items.end(), [&options](const Json &item) {
        return item.at("name") == options.name;
    });
    return found == items.end() ? Json(options.value) : valueFor(*found, options.value);
}

void set(Client &client, const ItemOptions &options)
{
    const Json value = convertedValue(client, options);
    client.order(withPlace({{"cmd", "set"}, {"name", options.name}, {"value", value}},
                           placeOf(options.place)));
}

void execute(Client &client, const std::string &command)
{
    client.order({{"cmd", "execute"}, {"name", command}});
}

} // namespace

void declareCrateCommands(CLI::App &app, Action &chosen)
{
    const auto add = [&](auto options, const char *name, const char *help, auto fill, auto run) {
        addCommand<decltype(options)>(app, chosen, name, help, fill, run);
    };
    add(
        ShowOptions(), "show", "Show the crate, a board, a channel or the system's properties",
        [](CLI::App &command, ShowOptions &options) {
            addPlace(command, options.place, PlaceKind::Any);
            command.add_flag("--live", options.live,
                             "Keep the table up to date on the terminal until q is pressed");
        },
        show);
    add(ItemOptions(), "get", "Print the value of a parameter or property", declareItem, get);
    add(
        ItemOptions(), "set", "Set a parameter or property as the front panel would",
        [](CLI::App &command, ItemOptions &options) {
            declareItem(command, options);
            command
                .add_option("VALUE", options.value,
                            "Number, text, or for a switch also its label, such as On")
                ->required()
                ->type_name("");
        },
        set);
    add(
        std::string(), "execute", "Execute a command of the crate, such as ClearAlarm",
        [](CLI::App &command, std::string &name) {
            command.add_option("COMMAND", name, "Name of the command; \"show system\" lists them")
                ->required()
                ->type_name("");
        },
        execute);
}

} // namespace sim::ctl
