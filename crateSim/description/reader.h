// The parts of reading a crate description.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "../model/description.h"
#include "faults/order.h"
#include "fields.h"
#include "usual.h"

namespace sim {

// Models as read, and the keys of those too broken to judge start values by.
struct ReadModels {
    std::vector<ModelDescription> models;
    std::set<std::string> broken;

    const ModelDescription *find(const std::string &key) const;
};

ReadModels readModels(const std::vector<NamedNode> &entries, Notes &notes);

// A value of the shape.
std::optional<Value> shapedValue(const NamedNode &node, Shape shape, Notes &notes);

// A value for the parameter: the labels of an on-off one are understood too.
std::optional<Value> parameterValue(const NamedNode &node, const ParameterDescription &parameter,
                                    Notes &notes);

// A board with what leads from its channels to their lines.
struct ReadBoard {
    BoardDescription board;
    std::optional<uint16_t> slot;
    std::string path;
    int line = 0;
    // By channel: the position of the entry that speaks of it, -1 for none.
    std::vector<int32_t> loads;
    std::vector<int32_t> settings;
};

ReadBoard readBoard(const NamedNode &node, const ReadModels &models, Notes &notes);

// Gives as many channels as there are their names: those of a list, or all after
// one pattern.
void readChannelNames(const NamedNode &node, std::vector<ChannelDescription> &channels,
                      Notes &notes);

std::vector<PropertyDescription> readProperties(const std::vector<NamedNode> &list, Notes &notes);
std::vector<CommandDescription> readCommands(const std::vector<NamedNode> &list, Notes &notes);
std::vector<User> readUsers(const std::vector<NamedNode> &list, Notes &notes);
std::vector<FaultOrder> readFaults(const std::vector<NamedNode> &list, Notes &notes);

} // namespace sim
