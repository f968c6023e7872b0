#include "answerforms.h"

namespace sim {

namespace {

using wire::Operation;

constexpr uint32_t bitOf(FaultAnswer answer) { return 1u << static_cast<unsigned>(answer); }

constexpr uint32_t strangeTexts = bitOf(FaultAnswer::BadUtf8) | bitOf(FaultAnswer::QuotedText);
constexpr uint32_t lists = bitOf(FaultAnswer::NoNul) | bitOf(FaultAnswer::LongCount) |
                           bitOf(FaultAnswer::EmptyList) | strangeTexts;

constexpr uint32_t limits = bitOf(FaultAnswer::NanLimits) | bitOf(FaultAnswer::InfiniteLimits);

// In the order of the forms.
constexpr uint32_t breakable[] = {
    0,
    lists | bitOf(FaultAnswer::LongText),
    lists | bitOf(FaultAnswer::LongText),
    lists | bitOf(FaultAnswer::NoEnd),
    bitOf(FaultAnswer::NoNul) | strangeTexts,
    bitOf(FaultAnswer::NoNul) | bitOf(FaultAnswer::LongText) | strangeTexts,
    limits,
    limits,
};

} // namespace

AnswerForm answerForm(Operation operation, std::string_view property, bool isText)
{
    switch (operation) {
    case Operation::GetSysPropList:
    case Operation::GetExecCommList: return AnswerForm::PackedList;
    case Operation::GetCrateMap: return AnswerForm::CrateMap;
    case Operation::GetBdParamInfo:
    case Operation::GetChParamInfo: return AnswerForm::NameTable;
    case Operation::GetChName: return AnswerForm::ChannelNames;
    case Operation::GetSysProp: return isText ? AnswerForm::Text : AnswerForm::Other;
    case Operation::GetBdParamProp:
    case Operation::GetChParamProp:
        if (property == "Minval")
            return AnswerForm::LowerLimit;
        if (property == "Maxval")
            return AnswerForm::UpperLimit;
        return property == "Onstate" || property == "Offstate" ? AnswerForm::Text
                                                               : AnswerForm::Other;
    default: return AnswerForm::Other;
    }
}

bool canBreak(FaultAnswer answer, AnswerForm form)
{
    return (breakable[static_cast<size_t>(form)] & bitOf(answer)) != 0;
}

bool canBreak(FaultAnswer answer, Operation operation)
{
    for (const std::string_view property : {"Minval", "Onstate"})
        if (canBreak(answer, answerForm(operation, property, true)))
            return true;
    return false;
}

} // namespace sim
