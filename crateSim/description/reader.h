// The parts of reading a crate description.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "../model/description.h"
#include "faults/order.h"
#include "field.h"
#include "defaults.h"

namespace sim {

// Models as read, and the keys of those too broken to judge start values by.
struct ReadModels {
    std::vector<ModelDescription> models;
    std::set<std::string> broken;

    const ModelDescription *find(const std::string &key) const;
};

ReadModels readModels(const Field &field);

// A value of the shape.
std::optional<Value> shapedValue(const Field &field, Shape shape);

// A value for the parameter: the labels of an on-off one are understood too.
std::optional<Value> parameterValue(const Field &field, const ParameterDescription &parameter);

// A board with what leads from its channels to their lines.
struct ReadBoard {
    BoardDescription board;
    std::optional<uint16_t> slot;
    std::string path;
    // By channel: the position of the entry that speaks of it, -1 for none.
    std::vector<int32_t> loads;
    std::vector<int32_t> settings;
};

ReadBoard readBoard(const Field &field, const ReadModels &models);

// Names the channels: by a list with as many names, or all after one pattern.
void readChannelNames(const Field &field, std::vector<ChannelDescription> &channels);

PropertyDescription readProperty(const Field &field);
CommandDescription readCommand(const Field &field);
User readUser(const Field &field);
std::vector<FaultOrder> readFaults(const Field &field);

template <class Described>
std::vector<Described> readEach(const Field &list, Described (*read)(const Field &))
{
    std::vector<Described> all;
    for (const auto &item : list.items())
        all.push_back(read(item));
    return all;
}

} // namespace sim
