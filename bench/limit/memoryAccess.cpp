// The access library of both programs: the C operations on a MemoryCrate.
#include "memoryCrate.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr int32_t unknownItem = -101;

MemoryCrate &crate()
{
    MemoryCrate &found = MemoryCrate::instance();
    found.noteCall();
    return found;
}

// ---- lists that the caller releases ----

char *handOut(const std::string &bytes)
{
    auto *list = static_cast<char *>(std::malloc(bytes.size()));
    if (list != nullptr)
        std::memcpy(list, bytes.data(), bytes.size());
    return list;
}

template <typename Number> Number *handOut(std::size_t count, Number value)
{
    auto *list = static_cast<Number *>(std::malloc(count * sizeof(Number)));
    for (std::size_t i = 0; list != nullptr && i < count; ++i)
        list[i] = value;
    return list;
}

std::string repeated(const char *text, std::size_t count)
{
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i)
        bytes.append(text, std::strlen(text) + 1);
    return bytes;
}

std::string nameTable(const std::vector<MemoryParameter> &parameters)
{
    std::string table((parameters.size() + 1) * VEXAHV_PARAM_NAME_SLOT, '\0');
    for (std::size_t i = 0; i < parameters.size(); ++i)
        table.replace(i * VEXAHV_PARAM_NAME_SLOT, std::strlen(parameters[i].name),
                      parameters[i].name);
    return table;
}

// ---- items ----

template <typename Item> const Item *named(const std::vector<Item> &items, const char *name)
{
    for (const Item &item : items) {
        if (std::strcmp(item.name, name) == 0)
            return &item;
    }
    return nullptr;
}

template <typename Value> int32_t answer(void *out, Value value)
{
    std::memcpy(out, &value, sizeof(value));
    return VEXAHV_OK;
}

int32_t answerText(void *out, const char *text)
{
    if (text == nullptr)
        return unknownItem;
    std::memcpy(out, text, std::strlen(text) + 1);
    return VEXAHV_OK;
}

int32_t propertyOf(const MemoryParameter *parameter, const char *property, void *out)
{
    const auto is = [property](const char *name) { return std::strcmp(property, name) == 0; };
    if (parameter == nullptr)
        return unknownItem;
    if (is(VEXAHV_PROP_TYPE))
        return answer(out, parameter->type);
    if (is(VEXAHV_PROP_MODE))
        return answer(out, parameter->mode);
    if (is(VEXAHV_PROP_MINVAL))
        return answer(out, parameter->lowest);
    if (is(VEXAHV_PROP_MAXVAL))
        return answer(out, parameter->highest);
    if (is(VEXAHV_PROP_UNIT))
        return answer(out, parameter->unit);
    if (is(VEXAHV_PROP_EXP))
        return answer(out, parameter->exponent);
    if (is(VEXAHV_PROP_DECIMAL))
        return answer(out, parameter->decimals);
    if (is(VEXAHV_PROP_ONSTATE))
        return answerText(out, parameter->on);
    return is(VEXAHV_PROP_OFFSTATE) ? answerText(out, parameter->off) : unknownItem;
}

// The place of a channel's parameter; false when there is none of this name.
bool findPlace(uint16_t slot, uint16_t channel, const char *param, MemoryPlace &place)
{
    const auto &all = MemoryCrate::channelParameters();
    const MemoryParameter *found = named(all, param);
    if (found == nullptr)
        return false;
    place = {slot, channel, static_cast<uint16_t>(found - all.data())};
    return true;
}

} // namespace

// ---- session ----

