#include "commands.h"

#include <CLI/CLI.hpp>

namespace sim::ctl {

namespace {

constexpr Handler order = print<emptyView>; // nothing to say when it was done

Argument place(const Form &form) { return {"PLACE", nullptr, form}; }
Argument itemName() { return {"NAME", "name", anyText, "Name of the parameter or property"}; }
Argument slot() { return {"SLOT", "slot", wholeNumber, "Number of the slot, from 0"}; }

// Sets or clears a bit of the status.
Json status(const char *name, bool on)
{
    return {{"cmd", "condition"}, {"name", name}, {"on", on}};
}

// ---- What the rows cannot say

void refineWait(CLI::App &wait)
{
    const auto option = [&wait](const char *name) { return wait.get_option(name); };
    option("PLACE")->needs(option("NAME"));
    option("--status")->needs(option("NAME"))->excludes(option("VALUE"));
    option("--tolerance")->needs(option("VALUE"));
    option("--count")->needs(option("--call"));
    const auto conditions = {"PLACE", "--call", "--event-connections", "--sessions"};
    for (const char *one : conditions)
        for (const char *other : conditions)
            if (one != other)
                option(one)->excludes(option(other));
    wait.footer(
        "Prints nothing once the condition holds. Gives up after --timeout, with status 1.");
}

void refineFault(CLI::App &fault)
{
    fault.footer(
        "Kinds and their fields, defaults in brackets:\n"
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
        "operation is a call of the access library, such as GetChParam, or \"any\"; a count\n"
        "of 0 means for good; after is how many calls pass first; offset counts bytes of the\n"
        "event stream from now on. answer is one of no-nul, no-end, long-count, empty-list,\n"
        "nan-limits, infinite-limits, long-text, bad-utf8, quoted-text.");
}

// ---- The rows

std::vector<Command> crateCommands()
{
    return {
        {"show",
         "Show the crate, a board, a channel or the system's properties",
         {{"[PLACE]", nullptr, anyPlace},
          {"--live", nullptr, {}, "Keep the table up to date on the terminal until q is pressed"}},
         show},
        {"get",
         "Print the value of a parameter or property",
         {place(anyPlace), itemName()},
         print<valueView>},
        {"set",
         "Set a parameter or property as the front panel would",
         {place(anyPlace),
          itemName(),
          {"VALUE", "value", anyText, "Number, text, or for a switch also its label, such as On"}},
         set},
        {"execute",
         "Execute a command of the crate, such as ClearAlarm",
         {{"COMMAND", "name", anyText, "Name of the command; \"show system\" lists them"}},
         order},
    };
}

std::vector<Command> hardwareCommands()
{
    const std::vector<Argument> channel = {place(channelPlace)};
    const std::vector<Argument> either = {place(boardOrChannel)};
    return {
        {"trip",
         "Trip a channel",
         {place(channelPlace),
          {"--external", "external", isGiven, "By the external trip line, not by over-current"}},
         order},
        {"unplug", "Unplug a channel's cable", channel, order, status("unplugged", true)},
        {"plug", "Plug it back in", channel, order, status("unplugged", false)},
        {"disable", "Disable a channel from outside", channel, order,
         status("external-disable", true)},
        {"enable", "Enable it again", channel, order, status("external-disable", false)},
        {"power-fail", "Let a board's or channel's power fail", either, order,
         status("power-fail", true)},
        {"power-good", "Restore the power", either, order, status("power-fail", false)},
        {"condition",
         "Raise or clear a status bit of a board or channel",
         {place(boardOrChannel),
          {"NAME", "name", anyText,
           "Of a channel: over-voltage, under-voltage, external-disable, calibration-error, "
           "unplugged, under-current, over-voltage-protection, power-fail, temperature-error; of a "
           "board: power-fail, firmware-checksum, calibration-error, temperature-error"},
          {"--clear", "on", isNotGiven, "Clear it"}},
         order,
         {{"on", true}}},
        {"remove", "Pull a board out", {slot()}, order},
        {"insert", "Put a board that was pulled out back", {slot()}, order},
    };
}

std::vector<Command> timeCommands()
{
    return {
        {"pause", "Stop the crate's time", {}, order},
        {"continue", "Let the crate's time go on", {}, order},
        {"step",
         "Let exactly this much of the crate's time pass at once",
         {{"SECONDS", "seconds", number, "Crate time, above 0"}},
         order},
        {"speed",
         "Let the crate's time pass this many times faster",
         {{"FACTOR", "factor", number, "From 0.001 to 100000; 1 is the pace of the clock"}},
         order},
        {"wait",
         "Wait for a value, a status, a call or a connection",
         {{"[PLACE]", nullptr, anyPlace},
          {"[NAME]", "name", anyText, "Name of a parameter or property"},
          {"[VALUE]", "value", anyValue, "Value that it is to have"},
          {"--status WORD,...",
           nullptr,
           {},
           "Instead of VALUE: bits that are to be set in it, such as on,ramping-up; \"show\" "
           "prints the words"},
          {"--tolerance NUMBER", "tolerance", number, "How far from VALUE is near enough"},
          {"--call OPERATION", "call", anyText, "Wait for a call of the access library"},
          {"--count N", "count", wholeNumber, "How many of these calls (default: 1)"},
          {"--event-connections N", "eventConnections", wholeNumber,
           "Wait until this many event connections are open"},
          {"--sessions N", "sessions", wholeNumber,
           "Wait until this many connections of the access library are open"}},
         wait,
         Json::object(),
         refineWait},
    };
}

std::vector<Command> clientCommands()
{
    return {
        {"storm",
         "Report this many events per second to the subscribers",
         {{"RATE", "rate", stormRate, "Events per second, or \"stop\""},
          {"--mix KIND=SHARE,...", "mix", stormMix,
           "Shares of the kinds numeric, status, on-off, integer, text, property; such as "
           "numeric=8,status=1"},
          {"--seconds S", "seconds", numberAbove0, "Stop after this time"},
          {"--batch N", "batch", wholeNumber,
           "Send batches of this many, not of what is due at a time"}},
         order},
        {"statistics",
         "Print what was called, sent and opened",
         {{"--clear", "clear", isGiven, "Count from 0 again afterwards"}},
         print<statisticsView>},
        {"log",
         "Print the calls of the access library",
         {{"--match TEXT", "match", anyText, "Only lines that begin with it"},
          {"--last N", "last", wholeNumber, "Only the last ones"}},
         print<logView>},
        {"subscriptions", "List who gets events", {}, print<subscriptionsView>},
    };
}

std::vector<Command> faultCommands()
{
    return {
        {"fault",
         "Order a fault",
         {{"KIND", "kind", anyText, "Kind of the fault"},
          {"[FIELD=VALUE]...", nullptr, fieldValue, "Its fields"}},
         order,
         Json::object(),
         refineFault},
        {"faults", "List the active faults and how often each struck", {}, print<faultsView>},
        {"clear-faults",
         "Cancel faults",
         {{"[KIND]", "kind", anyText, "Only those of this kind"}},
         order},
    };
}

} // namespace

std::vector<Group> commandGroups()
{
    return {
        {"The crate and its front panel", crateCommands()},
        {"Boards and channels from outside", hardwareCommands()},
        {"Time", timeCommands()},
        {"Clients", clientCommands()},
        {"Faults", faultCommands()},
    };
}

} // namespace sim::ctl
