// Help for declaring subcommands.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "commands.h"
#include "place.h"
#include "views.h"

namespace sim::ctl {

enum class PlaceKind : uint8_t { Any, BoardOrChannel, Channel };

// A positional PLACE of the kind; anything else is an error of usage.
CLI::Option *addPlace(CLI::App &command, std::string &place, PlaceKind kind);
CLI::Option *addSlot(CLI::App &command, int32_t &slot);

// For options that take a number; anything else is an error of usage.
CLI::Validator wholeNumberFrom0();
CLI::Validator numberAbove0();

// For places that were checked when the command line was read.
inline Place placeOf(const std::string &text) { return parsePlace(text).value_or(Place()); }

// A subcommand with options of its own. Fill gets the command and the options
// to declare them; run carries it out.
template <class Options, class Fill, class Run>
void addCommand(CLI::App &app, Action &chosen, const std::string &name, const std::string &help,
                Fill fill, Run run)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = app.add_subcommand(name, help);
    fill(*command, *options);
    command->callback([options, run, &chosen] {
        chosen = [options, run](Client &client) {
            if constexpr (std::is_same_v<decltype(run(client, *options)), int>)
                return run(client, *options);
            run(client, *options);
            return 0;
        };
    });
}

struct NoOptions {};

inline void nothingToFill(CLI::App &, NoOptions &) {}

// On standard output.
void print(const View &view);

} // namespace sim::ctl
