// Plans made by hand: crates of any shape whose channels have all roles.
#pragma once

#include "plan.h"

#include <list>
#include <numeric>

namespace site {

struct BoardShape {
    int slot;
    std::vector<int> channels;
};

using CrateShape = std::vector<BoardShape>;

inline std::vector<int> channels(int count)
{
    std::vector<int> numbers(static_cast<size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

inline CrateShape boards(int count, int channelsOfEach)
{
    CrateShape shape;
    for (int slot = 0; slot < count; slot++)
        shape.push_back({slot, channels(channelsOfEach)});
    return shape;
}

struct SampleParameter {
    const char *name;
    const char *type;
    bool readable;
    bool writable;
    const char *unit;
    const PlannedParameter *ChannelRoles::*role;
};

inline const std::vector<SampleParameter> &sampleParameters()
{
    static const std::vector<SampleParameter> parameters{
        {"VSet", "ao", true, true, "V", &ChannelRoles::voltageSet},
        {"ISet", "ao", true, true, "uA", &ChannelRoles::currentSet},
        {"VMon", "ai", true, false, "V", &ChannelRoles::voltage},
        {"IMon", "ai", true, false, "uA", &ChannelRoles::current},
        {"SVMax", "ao", true, true, "V", &ChannelRoles::voltageLimit},
        {"RUp", "ao", true, true, "V/s", &ChannelRoles::rampUp},
        {"RDwn", "ao", true, true, "V/s", &ChannelRoles::rampDown},
        {"Trip", "ao", true, true, "s", &ChannelRoles::tripTime},
        {"Pw", "bo", true, true, "", &ChannelRoles::power},
        {"Status", "mbbiDirect", true, false, "", &ChannelRoles::status},
        {"LastTrip", "stringin", true, false, "", &ChannelRoles::tripCause},
        {"ClrTrip", "bo", false, true, "", &ChannelRoles::clearTrip},
    };
    return parameters;
}

// The plan points into crates that live as long as the sample.
class Sample {
public:
    Plan plan;

    Sample() { plan.title = "Detector"; }

    PlannedCrate &add(const std::string &name, const CrateShape &shape)
    {
        m_crates.push_back(crate(name, shape));
        plan.crates.push_back(planned(m_crates.back()));
        return plan.crates.back();
    }

private:
    static Parameter parameter(const std::string &owner, const SampleParameter &of)
    {
        Parameter made;
        made.record = owner + ":" + of.name;
        made.name = of.name;
        made.type = of.type;
        made.readable = of.readable;
        made.writable = of.writable;
        made.unit = of.unit;
        return made;
    }

    static Crate crate(const std::string &name, const CrateShape &shape)
    {
        Crate made;
        made.name = name;
        for (const BoardShape &each : shape) {
            Board board;
            board.slot = each.slot;
            for (const char *reading : {"Temp", "HVMax"})
                board.parameters.push_back(parameter(made.recordOf(each.slot),
                                                     {reading, "ai", true, false, "C", nullptr}));
            for (const int number : each.channels) {
                Channel channel;
                channel.number = number;
                for (const SampleParameter &of : sampleParameters())
                    channel.parameters.push_back(parameter(made.recordOf(each.slot, number), of));
                board.channels.push_back(channel);
            }
            made.boards.push_back(board);
        }
        return made;
    }

    static std::vector<PlannedParameter> planned(const Parameters &parameters)
    {
        std::vector<PlannedParameter> made;
        for (const Parameter &each : parameters) {
            made.emplace_back();
            made.back().parameter = &each;
        }
        return made;
    }

    static PlannedCrate planned(const Crate &crate)
    {
        PlannedCrate made;
        made.name = crate.name;
        for (const Board &each : crate.boards) {
            PlannedBoard board;
            board.slot = each.slot;
            board.record = crate.recordOf(each.slot);
            board.parameters = planned(each.parameters);
            for (const Channel &of : each.channels)
                board.channels.push_back(planned(crate, each, of));
            made.boards.push_back(std::move(board));
        }
        return made;
    }

    static PlannedChannel planned(const Crate &crate, const Board &board, const Channel &of)
    {
        PlannedChannel made;
        made.slot = board.slot;
        made.number = of.number;
        made.record = crate.recordOf(board.slot, of.number);
        made.hasState = true;
        made.parameters = planned(of.parameters);
        for (size_t at = 0; at < made.parameters.size(); at++)
            made.roles.*sampleParameters().at(at).role = &made.parameters.at(at);
        return made;
    }

    std::list<Crate> m_crates;
};

// Gives the channel the name, and each parameter the alias that belongs to it.
inline void nameChannel(PlannedChannel &channel, const std::string &name)
{
    channel.name = name;
    for (PlannedParameter &each : channel.parameters)
        each.alias = name + ":" + each.parameter->name;
}

} // namespace site
