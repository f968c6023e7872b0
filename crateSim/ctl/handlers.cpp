#include "handlers.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fmt/format.h>

#include "../model/words.h"
#include "problem.h"
#include "screen.h"
#include "values.h"

namespace sim::ctl {

namespace {

// A process that a signal was to end ends by it, so that a shell knows.
void endBy(int number)
{
    if (number == 0)
        return;
    std::signal(number, SIG_DFL);
    std::raise(number);
}

// A name that does not exist goes to the crate as it is: it knows what to say.
Json convertedValue(Client &client, const Json &request)
{
    Json look = request;
    look["cmd"] = "show";
    const Json shown = client.ask(look);
    const Json &items = shown.at("items");
    const auto found = std::find_if(items.begin(), items.end(), [&request](const Json &item) {
        return item.at("name") == request.at("name");
    });
    const Json &given = request.at("value");
    return found == items.end() ? given : valueFor(*found, given.get<std::string>());
}

template <class Words> uint32_t bitOf(const Words &words, const std::string &word)
{
    const auto found = std::find_if(words.begin(), words.end(),
                                    [&word](const auto &each) { return each.word == word; });
    if (found == words.end())
        throw Problem(fmt::format("\"{}\" is not a word of this status", word));
    return found->bit;
}

uint32_t bitsOf(const std::string &list, bool isChannel)
{
    uint32_t bits = 0;
    for (const auto &word : splitAt(',', list))
        bits |= isChannel ? bitOf(channelStatusWords, word) : bitOf(boardStatusWords, word);
    return bits;
}

} // namespace

void printAnswer(const Client &client, const Json &answer, View (*view)(const Json &))
{
    if (client.settings().json)
        std::puts(lineOf(answer).c_str());
    else
        for (const auto &line : linesOf(view(answer)))
            std::puts(line.text.c_str());
}

void show(Client &client, const Json &request, const CLI::App &given)
{
    const bool isLive = given.count("--live") > 0;
    if (isLive && client.settings().json)
        throw Problem("--live is for people and --json for programs: choose one");
    const bool isSystem = given.count("PLACE") > 0 && !request.contains("slot");
    const auto view = isSystem ? systemView : viewOf;
    if (isLive)
        endBy(runLive([&] { return view(client.ask(request)); }));
    else
        printAnswer(client, client.ask(request), view);
}

void set(Client &client, const Json &request, const CLI::App &)
{
    Json converted = request;
    converted["value"] = convertedValue(client, request);
    printAnswer(client, client.ask(converted), emptyView);
}

void wait(Client &client, const Json &request, const CLI::App &given)
{
    const auto has = [&given](const char *name) { return given.count(name) > 0; };
    Json condition = request;
    if (has("--status"))
        condition["bits"] =
            bitsOf(given["--status"]->as<std::string>(), request.contains("channel"));
    else if (has("PLACE") && !has("VALUE"))
        throw Problem(fmt::format("wait needs the VALUE that {} is to have, or --status",
                                  textOf(request.at("name"))));
    else if (!has("PLACE") && !has("--call") && !has("--event-connections") && !has("--sessions"))
        throw Problem("wait needs PLACE NAME VALUE, --call, --event-connections or --sessions");
    printAnswer(client, client.askToWait(condition), emptyView);
}

} // namespace sim::ctl
