#include "description.h"

#include <algorithm>

namespace sim {

const Value &startOf(const ParameterDescription &parameter, const StartValues &start)
{
    const auto found = start.find(parameter.name);
    return found == start.end() ? parameter.start : found->second;
}

const ParameterDescription *findParameter(const std::vector<ParameterDescription> &parameters,
                                          const std::string &name)
{
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const auto &each) { return each.name == name; });
    return found == parameters.end() ? nullptr : &*found;
}

const ModelDescription *CrateDescription::findModel(const std::string &key) const
{
    const auto found = std::find_if(models.begin(), models.end(),
                                    [&](const auto &each) { return each.key == key; });
    return found == models.end() ? nullptr : &*found;
}

const ModelDescription *CrateDescription::channelModel(const BoardDescription &board,
                                                       const ChannelDescription &channel) const
{
    return findModel(channel.model.empty() ? board.model : channel.model);
}

} // namespace sim
