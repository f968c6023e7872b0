#pragma once

#include <nlohmann/json.hpp>

namespace sim::ctl {

using Json = nlohmann::json;

} // namespace sim::ctl
