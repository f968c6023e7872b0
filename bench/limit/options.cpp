#include "options.h"

#include <algorithm>
#include <cstdlib>

namespace {

// Of the records, inside the IOC.
const std::vector<std::string> inside = {"memory", "pass-ai", "pass-bi", "pass-bits", "pass-text"};
const std::vector<std::string> byClients = {"ca-put", "pva-put", "set-to-rbv"};

bool holds(const std::vector<std::string> &all, const std::string &one)
{
    return std::find(all.begin(), all.end(), one) != all.end();
}

bool isMeasurement(const std::string &name)
{
    return name == "build" || name == "event" || holds(inside, name) || isClients(name);
}

bool setOption(const std::string &name, int value, Options &options)
{
    if (name == "--boards" && value > 0 && value < 100)
        options.boards = static_cast<uint16_t>(value);
    else if (name == "--core" && value >= 0)
        options.core = value;
    else if (name == "--puts" && value > 0)
        options.puts = static_cast<uint32_t>(value);
    else if (name == "--shown" && value > 0)
        options.shown = static_cast<uint32_t>(value);
    else
        return false;
    return true;
}

} // namespace

bool isClients(const std::string &measurement) { return holds(byClients, measurement); }

bool Options::wants(const std::string &name) const { return holds(names, name); }

bool Options::wantsRecords() const
{
    return std::any_of(names.begin(), names.end(),
                       [](const std::string &name) { return name != "build" && name != "event"; });
}

bool parseOptions(const std::vector<std::string> &words, Options &options)
{
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool isLast = i + 1 == words.size();
        if (words[i] == "--client")
            options.client = true;
        else if (words[i] == "--turns")
            options.turns = true;
        else if (isMeasurement(words[i]))
            options.names.push_back(words[i]);
        else if (isLast || !setOption(words[i], std::atoi(words[i + 1].c_str()), options))
            return false;
        else
            ++i;
    }
    return !options.names.empty() && !(options.wants("event") && options.wantsRecords());
}