VEXAHVRESULT VEXAHV_InitSystem(int32_t, int32_t, const char *, const char *, const char *,
                               int32_t *handle)
{
    crate();
    *handle = MemoryCrate::handle;
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_DeinitSystem(int32_t) { return VEXAHV_OK; }

// ---- system ----

VEXAHVRESULT VEXAHV_GetSysPropList(int32_t, uint16_t *count, char **list)
{
    crate();
    std::string names;
    for (const MemoryProperty &property : MemoryCrate::properties())
        names += repeated(property.name, 1);
    *count = static_cast<uint16_t>(MemoryCrate::properties().size());
    *list = handOut(names);
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_GetExecCommList(int32_t, uint16_t *count, char **list)
{
    crate();
    std::string names;
    for (const char *command : MemoryCrate::commands())
        names += repeated(command, 1);
    *count = static_cast<uint16_t>(MemoryCrate::commands().size());
    *list = handOut(names);
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_GetSysPropInfo(int32_t, const char *name, uint32_t *mode, uint32_t *type)
{
    crate();
    const MemoryProperty *property = named(MemoryCrate::properties(), name);
    if (property == nullptr)
        return unknownItem;
    *mode = property->mode;
    *type = property->type;
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_GetSysProp(int32_t, const char *name, void *value)
{
    crate();
    const MemoryProperty *property = named(MemoryCrate::properties(), name);
    if (property == nullptr)
        return unknownItem;
    if (property->type == VEXAHV_SYSPROP_TEXT)
        return answerText(value, property->text);
    const bool narrow = property->type != VEXAHV_SYSPROP_REAL &&
                        property->type != VEXAHV_SYSPROP_UINT32 &&
                        property->type != VEXAHV_SYSPROP_INT32;
    return narrow ? answer(value, uint16_t{0}) : answer(value, uint32_t{0});
}

VEXAHVRESULT VEXAHV_SetSysProp(int32_t, const char *, const void *) { return VEXAHV_OK; }
VEXAHVRESULT VEXAHV_ExecComm(int32_t, const char *) { return VEXAHV_OK; }

// ---- boards ----

VEXAHVRESULT VEXAHV_GetCrateMap(int32_t, uint16_t *slotCount, uint16_t **channelCounts,
                                char **models, char **descriptions, uint16_t **serialNumbers,
                                uint8_t **firmwareMinor, uint8_t **firmwareMajor)
{
    const uint16_t boards = crate().boards();
    *slotCount = boards;
    *channelCounts = handOut(boards, uint16_t{MemoryCrate::channels});
    *models = handOut(repeated("ZA48L", boards));
    *descriptions = handOut(repeated("48 channels 500 V 20 mA", boards));
    *serialNumbers = handOut(boards, uint16_t{4800});
    *firmwareMinor = handOut(boards, uint8_t{10});
    *firmwareMajor = handOut(boards, uint8_t{2});
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_GetBdParamInfo(int32_t, uint16_t, char **table)
{
    crate();
    static const std::string names = nameTable(MemoryCrate::boardParameters());
    *table = handOut(names);
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_GetBdParamProp(int32_t, uint16_t, const char *param, const char *property,
                                   void *value)
{
    crate();
    return propertyOf(named(MemoryCrate::boardParameters(), param), property, value);
}

VEXAHVRESULT VEXAHV_GetBdParam(int32_t, uint16_t, const uint16_t *, const char *, void *values)
{
    crate();
    return answer(values, uint32_t{0});
}

VEXAHVRESULT VEXAHV_SetBdParam(int32_t, uint16_t, const uint16_t *, const char *, const void *)
{
    return VEXAHV_OK;
}

// ---- channels ----

VEXAHVRESULT VEXAHV_GetChName(int32_t, uint16_t, uint16_t, const uint16_t *,
                              char (*names)[VEXAHV_CHANNEL_NAME_SLOT])
{
    crate();
    return answerText(names[0], "CHANNEL");
}

VEXAHVRESULT VEXAHV_SetChName(int32_t, uint16_t, uint16_t, const uint16_t *, const char *)
{
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_GetChParamInfo(int32_t, uint16_t, uint16_t, char **table, int32_t *count)
{
    crate();
    static const std::string names = nameTable(MemoryCrate::channelParameters());
    *table = handOut(names);
    *count = static_cast<int32_t>(MemoryCrate::channelParameters().size());
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_GetChParamProp(int32_t, uint16_t, uint16_t, const char *param,
                                   const char *property, void *value)
{
    crate();
    return propertyOf(named(MemoryCrate::channelParameters(), param), property, value);
}

VEXAHVRESULT VEXAHV_GetChParam(int32_t, uint16_t slot, const char *param, uint16_t,
                               const uint16_t *channels, void *values)
{
    MemoryPlace place = {};
    const MemoryCrate &from = crate();
    return findPlace(slot, *channels, param, place) ? answer(values, from.value(place))
                                                    : unknownItem;
}

VEXAHVRESULT VEXAHV_SetChParam(int32_t, uint16_t slot, const char *param, uint16_t,
                               const uint16_t *channels, const void *value)
{
    MemoryPlace place = {};
    if (!findPlace(slot, *channels, param, place))
        return unknownItem;
    uint32_t bits = 0;
    std::memcpy(&bits, value, sizeof(bits));
    crate().setValue(place, bits);
    return VEXAHV_OK;
}

// ---- subscriptions: all accepted ----

namespace {

int32_t accept(uint32_t count, char *results)
{
    std::memset(results, 0, count);
    return VEXAHV_OK;
}

} // namespace

VEXAHVRESULT VEXAHV_SubscribeSystemParams(int32_t, int16_t, const char *, uint32_t count,
                                          char *results)
{
    return accept(count, results);
}

VEXAHVRESULT VEXAHV_UnSubscribeSystemParams(int32_t, int16_t, const char *, uint32_t count,
                                            char *results)
{
    return accept(count, results);
}

VEXAHVRESULT VEXAHV_SubscribeBoardParams(int32_t, int16_t, uint16_t, const char *, uint32_t count,
                                         char *results)
{
    return accept(count, results);
}

VEXAHVRESULT VEXAHV_UnSubscribeBoardParams(int32_t, int16_t, uint16_t, const char *, uint32_t count,
                                           char *results)
{
    return accept(count, results);
}

VEXAHVRESULT VEXAHV_SubscribeChannelParams(int32_t, int16_t, uint16_t, uint16_t, const char *,
                                           uint32_t count, char *results)
{
    return accept(count, results);
}

VEXAHVRESULT VEXAHV_UnSubscribeChannelParams(int32_t, int16_t, uint16_t, uint16_t, const char *,
                                             uint32_t count, char *results)
{
    return accept(count, results);
}

// ---- events and buffers ----

VEXAHVRESULT VEXAHV_GetEventData(int32_t, VEXAHVSystemStatus_t *, VEXAHVEventData_t **events,
                                 uint32_t *count)
{
    *events = MemoryCrate::instance().takeBatch(*count);
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_FreeEventData(VEXAHVEventData_t **events)
{
    std::free(*events);
    *events = nullptr;
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_Free(void *buffer)
{
    std::free(buffer);
    return VEXAHV_OK;
}
