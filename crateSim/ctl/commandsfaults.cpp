// Misbehaviour on demand.
#include "declare.h"
#include "values.h"

namespace sim::ctl {

namespace {

constexpr const char *faultHelp =
    "Kinds and their fields, usual values in brackets:\n"
    "  refuse-logins      count [1]\n"
    "  fail               operation, code [1], count [1], after [0]\n"
    "  delay              operation, milliseconds, count [1], after [0]\n"
    "  hang               operation, count [1], after [0]\n"
    "  drop-events        offset [0]\n"
    "  reset-events       offset [0]\n"
    "  half-close-events  offset [0]\n"
    "  split-events       chunk [1], count [0]\n"
    "  garbage-events     bytes [64]\n"
    "  unknown-events     count [1]\n"
    "  answer             operation, answer, count [1], after [0]\n"
    "operation is a call of the access library, such as GetChParam, or \"any\"; count 0 is\n"
    "for good; after lets so many calls pass; offset counts bytes of the event stream from\n"
    "now on. answer is one of no-nul, no-end, long-count, empty-list, nan-limits,\n"
    "infinite-limits, long-text, bad-utf8, quoted-text.";

struct FaultOptions {
    std::string kind;
    std::vector<std::string> fields;
};

void fault(Client &client, const FaultOptions &options)
{
    Json request = Json::object();
    for (const auto &field : options.fields)
        addField(request, field);
    request["cmd"] = "fault";
    request["kind"] = options.kind;
    client.order(request);
}

void faults(Client &client, const NoOptions &)
{
    client.show(client.ask({{"cmd", "faults"}}),
                [](const Json &answer) { print(faultsView(answer)); });
}

void clearFaults(Client &client, const std::string &kind)
{
    Json request = {{"cmd", "clear-faults"}};
    if (!kind.empty())
        request["kind"] = kind;
    client.order(request);
}

} // namespace

void declareFaultCommands(CLI::App &app, Action &chosen)
{
    addCommand<FaultOptions>(
        app, chosen, "fault", "Order a fault",
        [](CLI::App &command, FaultOptions &options) {
            command.footer(faultHelp);
            command.add_option("KIND", options.kind, "Kind of the fault")
                ->required()
                ->type_name("");
            command.add_option("FIELD=VALUE", options.fields, "Its fields")->type_name("");
        },
        fault);
    addCommand<NoOptions>(app, chosen, "faults", "List the active faults and how often each struck",
                          nothingToFill, faults);
    addCommand<std::string>(
        app, chosen, "clear-faults", "Take faults back",
        [](CLI::App &command, std::string &kind) {
            command.add_option("KIND", kind, "Those of one kind only")->type_name("");
        },
        clearFaults);
}

} // namespace sim::ctl
