// Subscriptions to change events.
#include <algorithm>
#include <spdlog/spdlog.h>

#include "protocol/lists.h"
#include "handlers.h"

namespace sim::calls {

namespace {

// More names than any board or channel can have.
constexpr uint32_t maxNames = 65536;

// Runs an operation on each name's item and collects a byte per name. What a
// caller counts but does not name has failed.
template <class Accept>
Outcome forEachItem(const Crate &crate, const wire::SubscriptionRequest &request, Accept accept)
{
    if (request.count > maxNames || request.port == 0)
        return failed(Result::BadRequest);
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
    return succeeded(answer);
}

} // namespace

Outcome subscribe(Session &session, const wire::SubscriptionRequest &request)
{
    const Crate &crate = session.world().crate;
    spdlog::debug("port {} watches {}/{}: {}", request.port, request.slot, request.channel,
                  request.names);
    return forEachItem(crate, request, [&](ItemId id) {
        if (crate.items().item(id).mode == Mode::Write)
            return Result::NotReadable;
        EventLink *const link = session.link(request.port);
        if (link == nullptr)
            return Result::Refused;
        link->subscribe(id);
        return Result::Ok;
    });
}

Outcome unsubscribe(Session &session, const wire::SubscriptionRequest &request)
{
    EventLink *link = session.findLink(request.port);
    Outcome outcome = forEachItem(session.world().crate, request, [&](ItemId id) {
        return link != nullptr && link->unsubscribe(id) ? Result::Ok : Result::NoItem;
    });
    if (link != nullptr && link->subscriptionCount() == 0)
        session.closeLink(request.port);
    return outcome;
}

} // namespace sim::calls
