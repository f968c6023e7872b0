#include "misbehaviour.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace sim::accesslib {

namespace {

constexpr std::string_view commonPrefix = "VEXAHV_";
constexpr double longest = 3600; // seconds

constexpr const char *failVariable = "ZANTOCRATE_FAIL_INTERRUPTED";
constexpr const char *slowVariable = "ZANTOCRATE_SLOW_CALLS";

bool beginsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

std::string_view withoutPrefix(std::string_view name)
{
    return beginsWith(name, commonPrefix) ? name.substr(commonPrefix.size()) : name;
}

bool fits(std::string_view beginning, std::string_view operation)
{
    return beginsWith(withoutPrefix(operation), beginning);
}

std::optional<std::string> readBeginning(std::string_view name)
{
    if (name == "any")
        return std::string();
    const std::string_view beginning = withoutPrefix(name);
    const bool known = !beginning.empty() &&
                       std::any_of(wire::operations.begin(), wire::operations.end(),
                                   [=](const auto &row) { return fits(beginning, row.name); });
    return known ? std::optional<std::string>(beginning) : std::nullopt;
}

std::optional<std::chrono::milliseconds> readDelay(const std::string &text)
{
    char *end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(seconds >= 0 && seconds <= longest))
        return std::nullopt;
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

std::optional<SlowCalls> parseOne(std::string_view text)
{
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos)
        return std::nullopt;
    const auto beginning = readBeginning(text.substr(0, equals));
    const auto delay = readDelay(std::string(text.substr(equals + 1)));
    if (!beginning || !delay)
        return std::nullopt;
    return SlowCalls{*beginning, *delay};
}

std::string variable(const char *name)
{
    const char *text = std::getenv(name);
    return text == nullptr ? "" : text;
}

Misbehaviour fromEnvironment()
{
    Misbehaviour wanted;
    wanted.failsInterrupted = !variable(failVariable).empty();
    const std::string slow = variable(slowVariable);
    if (const auto parsed = parseSlowCalls(slow))
        wanted.slow = *parsed;
    else
        std::fprintf(stderr, "%s: \"%s\" is not understood\n", slowVariable, slow.c_str());
    return wanted;
}

} // namespace

std::chrono::milliseconds Misbehaviour::delayOf(wire::Operation operation) const
{
    const auto found = std::find_if(slow.begin(), slow.end(), [=](const SlowCalls &each) {
        return fits(each.beginning, wire::operationName(operation));
    });
    return found == slow.end() ? std::chrono::milliseconds(0) : found->delay;
}

// Until a point of time: signals that come often would stretch a length of time.
void Misbehaviour::delay(wire::Operation operation) const
{
    const std::chrono::nanoseconds delay = delayOf(operation);
    if (delay.count() == 0)
        return;
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    const std::chrono::nanoseconds sum = std::chrono::nanoseconds(end.tv_nsec) + delay;
    end.tv_sec += static_cast<time_t>(sum / std::chrono::seconds(1));
    end.tv_nsec = static_cast<decltype(end.tv_nsec)>((sum % std::chrono::seconds(1)).count());
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

// Never destroyed: threads may still call while the process ends.
Misbehaviour &misbehaviour()
{
    static auto *const wanted = new Misbehaviour(fromEnvironment());
    return *wanted;
}

std::optional<std::vector<SlowCalls>> parseSlowCalls(std::string_view text)
{
    std::vector<SlowCalls> slow;
    while (!text.empty()) {
        const size_t comma = std::min(text.find(','), text.size());
        const auto one = parseOne(text.substr(0, comma));
        if (!one || comma + 1 == text.size())
            return std::nullopt;
        slow.push_back(*one);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return slow;
}

} // namespace sim::accesslib
