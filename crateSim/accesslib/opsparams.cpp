// Parameters of boards and channels, and channel names.
#include <string_view>

#include "returnedbuffers.h"

using namespace sim;
using namespace sim::accesslib;

namespace {

constexpr size_t elementSize = 4;

// The width of a parameter property's value; 0 for a text.
size_t propertyWidth(std::string_view property)
{
    struct Width {
        std::string_view property;
        size_t bytes;
    };
    constexpr Width widths[] = {
        {VEXAHV_PROP_TYPE, 4},    {VEXAHV_PROP_MODE, 4},    {VEXAHV_PROP_MINVAL, 4},
        {VEXAHV_PROP_MAXVAL, 4},  {VEXAHV_PROP_UNIT, 2},    {VEXAHV_PROP_EXP, 2},
        {VEXAHV_PROP_DECIMAL, 2}, {VEXAHV_PROP_ONSTATE, 0}, {VEXAHV_PROP_OFFSTATE, 0},
    };
    for (const auto &width : widths)
        if (width.property == property)
            return width.bytes;
    throw CallFailure{failure::badArgument};
}

// "Enum" goes to the crate like any other name, which refuses it.
void getProperty(int32_t handle, wire::Operation operation,
                 const wire::ParameterPropertyRequest &request, void *value)
{
    const auto bytes = call(handle, operation, request).body<wire::BytesAnswer>().bytes;
    copyValue(bytes, propertyWidth(request.property), value);
}

void copyElements(const Reply &reply, size_t count, size_t size, void *values)
{
    const auto bytes = reply.body<wire::BytesAnswer>().bytes;
    requireUnderstood(bytes.size() == count * size);
    std::memcpy(values, bytes.data(), bytes.size());
}

} // namespace

extern "C" {

VEXAHVRESULT VEXAHV_GetBdParamInfo(int32_t handle, uint16_t slot, char **nameTable)
{
    return guarded([&] {
        requireArguments(nameTable);
        const auto answer =
            call(handle, wire::Operation::GetBdParamInfo, wire::PlaceRequest{slot, -1})
                .body<wire::NameTableAnswer>();
        *nameTable = wholeTable(answer.table).release();
    });
}

VEXAHVRESULT VEXAHV_GetBdParamProp(int32_t handle, uint16_t slot, const char *param,
                                   const char *property, void *value)
{
    return guarded([&] {
        requireArguments(param, property, value);
        getProperty(handle, wire::Operation::GetBdParamProp, {slot, -1, param, property}, value);
    });
}

VEXAHVRESULT VEXAHV_GetBdParam(int32_t handle, uint16_t count, const uint16_t *slots,
                               const char *param, void *values)
{
    return guarded([&] {
        requireArguments(slots, param, values);
        const wire::BoardParameterRequest request{indexes(slots, count), param};
        copyElements(call(handle, wire::Operation::GetBdParam, request), count, elementSize,
                     values);
    });
}

VEXAHVRESULT VEXAHV_SetBdParam(int32_t handle, uint16_t count, const uint16_t *slots,
                               const char *param, const void *value)
{
    return guarded([&] {
        requireArguments(slots, param, value);
        call(handle, wire::Operation::SetBdParam,
             wire::SetBoardParameterRequest{indexes(slots, count), param, wordAt(value)});
    });
}

VEXAHVRESULT VEXAHV_GetChName(int32_t handle, uint16_t slot, uint16_t count,
                              const uint16_t *channels, char (*names)[VEXAHV_CHANNEL_NAME_SLOT])
{
    return guarded([&] {
        requireArguments(channels, names);
        const wire::ChannelNameRequest request{slot, indexes(channels, count)};
        copyElements(call(handle, wire::Operation::GetChName, request), count,
                     VEXAHV_CHANNEL_NAME_SLOT, names);
    });
}

VEXAHVRESULT VEXAHV_SetChName(int32_t handle, uint16_t slot, uint16_t count,
                              const uint16_t *channels, const char *name)
{
    return guarded([&] {
        requireArguments(channels, name);
        call(handle, wire::Operation::SetChName,
             wire::SetChannelNameRequest{slot, indexes(channels, count), name});
    });
}

VEXAHVRESULT VEXAHV_GetChParamInfo(int32_t handle, uint16_t slot, uint16_t channel,
                                   char **nameTable, int32_t *count)
{
    return guarded([&] {
        requireArguments(nameTable, count);
        const auto answer =
            call(handle, wire::Operation::GetChParamInfo, wire::PlaceRequest{slot, channel})
                .body<wire::NameTableAnswer>();
        *nameTable = wholeTable(answer.table).release();
        *count = answer.count;
    });
}

VEXAHVRESULT VEXAHV_GetChParamProp(int32_t handle, uint16_t slot, uint16_t channel,
                                   const char *param, const char *property, void *value)
{
    return guarded([&] {
        requireArguments(param, property, value);
        getProperty(handle, wire::Operation::GetChParamProp, {slot, channel, param, property},
                    value);
    });
}

VEXAHVRESULT VEXAHV_GetChParam(int32_t handle, uint16_t slot, const char *param, uint16_t count,
                               const uint16_t *channels, void *values)
{
    return guarded([&] {
        requireArguments(param, channels, values);
        const wire::ChannelParameterRequest request{slot, param, indexes(channels, count)};
        copyElements(call(handle, wire::Operation::GetChParam, request), count, elementSize,
                     values);
    });
}

VEXAHVRESULT VEXAHV_SetChParam(int32_t handle, uint16_t slot, const char *param, uint16_t count,
                               const uint16_t *channels, const void *value)
{
    return guarded([&] {
        requireArguments(param, channels, value);
        call(
            handle, wire::Operation::SetChParam,
            wire::SetChannelParameterRequest{slot, param, indexes(channels, count), wordAt(value)});
    });
}

} // extern "C"
