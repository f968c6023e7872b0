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
    UnSubscribeChannelParams,
    Count_
};

constexpr auto operationCount = static_cast<size_t>(Operation::Count_);

// What an answer consists of. Which form a property has depends on the property.
enum class AnswerForm : uint8_t {
    Plain,
    PackedList,
    CrateMap,
    NameTable,
    ChannelNames,
    Text,
    LowerLimit,
    UpperLimit,
    SystemProperty,
    ParameterProperty
};

struct OperationRow {
    Operation operation;
    std::string_view name;
    AnswerForm answer;
};

constexpr std::array<OperationRow, operationCount> operations = {{
    {Operation::InitSystem, "VEXAHV_InitSystem", AnswerForm::Plain},
    {Operation::DeinitSystem, "VEXAHV_DeinitSystem", AnswerForm::Plain},
    {Operation::GetSysPropList, "VEXAHV_GetSysPropList", AnswerForm::PackedList},
    {Operation::GetSysPropInfo, "VEXAHV_GetSysPropInfo", AnswerForm::Plain},
    {Operation::GetSysProp, "VEXAHV_GetSysProp", AnswerForm::SystemProperty},
    {Operation::SetSysProp, "VEXAHV_SetSysProp", AnswerForm::Plain},
    {Operation::GetExecCommList, "VEXAHV_GetExecCommList", AnswerForm::PackedList},
    {Operation::ExecComm, "VEXAHV_ExecComm", AnswerForm::Plain},
    {Operation::GetCrateMap, "VEXAHV_GetCrateMap", AnswerForm::CrateMap},
    {Operation::GetBdParamInfo, "VEXAHV_GetBdParamInfo", AnswerForm::NameTable},
    {Operation::GetBdParamProp, "VEXAHV_GetBdParamProp", AnswerForm::ParameterProperty},
    {Operation::GetBdParam, "VEXAHV_GetBdParam", AnswerForm::Plain},
    {Operation::SetBdParam, "VEXAHV_SetBdParam", AnswerForm::Plain},
    {Operation::GetChName, "VEXAHV_GetChName", AnswerForm::ChannelNames},
    {Operation::SetChName, "VEXAHV_SetChName", AnswerForm::Plain},
    {Operation::GetChParamInfo, "VEXAHV_GetChParamInfo", AnswerForm::NameTable},
    {Operation::GetChParamProp, "VEXAHV_GetChParamProp", AnswerForm::ParameterProperty},
    {Operation::GetChParam, "VEXAHV_GetChParam", AnswerForm::Plain},
    {Operation::SetChParam, "VEXAHV_SetChParam", AnswerForm::Plain},
    {Operation::SubscribeSystemParams, "VEXAHV_SubscribeSystemParams", AnswerForm::Plain},
    {Operation::UnSubscribeSystemParams, "VEXAHV_UnSubscribeSystemParams", AnswerForm::Plain},
    {Operation::SubscribeBoardParams, "VEXAHV_SubscribeBoardParams", AnswerForm::Plain},
    {Operation::UnSubscribeBoardParams, "VEXAHV_UnSubscribeBoardParams", AnswerForm::Plain},
    {Operation::SubscribeChannelParams, "VEXAHV_SubscribeChannelParams", AnswerForm::Plain},
    {Operation::UnSubscribeChannelParams, "VEXAHV_UnSubscribeChannelParams", AnswerForm::Plain},
}};

// Whether a table has its rows in the order of the operations.
template <class Rows> constexpr bool isInOrder(const Rows &rows)
{
    for (size_t index = 0; index < operationCount; ++index)
        if (rows[index].operation != static_cast<Operation>(index))
            return false;
    return true;
}
static_assert(isInOrder(operations));

constexpr const OperationRow &rowOf(Operation operation)
{
    return operations[static_cast<size_t>(operation)];
}

constexpr std::string_view operationName(Operation operation) { return rowOf(operation).name; }

inline std::optional<Operation> findOperation(std::string_view name)
{
    for (const auto &row : operations)
        if (name == row.name)
            return row.operation;
    return std::nullopt;
}

} // namespace sim::wire
