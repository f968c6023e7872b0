// Subscriptions to change events.
#include <algorithm>
#include <spdlog/spdlog.h>

#include "handlers.h"
#include "protocol/lists.h"

namespace sim::calls {

namespace {

// More names than any board or channel can have.
constexpr uint32_t maxNames = 65536;

// Runs an operation on each name's item and collects a byte per name. What a
// caller counts but does not name has failed.
template <class Accept>
Outcome<wire::BytesAnswer> forEachItem(const wire::SubscriptionRequest &request, const Crate &crate,
                                       Accept accept)
{
    if (request.count > maxNames || request.port == 0)
        return Result::BadRequest;
    const auto names = wire::splitNames(request.names);
    wire::BytesAnswer answer;
    answer.bytes.assign(request.count, static_cast<char>(Result::BadRequest));
    for (size_t index = 0; index < std::min<size_t>(names.size(), request.count); ++index) {
        ItemId id = 0;
        Result result = crate.find({request.slot, request.channel}, names[index], id);
        if (result == Result::Ok)
            result = accept(id);
        answer.bytes[index] = static_cast<char>(result);
    }
    return answer;
}

} // namespace

Outcome<wire::BytesAnswer> subscribe(const wire::SubscriptionRequest &request, const Crate &crate,
                                     Caller &caller)
{
    spdlog::debug("port {} watches {}/{}: {}", request.port, request.slot, request.channel,
                  request.names);
    return forEachItem(request, crate, [&](ItemId id) {
        if (crate.items().item(id).mode == Mode::Write)
            return Result::NotReadable;
        EventLink *const link = caller.link(request.port);
        if (link == nullptr)
            return Result::Refused;
        link->subscribe(id);
        return Result::Ok;
    });
}

Outcome<wire::BytesAnswer> unsubscribe(const wire::SubscriptionRequest &request, const Crate &crate,
                                       Caller &caller)
{
    EventLink *link = caller.findLink(request.port);
    auto outcome = forEachItem(request, crate, [&](ItemId id) {
        return link != nullptr && link->unsubscribe(id) ? Result::Ok : Result::NoItem;
    });
    if (link != nullptr && link->subscriptionCount() == 0)
        caller.closeLink(request.port);
    return outcome;
}

} // namespace sim::calls
