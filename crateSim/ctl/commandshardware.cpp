// What happens to boards and channels from outside.
#include "declare.h"

namespace sim::ctl {

namespace {

struct TripOptions {
    std::string place;
    bool external = false;
};

void trip(Client &client, const TripOptions &options)
{
    client.order(
        withPlace({{"cmd", "trip"}, {"external", options.external}}, placeOf(options.place)));
}

struct ConditionOptions {
    std::string place;
    std::string name;
    bool clear = false;
};

void condition(Client &client, const ConditionOptions &options)
{
    client.order(withPlace({{"cmd", "condition"}, {"name", options.name}, {"on", !options.clear}},
                           placeOf(options.place)));
}

// Everyday words for raising and dropping a condition.
struct Everyday {
    const char *command;
    const char *help;
    const char *condition;
    bool on;
    PlaceKind kind;
};

constexpr Everyday everyday[] = {
    {"unplug", "Take the cable off a channel", "unplugged", true, PlaceKind::Channel},
    {"plug", "Put the cable back", "unplugged", false, PlaceKind::Channel},
    {"disable", "Disable a channel from outside", "external-disable", true, PlaceKind::Channel},
    {"enable", "Take the disable away", "external-disable", false, PlaceKind::Channel},
    {"power-fail", "Let the power of a board or channel fail", "power-fail", true,
     PlaceKind::BoardOrChannel},
    {"power-good", "Bring the power back", "power-fail", false, PlaceKind::BoardOrChannel},
};

void declareEveryday(CLI::App &app, Action &chosen, const Everyday &words)
{
    addCommand<std::string>(
        app, chosen, words.command, words.help,
        [&words](CLI::App &command, std::string &place) {
            addPlace(command, place, words.kind)->required();
        },
        [&words](Client &client, const std::string &place) {
            condition(client, {place, words.condition, !words.on});
        });
}

void declareSlotCommand(CLI::App &app, Action &chosen, const char *name, const char *help)
{
    addCommand<int32_t>(
        app, chosen, name, help, [](CLI::App &command, int32_t &slot) { addSlot(command, slot); },
        [name](Client &client, int32_t slot) {
            client.order({{"cmd", name}, {"slot", slot}});
        });
}

} // namespace

void declareHardwareCommands(CLI::App &app, Action &chosen)
{
    addCommand<TripOptions>(
        app, chosen, "trip", "Trip a channel",
        [](CLI::App &command, TripOptions &options) {
            addPlace(command, options.place, PlaceKind::Channel)->required();
            command.add_flag("--external", options.external,
                             "By the external trip line, not by its own over-current");
        },
        trip);
    for (const auto &words : everyday)
        declareEveryday(app, chosen, words);
    addCommand<ConditionOptions>(
        app, chosen, "condition", "Raise or drop a status bit of a board or channel",
        [](CLI::App &command, ConditionOptions &options) {
            addPlace(command, options.place, PlaceKind::BoardOrChannel)->required();
            command
                .add_option("NAME", options.name,
                            "Of a channel: over-voltage, under-voltage, external-disable, "
                            "calibration-error, unplugged, under-current, "
                            "over-voltage-protection, power-fail, temperature-error; of a "
                            "board: power-fail, firmware-checksum, calibration-error, "
                            "temperature-error")
                ->required()
                ->type_name("");
            command.add_flag("--clear", options.clear, "Drop it");
        },
        condition);
    declareSlotCommand(app, chosen, "remove", "Pull a board out");
    declareSlotCommand(app, chosen, "insert", "Put a pulled board back");
}

} // namespace sim::ctl
