// The YAML document in a text.
#pragma once

#include <optional>
#include <string>
#include <yaml-cpp/yaml.h>

#include "findings.h"

namespace sim {

// The largest text that is read, in bytes.
constexpr size_t maxYamlSize = 8 << 20;

// Nothing when there is none to go by. Adds what is wrong with it as YAML, but for
// the keys of its maps. Bounded in memory and time whatever the text.
std::optional<YAML::Node> loadYaml(const std::string &text, Findings &findings);

// From 1.
inline int lineOf(const YAML::Mark &mark) { return mark.line + 1; }

} // namespace sim
