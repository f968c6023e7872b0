// The library's C operations on boards and channels. Each records its call, lets an injected
// fault decide, and answers from the crate.
#include "FakeCall.h"

namespace {

std::string listText(const uint16_t *list, uint16_t count)
{
    std::string text = "[";
    for (uint16_t i = 0; i < count; ++i)
        text += (i > 0 ? ", " : "") + std::to_string(list[i]);
    return text + "]";
}

std::string parameterText(uint32_t type, const FakeBytes &value)
{
    switch (type) {
    case VEXAHV_PARAM_NUMERIC: return realText(value.as<float>());
    case VEXAHV_PARAM_ONOFF: return word(value.as<uint32_t>());
    default: return word(value.as<int32_t>());
    }
}

// ---- items of the crate ----

FakeBoard *boardAt(FakeCrate &crate, uint16_t slot)
{
    const bool occupied = slot < crate.slots.size() && !crate.slots[slot].channels.empty();
    return occupied ? &crate.slots[slot] : nullptr;
}

FakeChannel *channelAt(FakeCrate &crate, uint16_t slot, uint16_t channel)
{
    FakeBoard *board = boardAt(crate, slot);
    return board != nullptr && channel < board->channels.size() ? &board->channels[channel]
                                                                : nullptr;
}

// A board (negative channel) or a channel.
struct Place {
    uint16_t slot;
    int32_t channel = -1;

    std::vector<FakeParameter> *parameters(FakeCrate &crate) const
    {
        if (channel < 0) {
            FakeBoard *board = boardAt(crate, slot);
            return board != nullptr ? &board->parameters : nullptr;
        }
        FakeChannel *found = channelAt(crate, slot, static_cast<uint16_t>(channel));
        return found != nullptr ? &found->parameters : nullptr;
    }

    template <typename Use> int32_t withParameter(const char *name, const Use &use) const
    {
        return fake().withCrate([&](FakeCrate &crate) {
            auto *all = parameters(crate);
            FakeParameter *parameter = all != nullptr ? named(*all, name) : nullptr;
            return parameter != nullptr ? use(*parameter) : FakeAccessLibrary::unknownItem;
        });
    }
};

// A channel, for the operations on channel names.
template <typename Use> int32_t withChannel(uint16_t slot, uint16_t channel, const Use &use)
{
    return fake().withCrate([&](FakeCrate &crate) {
        FakeChannel *found = channelAt(crate, slot, channel);
        return found != nullptr ? use(*found) : FakeAccessLibrary::unknownItem;
    });
}

int32_t propertyOf(const FakeParameter &parameter, const std::string &property, void *out)
{
    if (property == VEXAHV_PROP_TYPE) {
        answer(FakeBytes::of(parameter.type), out);
    } else if (property == VEXAHV_PROP_MODE) {
        answer(FakeBytes::of(parameter.mode), out);
    } else {
        const auto found = parameter.properties.find(property);
        if (found == parameter.properties.end())
            return FakeAccessLibrary::unknownItem;
        answer(found->second, out);
    }
    return VEXAHV_OK;
}

int32_t getProperty(const std::string &call, int32_t handle, const Place &place, const char *param,
                    const char *property, void *value)
{
    return operate(call, handle, [&] {
        return place.withParameter(param, [&](const FakeParameter &parameter) {
            return propertyOf(parameter, property, value);
        });
    });
}

int32_t getValue(const std::string &call, int32_t handle, const Place &place, const char *param,
                 void *values)
{
    return operate(call, handle, [&] {
        return place.withParameter(param, [&](const FakeParameter &parameter) {
            answer(parameter.value, values);
            return 0;
        });
    });
}

int32_t setValue(const std::string &call, int32_t handle, const Place &place, const char *param,
                 const void *value)
{
    const FakeBytes bytes = bytesAt(value, 4);
    std::string written = "?";
    place.withParameter(param, [&](const FakeParameter &parameter) {
        written = parameterText(parameter.type, bytes);
        return 0;
    });
    return operate(call + " = " + written, handle, [&] {
        return place.withParameter(param, [&](FakeParameter &parameter) {
            parameter.value = bytes;
            return 0;
        });
    });
}

// ---- lists ----

// A name as long as its slot leaves no room for a NUL.
void appendSlot(std::string &table, const std::string &name)
{
    std::string slot = name.substr(0, VEXAHV_PARAM_NAME_SLOT);
    slot.resize(VEXAHV_PARAM_NAME_SLOT, '\0');
    table += slot;
}

// The six lists of the crate map, filled slot by slot.
struct CrateMapBytes {
    uint16_t slots = 0;
    std::string channelCounts, models, descriptions, serialNumbers, firmwareMinor, firmwareMajor;

    void append(const FakeBoard &board)
    {
        ++slots;
        channelCounts += FakeBytes::of(static_cast<uint16_t>(board.channels.size())).raw;
        models += FakeBytes::text(board.model).raw;
        descriptions += FakeBytes::text(board.description).raw;
        serialNumbers += FakeBytes::of(board.serialNumber).raw;
        firmwareMinor += FakeBytes::of(board.firmwareMinor).raw;
        firmwareMajor += FakeBytes::of(board.firmwareMajor).raw;
    }
};

// A list of the crate map: never of length 0, because all six are released in any case.
template <typename T> T *handOutMap(const char *list, std::string bytes)
{
    if (bytes.empty())
        bytes = '\0';
    return handOut<T>(list, bytes);
}

int32_t parameterTable(const std::string &call, int32_t handle, const Place &place,
                       const char *list, char **nameTable, int32_t *count)
{
    std::string table;
    const auto fill = [&] {
        return fake().withCrate([&](FakeCrate &crate) {
            const auto *parameters = place.parameters(crate);
            if (parameters == nullptr)
                return FakeAccessLibrary::unknownItem;
            for (const FakeParameter &parameter : *parameters)
                appendSlot(table, parameter.name);
            appendSlot(table, "");
            *count = static_cast<int32_t>(parameters->size()) + crate.paramCountError;
            return 0;
        });
    };
    const int32_t result = operate(call, handle, fill);
    if (result == 0)
        *nameTable = handOut<char>(list, table);
    return result;
}

} // namespace

