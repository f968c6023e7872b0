// What the subcommands do: each asks the crate and prints the answer.
#pragma once

#include "client.h"
#include "views.h"

namespace CLI {
class App;
}

namespace sim::ctl {

// Given is the subcommand with its arguments.
using Handler = void (*)(Client &client, const Json &request, const CLI::App &given);

void show(Client &client, const Json &request, const CLI::App &given);
void set(Client &client, const Json &request, const CLI::App &given);
void wait(Client &client, const Json &request, const CLI::App &given);

// Prints the answer as JSON if that is wanted, otherwise as a view.
void printAnswer(const Client &client, const Json &answer, View (*view)(const Json &));

template <View (*view)(const Json &)>
void print(Client &client, const Json &request, const CLI::App &)
{
    printAnswer(client, client.ask(request), view);
}

} // namespace sim::ctl
