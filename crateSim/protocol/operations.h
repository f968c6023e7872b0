// The operations that travel from the access library to the crate.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sim::wire {

enum class Operation : uint8_t {
    InitSystem,
    DeinitSystem,
    GetSysPropList,
    GetSysPropInfo,
    GetSysProp,
    SetSysProp,
    GetExecCommList,
    ExecComm,
    GetCrateMap,
    GetBdParamInfo,
    GetBdParamProp,
    GetBdParam,
    SetBdParam,
    GetChName,
    SetChName,
    GetChParamInfo,
    GetChParamProp,
    GetChParam,
    SetChParam,
    SubscribeSystemParams,
    UnSubscribeSystemParams,
    SubscribeBoardParams,
    UnSubscribeBoardParams,
    SubscribeChannelParams,
    UnSubscribeChannelParams
};

constexpr std::array<std::string_view, 25> operationNames = {
    "VEXAHV_InitSystem",
    "VEXAHV_DeinitSystem",
    "VEXAHV_GetSysPropList",
    "VEXAHV_GetSysPropInfo",
    "VEXAHV_GetSysProp",
    "VEXAHV_SetSysProp",
    "VEXAHV_GetExecCommList",
    "VEXAHV_ExecComm",
    "VEXAHV_GetCrateMap",
    "VEXAHV_GetBdParamInfo",
    "VEXAHV_GetBdParamProp",
    "VEXAHV_GetBdParam",
    "VEXAHV_SetBdParam",
    "VEXAHV_GetChName",
    "VEXAHV_SetChName",
    "VEXAHV_GetChParamInfo",
    "VEXAHV_GetChParamProp",
    "VEXAHV_GetChParam",
    "VEXAHV_SetChParam",
    "VEXAHV_SubscribeSystemParams",
    "VEXAHV_UnSubscribeSystemParams",
    "VEXAHV_SubscribeBoardParams",
    "VEXAHV_UnSubscribeBoardParams",
    "VEXAHV_SubscribeChannelParams",
    "VEXAHV_UnSubscribeChannelParams",
};

constexpr size_t operationCount = operationNames.size();

inline std::string_view operationName(Operation operation)
{
    return operationNames[static_cast<size_t>(operation)];
}

inline std::optional<Operation> findOperation(std::string_view name)
{
    for (size_t index = 0; index < operationCount; ++index)
        if (name == operationNames[index])
            return static_cast<Operation>(index);
    return std::nullopt;
}

} // namespace sim::wire
