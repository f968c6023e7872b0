#include "client.h"

#include <cstdio>

namespace sim::ctl {

Json Client::askToWait(Json request)
{
    request["timeout"] = m_settings.timeout;
    constexpr auto forTheAnswer = std::chrono::seconds(5);
    return m_connection.ask(request, m_settings.patience() + forTheAnswer);
}

void Client::show(const Json &answer, const std::function<void(const Json &)> &print) const
{
    if (m_settings.json)
        std::puts(answer.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
    else if (print)
        print(answer);
}

} // namespace sim::ctl
