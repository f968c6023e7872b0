#include "declare.h"

#include <cstdio>

#include "values.h"

namespace sim::ctl {

namespace {

struct KindText {
    const char *form;
    const char *help;
};

KindText textOf(PlaceKind kind)
{
    switch (kind) {
    case PlaceKind::Any:
    case PlaceKind::Item: break;
    case PlaceKind::BoardOrChannel: return {"SLOT or SLOT:CHANNEL", "SLOT or SLOT:CHANNEL"};
    case PlaceKind::Channel: return {"SLOT:CHANNEL", "SLOT:CHANNEL"};
    }
    return {"SLOT, SLOT:CHANNEL or system", "SLOT, SLOT:CHANNEL or system"};
}

bool isOfKind(const Place &place, PlaceKind kind)
{
    switch (kind) {
    case PlaceKind::Any:
    case PlaceKind::Item: return true;
    case PlaceKind::BoardOrChannel: return !place.isSystem();
    case PlaceKind::Channel: break;
    }
    return place.isChannel();
}

} // namespace

CLI::Option *addPlace(CLI::App &command, std::string &place, PlaceKind kind)
{
    const KindText text = textOf(kind);
    const auto check = [kind, text](const std::string &given) {
        const auto parsed = parsePlace(given);
        const bool good = parsed && isOfKind(*parsed, kind);
        return good ? std::string() : "\"" + given + "\" is not " + text.form;
    };
    return command.add_option("PLACE", place, text.help)->check(check)->type_name("");
}

CLI::Option *addSlot(CLI::App &command, int32_t &slot)
{
    return command.add_option("SLOT", slot, "Number of the slot, from 0")
        ->required()
        ->check(CLI::NonNegativeNumber)
        ->type_name("");
}

void print(const View &view)
{
    for (const auto &line : linesOf(view)) {
        std::fputs(line.text.c_str(), stdout);
        std::fputc('\n', stdout);
    }
}

Json Client::askToWait(Json request)
{
    request["timeout"] = m_settings.timeout;
    constexpr auto forTheAnswer = std::chrono::seconds(5);
    return m_connection.ask(request, m_settings.patience() + forTheAnswer);
}

void Client::show(const Json &answer, const std::function<void(const Json &)> &print) const
{
    if (m_settings.json)
        std::puts(answer.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
    else if (print)
        print(answer);
}

} // namespace sim::ctl
