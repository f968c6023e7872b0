#include "screenlinks.h"

#include <cctype>
#include <fmt/format.h>
#include <regex>

#include "screenparts.h"

namespace site {

namespace {

// Letters, digits and what else is kept; the others as "_2F".
std::string escaped(const std::string &text, std::string_view kept, char mark)
{
    std::string result;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if ((byte < 0x80 && std::isalnum(byte)) || kept.find(each) != kept.npos)
            result += each;
        else
            result += fmt::format("{}{:02X}", mark, byte);
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
        name += fmt::format("-{:02}", board->slot);
    return name;
}

} // namespace

ScreenLinks::ScreenLinks(const Plan &plan)
{
    std::map<std::string, std::string> files; // by what is in them
    for (const PlannedCrate &crate : plan.crates)
        for (const PlannedBoard &board : crate.boards)
            for (const PlannedChannel &channel : board.channels) {
                const std::string text = channelScreen(channel);
                std::string &file = files[text];
                if (file.empty()) {
                    const size_t number = files.size();
                    file = "channel" + (number > 1 ? "-" + std::to_string(number) : "") + ".bob";
                    m_channelScreens.push_back({file, text});
                }
                m_files[&channel] = file;
            }
}

Link ScreenLinks::of(const PlannedCrate &crate, const PlannedBoard *board,
                     const PlannedChannel *channel) const
{
    if (channel == nullptr)
        return {fileOf(crate, board) + ".bob", {}};
    std::string detail =
        fmt::format("{} slot {} channel {}", crate.name, channel->slot, channel->number);
    if (!channel->description.empty())
        detail = channel->description + " (" + detail + ")";
    return {m_files.at(channel),
            {{"P", channel->shownName()},
             {"DETAIL", plain(detail)},
             {"CRATE", fileOf(crate, nullptr)},
             {"BOARD", fileOf(crate, board)}}};
}

std::string plain(const std::string &text)
{
    static const std::regex macro("\\$([({])");
    return std::regex_replace(text, macro, "$$ $1");
}

std::string address(const Link &link)
{
    std::string text = link.file;
    for (const auto &[name, value] : link.macros)
        text += (text == link.file ? "?" : "&") + name + "=" + escaped(value, "-_.~", '%');
    return text;
}

} // namespace site
