#include "dispatch.h"

#include <array>
#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include "handlers.h"
#include "text.h"

namespace sim::calls {

namespace {

using sim::corrupt;
using wire::Operation;

// What of a request decides about the form of its answer.
template <class Request> std::string_view propertyOf(const Request &) { return {}; }
std::string_view propertyOf(const wire::NameRequest &request) { return request.name; }
std::string_view propertyOf(const wire::ParameterPropertyRequest &request)
{
    return request.property;
}

// Answers without a form that can be corrupt.
template <class Answer> void corrupt(Answer &, Corruption, wire::AnswerForm) {}

template <class Answer>
void corruptAsOrdered(const CallContext &context, Operation operation, std::string_view property,
                      Answer &answer)
{
    ItemId id = 0;
    const bool isText = context.crate.find({}, property, id) == Result::Ok &&
                        context.crate.items().item(id).shape == Shape::Text;
    const auto form = answerForm(operation, property, isText);
    const auto corruption = context.faults.takeCorruption(operation, form);
    if (!corruption)
        return;
    spdlog::debug("{} gets a corrupt reply as ordered", wire::operationName(operation));
    corrupt(answer, *corruption, form);
}

std::string failure(const CallContext &context, Operation operation, int32_t code)
{
    context.statistics.countFailure(operation);
    return wire::makeAnswer(code, wire::Nothing());
}

// Notes the call and has it handled, unless it has to fail.
template <class Request, class Answer, class... Parts>
std::string dispatchTo(Outcome<Answer> (*handler)(const Request &, Parts &...),
                       const CallContext &context, const wire::Call &call,
                       std::optional<int32_t> code)
{
    const auto operation = call.operation;
    const auto request = wire::convert<Request>(call.body);
    context.statistics.countCall(operation, fmt::format("{}({})", wire::operationName(operation),
                                                        argumentText(context.crate, request)));
    spdlog::trace("{}", context.statistics.log().back());
    if (code) {
        spdlog::debug("{} fails as ordered", wire::operationName(operation));
        return failure(context, operation, *code);
    }
    if (!context.caller.isLoggedIn() && operation != Operation::InitSystem)
        return failure(context, operation, static_cast<int32_t>(Result::NotLoggedIn));
    // cppcheck-suppress uselessAssignmentPtrArg  # these are references
    Outcome<Answer> outcome = handler(request, static_cast<Parts &>(context)...);
    if (outcome.result != Result::Ok)
        return failure(context, operation, static_cast<int32_t>(outcome.result));
    if (!context.faults.none())
        corruptAsOrdered(context, operation, propertyOf(request), outcome.answer);
    return wire::makeAnswer(0, outcome.answer);
}

using Dispatcher = std::string (*)(const CallContext &, const wire::Call &, std::optional<int32_t>);

template <auto handler>
std::string to(const CallContext &context, const wire::Call &call, std::optional<int32_t> code)
{
    return dispatchTo(handler, context, call, code);
}

struct Row {
    Operation operation;
    Dispatcher dispatcher;
};

constexpr std::array<Row, wire::operationCount> rows = {{
    {Operation::InitSystem, to<login>},
    {Operation::DeinitSystem, to<logout>},
    {Operation::GetSysPropList, to<listProperties>},
    {Operation::GetSysPropInfo, to<propertyInfo>},
    {Operation::GetSysProp, to<getProperty>},
    {Operation::SetSysProp, to<setProperty>},
    {Operation::GetExecCommList, to<listCommands>},
    {Operation::ExecComm, to<executeCommand>},
    {Operation::GetCrateMap, to<crateMap>},
    {Operation::GetBdParamInfo, to<listParameters>},
    {Operation::GetBdParamProp, to<parameterProperty>},
    {Operation::GetBdParam, to<getBoardParameter>},
    {Operation::SetBdParam, to<setBoardParameter>},
    {Operation::GetChName, to<getChannelName>},
    {Operation::SetChName, to<setChannelName>},
    {Operation::GetChParamInfo, to<listParameters>},
    {Operation::GetChParamProp, to<parameterProperty>},
    {Operation::GetChParam, to<getChannelParameter>},
    {Operation::SetChParam, to<setChannelParameter>},
    {Operation::SubscribeSystemParams, to<subscribe>},
    {Operation::UnSubscribeSystemParams, to<unsubscribe>},
    {Operation::SubscribeBoardParams, to<subscribe>},
    {Operation::UnSubscribeBoardParams, to<unsubscribe>},
    {Operation::SubscribeChannelParams, to<subscribe>},
    {Operation::UnSubscribeChannelParams, to<unsubscribe>},
}};
static_assert(wire::isInOrder(rows));

} // namespace

std::string dispatch(const CallContext &context, const wire::Call &call,
                     std::optional<int32_t> code)
{
    return rows[static_cast<size_t>(call.operation)].dispatcher(context, call, code);
}

} // namespace sim::calls
