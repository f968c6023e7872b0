// Answers as a broken library could give them.
#pragma once

#include "answerforms.h"
#include "protocol/codec.h"

namespace sim {

// The packed answer, broken. The form has to allow it.
msgpack::sbuffer broken(FaultAnswer answer, AnswerForm form, const msgpack::sbuffer &body);

} // namespace sim
