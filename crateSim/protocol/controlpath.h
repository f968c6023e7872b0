// Where the control port of a user's crate is unless somebody says otherwise.
#pragma once

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace sim {

inline std::string defaultControlPath()
{
    const auto variable = [](const char *name) {
        const char *text = std::getenv(name);
        return std::string(text != nullptr ? text : "");
    };
    if (auto path = variable("ZANTOCRATE_CONTROL"); !path.empty())
        return path;
    if (const auto folder = variable("XDG_RUNTIME_DIR"); !folder.empty())
        return folder + "/zantocrate.control";
    return "/tmp/zantocrate-" + std::to_string(getuid()) + ".control";
}

} // namespace sim