// ---- boards ----

VEXAHVRESULT VEXAHV_GetCrateMap(int32_t handle, uint16_t *slotCount, uint16_t **channelCounts,
                                char **models, char **descriptions, uint16_t **serialNumbers,
                                uint8_t **firmwareMinor, uint8_t **firmwareMajor)
{
    const FakeOperation operation;
    const int32_t fault = fake().enter(callText("GetCrateMap", handle), handle);
    if (fault != 0)
        return fault;
    CrateMapBytes map;
    for (const FakeBoard &board : fake().crate().slots)
        map.append(board);
    *slotCount = map.slots;
    *channelCounts = handOutMap<uint16_t>("channelCounts", map.channelCounts);
    *models = handOutMap<char>("models", map.models);
    *descriptions = handOutMap<char>("descriptions", map.descriptions);
    *serialNumbers = handOutMap<uint16_t>("serialNumbers", map.serialNumbers);
    *firmwareMinor = handOutMap<uint8_t>("firmwareMinor", map.firmwareMinor);
    *firmwareMajor = handOutMap<uint8_t>("firmwareMajor", map.firmwareMajor);
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_GetBdParamInfo(int32_t handle, uint16_t slot, char **nameTable)
{
    const FakeOperation operation;
    int32_t count = 0;
    return parameterTable(callText("GetBdParamInfo", handle, slot), handle, {slot},
                          "boardParamNames", nameTable, &count);
}

VEXAHVRESULT VEXAHV_GetBdParamProp(int32_t handle, uint16_t slot, const char *param,
                                   const char *property, void *value)
{
    const FakeOperation operation;
    return getProperty(callText("GetBdParamProp", handle, slot, param, property), handle, {slot},
                       param, property, value);
}

VEXAHVRESULT VEXAHV_GetBdParam(int32_t handle, uint16_t count, const uint16_t *slots,
                               const char *param, void *values)
{
    const FakeOperation operation;
    return getValue(callText("GetBdParam", handle, count, listText(slots, count), param), handle,
                    {slots[0]}, param, values);
}

VEXAHVRESULT VEXAHV_SetBdParam(int32_t handle, uint16_t count, const uint16_t *slots,
                               const char *param, const void *value)
{
    const FakeOperation operation;
    return setValue(callText("SetBdParam", handle, count, listText(slots, count), param), handle,
                    {slots[0]}, param, value);
}

// ---- channels ----

VEXAHVRESULT VEXAHV_GetChName(int32_t handle, uint16_t slot, uint16_t count,
                              const uint16_t *channels, char (*names)[VEXAHV_CHANNEL_NAME_SLOT])
{
    const FakeOperation operation;
    const auto call = callText("GetChName", handle, slot, count, listText(channels, count));
    return operate(call, handle, [&] {
        return withChannel(slot, channels[0], [&](const FakeChannel &channel) {
            // A name as long as the slot leaves no room for a NUL.
            std::string name = channel.name.substr(0, VEXAHV_CHANNEL_NAME_SLOT);
            name.resize(VEXAHV_CHANNEL_NAME_SLOT, '\0');
            std::memcpy(names[0], name.data(), name.size());
            return 0;
        });
    });
}

VEXAHVRESULT VEXAHV_SetChName(int32_t handle, uint16_t slot, uint16_t count,
                              const uint16_t *channels, const char *name)
{
    const FakeOperation operation;
    const auto call = callText("SetChName", handle, slot, count, listText(channels, count), name);
    return operate(call, handle, [&] {
        return withChannel(slot, channels[0], [&](FakeChannel &channel) {
            channel.name = name;
            return 0;
        });
    });
}

VEXAHVRESULT VEXAHV_GetChParamInfo(int32_t handle, uint16_t slot, uint16_t channel,
                                   char **nameTable, int32_t *count)
{
    const FakeOperation operation;
    return parameterTable(callText("GetChParamInfo", handle, slot, channel), handle,
                          {slot, channel}, "channelParamNames", nameTable, count);
}

VEXAHVRESULT VEXAHV_GetChParamProp(int32_t handle, uint16_t slot, uint16_t channel,
                                   const char *param, const char *property, void *value)
{
    const FakeOperation operation;
    return getProperty(callText("GetChParamProp", handle, slot, channel, param, property), handle,
                       {slot, channel}, param, property, value);
}

VEXAHVRESULT VEXAHV_GetChParam(int32_t handle, uint16_t slot, const char *param, uint16_t count,
                               const uint16_t *channels, void *values)
{
    const FakeOperation operation;
    const auto call = callText("GetChParam", handle, slot, param, count, listText(channels, count));
    return getValue(call, handle, {slot, channels[0]}, param, values);
}

VEXAHVRESULT VEXAHV_SetChParam(int32_t handle, uint16_t slot, const char *param, uint16_t count,
                               const uint16_t *channels, const void *value)
{
    const FakeOperation operation;
    const auto call = callText("SetChParam", handle, slot, param, count, listText(channels, count));
    return setValue(call, handle, {slot, channels[0]}, param, value);
}
