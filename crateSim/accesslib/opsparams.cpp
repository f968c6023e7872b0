// Parameters of boards and channels, and channel names.
#include <string_view>

#include "returnedbuffers.h"

using namespace sim;
using namespace sim::accesslib;
using wire::Operation;

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
void getProperty(int32_t handle, Operation operation, const wire::ParameterPropertyRequest &request,
                 void *value)
{
    const auto bytes = call<wire::BytesAnswer>(handle, operation, request).bytes;
    copyValue(bytes, propertyWidth(request.property), value);
}

template <class Request>
void getElements(int32_t handle, Operation operation, const Request &request, size_t bytes,
                 void *values)
{
    const auto answer = call<wire::BytesAnswer>(handle, operation, request);
    requireUnderstood(answer.bytes.size() == bytes);
    std::memcpy(values, answer.bytes.data(), bytes);
}

wire::NameTableAnswer getNameTable(int32_t handle, Operation operation,
                                   const wire::PlaceRequest &place, char **nameTable)
{
    auto answer = call<wire::NameTableAnswer>(handle, operation, place);
    *nameTable = wholeTable(answer.table).release();
    return answer;
}

} // namespace

extern "C" {

VEXAHVRESULT VEXAHV_GetBdParamInfo(int32_t handle, uint16_t slot, char **nameTable)
{
    return guarded({nameTable}, [&] {
        getNameTable(handle, Operation::GetBdParamInfo, {slot, -1}, nameTable);
    });
}

VEXAHVRESULT VEXAHV_GetBdParamProp(int32_t handle, uint16_t slot, const char *param,
                                   const char *property, void *value)
{
    return guarded({param, property, value}, [&] {
        getProperty(handle, Operation::GetBdParamProp, {slot, -1, param, property}, value);
    });
}

VEXAHVRESULT VEXAHV_GetBdParam(int32_t handle, uint16_t count, const uint16_t *slots,
                               const char *param, void *values)
{
    return guarded({slots, param, values}, [&] {
        getElements(handle, Operation::GetBdParam,
                    wire::BoardParameterRequest{indexes(slots, count), param}, count * elementSize,
                    values);
    });
}

VEXAHVRESULT VEXAHV_SetBdParam(int32_t handle, uint16_t count, const uint16_t *slots,
                               const char *param, const void *value)
{
    return guarded({slots, param, value}, [&] {
        call(handle, Operation::SetBdParam,
             wire::SetBoardParameterRequest{indexes(slots, count), param, wordAt(value)});
    });
}

VEXAHVRESULT VEXAHV_GetChName(int32_t handle, uint16_t slot, uint16_t count,
                              const uint16_t *channels, char (*names)[VEXAHV_CHANNEL_NAME_SLOT])
{
    return guarded({channels, names}, [&] {
        getElements(handle, Operation::GetChName,
                    wire::ChannelNameRequest{slot, indexes(channels, count)},
                    count * size_t{VEXAHV_CHANNEL_NAME_SLOT}, names);
    });
}

VEXAHVRESULT VEXAHV_SetChName(int32_t handle, uint16_t slot, uint16_t count,
                              const uint16_t *channels, const char *name)
{
    return guarded({channels, name}, [&] {
        call(handle, Operation::SetChName,
             wire::SetChannelNameRequest{slot, indexes(channels, count), name});
    });
}

VEXAHVRESULT VEXAHV_GetChParamInfo(int32_t handle, uint16_t slot, uint16_t channel,
                                   char **nameTable, int32_t *count)
{
    return guarded({nameTable, count}, [&] {
        *count = getNameTable(handle, Operation::GetChParamInfo, {slot, channel}, nameTable).count;
    });
}

VEXAHVRESULT VEXAHV_GetChParamProp(int32_t handle, uint16_t slot, uint16_t channel,
                                   const char *param, const char *property, void *value)
{
    return guarded({param, property, value}, [&] {
        getProperty(handle, Operation::GetChParamProp, {slot, channel, param, property}, value);
    });
}

VEXAHVRESULT VEXAHV_GetChParam(int32_t handle, uint16_t slot, const char *param, uint16_t count,
                               const uint16_t *channels, void *values)
{
    return guarded({param, channels, values}, [&] {
        getElements(handle, Operation::GetChParam,
                    wire::ChannelParameterRequest{slot, param, indexes(channels, count)},
                    count * elementSize, values);
    });
}

VEXAHVRESULT VEXAHV_SetChParam(int32_t handle, uint16_t slot, const char *param, uint16_t count,
                               const uint16_t *channels, const void *value)
{
    return guarded({param, channels, value}, [&] {
        call(
            handle, Operation::SetChParam,
            wire::SetChannelParameterRequest{slot, param, indexes(channels, count), wordAt(value)});
    });
}

} // extern "C"
