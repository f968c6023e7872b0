#include "crate.h"

#include <algorithm>

namespace pvlist {

namespace {

std::string padded(int number, size_t digits)
{
    const std::string text = std::to_string(number);
    return text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
}

template <class List, class Same> auto findIn(const List &list, Same same)
{
    const auto found = std::find_if(list.begin(), list.end(), same);
    return found == list.end() ? nullptr : &*found;
}

} // namespace

std::string Parameter::readBack() const
{
    if (!readable)
        return "";
    return writable ? record + ":RBV" : record;
}

std::string Parameter::readBackType() const
{
    for (const auto &[input, output] : recordTypes)
        if (isSetPoint() && type == output)
            return input;
    return type;
}

const Parameter *find(const Parameters &parameters, const std::string &name)
{
    return findIn(parameters, [&](const Parameter &each) { return each.name == name; });
}

const Channel *Board::find(int number) const
{
    return findIn(channels, [&](const Channel &each) { return each.number == number; });
}

const Board *Crate::find(int slot) const
{
    return findIn(boards, [&](const Board &each) { return each.slot == slot; });
}

std::string Crate::recordOf(int slot, int channel) const
{
    return name + (slot < 0 ? "" : ":" + padded(slot, 2)) +
           (channel < 0 ? "" : ":" + padded(channel, 3));
}

} // namespace pvlist
