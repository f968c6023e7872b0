// Reading the fields of a control request, and values to and from JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "faults/order.h"
#include "model/crate.h"

namespace sim::control {

using Json = nlohmann::json;

// Its text is for the user.
class ControlError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws the crate's own reason.
void require(Result result);

Address addressOf(const Json &request);
std::string textField(const Json &request, const char *name);
// Within 0 and 2^31-1.
int32_t countField(const Json &request, const char *name, int32_t missing);
// Finite.
double numberField(const Json &request, const char *name);
bool boolField(const Json &request, const char *name, bool missing);
wire::Operation operationField(const Json &request, const char *name);
FaultKind faultKindField(const Json &request, const char *name);

Json toJson(const Value &value);
Value fromJson(Shape shape, const Json &value);

// The item that slot, channel and name of a request stand for.
ItemId itemOf(const Crate &crate, const Json &request);

} // namespace sim::control
