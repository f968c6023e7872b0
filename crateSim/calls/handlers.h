// One function per operation: the request, then the parts of the crate that it uses. Dispatching
// has seen to the login, to ordered failures and to the statistics.
#pragma once

#include "caller.h"
#include "faults/active.h"
#include "protocol/messages.h"
#include "statistics.h"

namespace sim::calls {

// The answer, or why there is none.
template <class Answer> struct Outcome {
    Outcome(Result result) : result(result) {}
    Outcome(Answer answer) : answer(std::move(answer)) {}

    Result result = Result::Ok;
    Answer answer;
};

using Done = Outcome<wire::Nothing>;

Outcome<wire::LoginAnswer> login(const wire::LoginRequest &request, const Crate &crate,
                                 Caller &caller, Faults &faults, CallStatistics &statistics);
Done logout(const wire::Nothing &request, Caller &caller);

Outcome<wire::PackedListAnswer> listProperties(const wire::Nothing &request, const Crate &crate);
Outcome<wire::PropertyInfoAnswer> propertyInfo(const wire::NameRequest &request,
                                               const Crate &crate);
Outcome<wire::BytesAnswer> getProperty(const wire::NameRequest &request, const Crate &crate,
                                       const ShownValues &shown);
Done setProperty(const wire::SetPropertyRequest &request, Crate &crate);
Outcome<wire::PackedListAnswer> listCommands(const wire::Nothing &request, const Crate &crate);
Done executeCommand(const wire::NameRequest &request, Crate &crate);
Outcome<wire::CrateMapAnswer> crateMap(const wire::Nothing &request, const Crate &crate);

Outcome<wire::NameTableAnswer> listParameters(const wire::PlaceRequest &request,
                                              const Crate &crate);
Outcome<wire::BytesAnswer> parameterProperty(const wire::ParameterPropertyRequest &request,
                                             const Crate &crate);
Outcome<wire::BytesAnswer> getBoardParameter(const wire::BoardParameterRequest &request,
                                             const ShownValues &shown);
Done setBoardParameter(const wire::SetBoardParameterRequest &request, Crate &crate);
Outcome<wire::BytesAnswer> getChannelName(const wire::ChannelNameRequest &request,
                                          const ShownValues &shown);
Done setChannelName(const wire::SetChannelNameRequest &request, Crate &crate);
Outcome<wire::BytesAnswer> getChannelParameter(const wire::ChannelParameterRequest &request,
                                               const ShownValues &shown);
Done setChannelParameter(const wire::SetChannelParameterRequest &request, Crate &crate);

Outcome<wire::BytesAnswer> subscribe(const wire::SubscriptionRequest &request, const Crate &crate,
                                     Caller &caller);
Outcome<wire::BytesAnswer> unsubscribe(const wire::SubscriptionRequest &request, const Crate &crate,
                                       Caller &caller);

} // namespace sim::calls
