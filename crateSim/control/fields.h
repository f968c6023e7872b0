// Reading the fields of a control request, and values to and from JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "model/crate.h"
#include "protocol/operations.h"

namespace sim::control {

// Its text is for the user.
class ControlError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws the crate's own reason.
void require(Result result);

Address addressOf(const nlohmann::json &request);
std::string textField(const nlohmann::json &request, const char *name);
// Within 0 and 2^31-1.
int32_t countField(const nlohmann::json &request, const char *name, int32_t missing);
// Finite.
double numberField(const nlohmann::json &request, const char *name);
bool boolField(const nlohmann::json &request, const char *name, bool missing);
wire::Operation operationField(const nlohmann::json &request, const char *name);

nlohmann::json toJson(const Value &value);
Value fromJson(Shape shape, const nlohmann::json &json);

// The item that slot, channel and name of a request stand for.
ItemId itemOf(const Crate &crate, const nlohmann::json &request);

} // namespace sim::control
