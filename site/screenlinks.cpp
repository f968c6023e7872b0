#include "screenlinks.h"

#include <cstring>

namespace site {

namespace {

// Letters, digits and what else is kept; the others as "_2F".
std::string escaped(const std::string &text, const char *kept, char mark)
{
    constexpr const char *digits = "0123456789ABCDEF";
    std::string result;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        const bool letter = (each >= 'A' && each <= 'Z') || (each >= 'a' && each <= 'z');
        if (letter || (each >= '0' && each <= '9') || (each && std::strchr(kept, each)))
            result += each;
        else
            result += {mark, digits[byte >> 4], digits[byte & 15]};
    }
    return result;
}

// Without the file's end. Neither two crates nor a crate and another screen share one.
std::string fileOf(const PlannedCrate &crate, const PlannedBoard *board)
{
    std::string name = escaped(crate.name, "", '_');
    if (name.empty() || name == "index" || name == "channel")
        name += '_';
    if (board != nullptr)
        name += (board->slot < 10 ? "-0" : "-") + std::to_string(board->slot);
    return name;
}

// What differs between screens of channels.
std::string screenKey(const PlannedChannel &channel)
{
    std::string key = channel.hasState ? onScreenOf(channel, channel.shownState()) : "";
    for (const RoleWords &each : roleWords()) {
        key += '\n';
        const PlannedParameter *parameter = channel.roles.*each.role;
        if (!parameter)
            continue;
        key += onScreenOf(channel, parameter->shownName()) + ' ' + parameter->parameter->type;
        key += parameter->parameter->readable ? 'r' : '-';
        key += parameter->parameter->writable ? 'w' : '-';
    }
    return key;
}

} // namespace

const std::vector<RoleWords> &roleWords()
{
    static const std::vector<RoleWords> words{
        {"Power", &ChannelRoles::power},
        {"Voltage", &ChannelRoles::voltage},
        {"Current", &ChannelRoles::current},
        {"Voltage set", &ChannelRoles::voltageSet},
        {"Current set", &ChannelRoles::currentSet},
        {"Voltage limit", &ChannelRoles::voltageLimit},
        {"Ramp up", &ChannelRoles::rampUp},
        {"Ramp down", &ChannelRoles::rampDown},
        {"Trip time", &ChannelRoles::tripTime},
        {"Status word", &ChannelRoles::status},
        {"Trip cause", &ChannelRoles::tripCause},
        {"Clear trip", &ChannelRoles::clearTrip},
    };
    return words;
}

std::string onScreenOf(const PlannedChannel &channel, const std::string &record)
{
    const std::string beginning = channel.shownName() + ":";
    const bool relative = record.compare(0, beginning.size(), beginning) == 0;
    return relative ? "$(P):" + record.substr(beginning.size()) : record;
}

ScreenLinks::ScreenLinks(const Plan &plan)
{
    for (const PlannedCrate &crate : plan.crates)
        for (const PlannedBoard &board : crate.boards)
            for (const PlannedChannel &channel : board.channels) {
                std::string &file = m_files[screenKey(channel)];
                if (!file.empty())
                    continue;
                const size_t number = m_files.size();
                file = "channel" + (number > 1 ? "-" + std::to_string(number) : "") + ".bob";
                m_examples[file] = &channel;
            }
}

Link ScreenLinks::of(const PlannedCrate &crate, const PlannedBoard *board,
                     const PlannedChannel *channel) const
{
    if (channel == nullptr)
        return {fileOf(crate, board) + ".bob", {}};
    std::string detail = crate.name + " slot " + std::to_string(channel->slot) + " channel " +
                         std::to_string(channel->number);
    if (!channel->description.empty())
        detail = channel->description + " (" + detail + ")";
    return {m_files.at(screenKey(*channel)),
            {{"P", channel->shownName()},
             {"DETAIL", plain(detail)},
             {"CRATE", fileOf(crate, nullptr)},
             {"BOARD", fileOf(crate, board)}}};
}

std::string plain(const std::string &text)
{
    std::string result;
    for (const char each : text) {
        if ((each == '(' || each == '{') && !result.empty() && result.back() == '$')
            result += ' ';
        result += each;
    }
    return result;
}

std::string address(const Link &link)
{
    std::string text = link.file;
    for (const auto &[name, value] : link.macros)
        text += (text == link.file ? "?" : "&") + name + "=" + escaped(value, "-_.~", '%');
    return text;
}

} // namespace site
