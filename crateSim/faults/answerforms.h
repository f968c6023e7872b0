// Which answers of the access library can be broken in which way.
#pragma once

#include <cstdint>
#include <string_view>

#include "order.h"

namespace sim {

// What an answer consists of, as far as it can be broken.
enum class AnswerForm : uint8_t {
    Other,
    PackedList,
    CrateMap,
    NameTable,
    ChannelNames,
    Text,
    LowerLimit,
    UpperLimit
};

// The item is the property that was asked for, where that matters; text tells
// whether a system property is one.
AnswerForm answerForm(wire::Operation operation, std::string_view property, bool isText);

bool canBreak(FaultAnswer answer, AnswerForm form);
// Whether some answer of the operation can be broken that way.
bool canBreak(FaultAnswer answer, wire::Operation operation);

} // namespace sim
