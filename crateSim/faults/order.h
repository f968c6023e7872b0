// Misbehaviour that a crate is asked for, by its description or by the control
// port: the kinds, their fields, and reading an order from named fields.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "corruption.h"

namespace sim {

enum class FaultKind : uint8_t {
    RefuseLogins,
    Fail,
    Delay,
    Hang,
    // of event connections
    DropEvents,
    ResetEvents,
    HalfCloseEvents,
    SplitEvents,
    GarbageEvents,
    UnknownEvents,
    // of answers
    Answer,
    Count_
};

// A kind uses the members that its row of the table in the source names; the
// others stay as they are here.
struct FaultOrder {
    FaultKind kind = FaultKind::Fail;
    std::optional<wire::Operation> operation; // none: any
    Corruption answer = Corruption::NoNul;
    // Within the ranges of the table of fields, whatever the order was read from.
    int64_t code = 0;  // never 0 where the kind has it
    int64_t count = 1; // 0: for good
    int64_t after = 0; // calls that pass before the first one hit
    int64_t milliseconds = 0;
    int64_t offset = 0; // bytes of the event stream from the order on
    int64_t chunk = 0;  // bytes
    int64_t bytes = 0;

    bool operator==(const FaultOrder &other) const;
};

using FaultFieldValue = std::variant<bool, int64_t, double, std::string>;
using FaultFields = std::map<std::string, FaultFieldValue>;

struct FaultProblem {
    std::string field; // empty: the order as a whole
    std::string text;  // for people; names the field
};

// Reads an order; "kind" is one of the fields. Every problem is noted, and with
// any the result is empty.
std::optional<FaultOrder> readFaultOrder(const FaultFields &fields,
                                         std::vector<FaultProblem> &problems);

// The fields from which the same order is read, without those that have their
// default value.
FaultFields faultFields(const FaultOrder &order);

std::string_view faultKindName(FaultKind kind);
std::optional<FaultKind> findFaultKind(std::string_view name);

// With or without the prefix that all operations share.
std::optional<wire::Operation> findOperationNamed(const std::string &name);
// Without the prefix; "any" for none.
std::string_view faultOperationName(std::optional<wire::Operation> operation);

} // namespace sim
