// Corrupt replies: which answers of the access library can be corrupt in which way, and making
// them so.
#pragma once

#include <cstdint>
#include <string_view>

#include "protocol/operations.h"

namespace sim::wire {
struct BytesAnswer;
struct CrateMapAnswer;
struct NameTableAnswer;
struct PackedListAnswer;
} // namespace sim::wire

namespace sim {

// What a defective library could return.
enum class Corruption : uint8_t {
    NoNul,
    NoEnd,
    LongCount,
    EmptyList,
    NanLimits,
    InfiniteLimits,
    LongText,
    BadUtf8,
    QuotedText,
    Count_
};

// The form of an answer about that property, as far as it depends on it; text tells whether a
// system property is one.
wire::AnswerForm answerForm(wire::Operation operation, std::string_view property, bool isText);

bool canCorrupt(Corruption corruption, wire::AnswerForm form);
// Whether some answer of the operation can be corrupt that way.
bool canCorrupt(Corruption corruption, wire::Operation operation);

// The form of the answer has to allow it.
void corrupt(wire::PackedListAnswer &answer, Corruption corruption, wire::AnswerForm form);
void corrupt(wire::CrateMapAnswer &answer, Corruption corruption, wire::AnswerForm form);
void corrupt(wire::NameTableAnswer &answer, Corruption corruption, wire::AnswerForm form);
void corrupt(wire::BytesAnswer &answer, Corruption corruption, wire::AnswerForm form);

} // namespace sim
