#include "corruption.h"

#include <algorithm>
#include <limits>

#include "model/codes.h"
#include "protocol/bytes.h"
#include "protocol/messages.h"

namespace sim {

using wire::AnswerForm;

namespace {

constexpr size_t longText = 5000;
constexpr uint16_t missingEntries = 5;

constexpr uint32_t bitOf(Corruption corruption) { return 1u << static_cast<unsigned>(corruption); }

constexpr uint32_t unusualTexts = bitOf(Corruption::BadUtf8) | bitOf(Corruption::QuotedText);
constexpr uint32_t lists = bitOf(Corruption::NoNul) | bitOf(Corruption::LongCount) |
                           bitOf(Corruption::EmptyList) | unusualTexts;

// The corruptions of a form, a bit each.
constexpr uint32_t corruptionsOf(AnswerForm form)
{
    switch (form) {
    case AnswerForm::PackedList:
    case AnswerForm::CrateMap: return lists | bitOf(Corruption::LongText);
    case AnswerForm::NameTable: return lists | bitOf(Corruption::NoEnd);
    case AnswerForm::ChannelNames: return bitOf(Corruption::NoNul) | unusualTexts;
    case AnswerForm::Text:
        return bitOf(Corruption::NoNul) | bitOf(Corruption::LongText) | unusualTexts;
    case AnswerForm::LowerLimit:
    case AnswerForm::UpperLimit:
        return bitOf(Corruption::NanLimits) | bitOf(Corruption::InfiniteLimits);
    default: return 0;
    }
}

AnswerForm formOf(std::string_view property)
{
    if (property == "Minval")
        return AnswerForm::LowerLimit;
    if (property == "Maxval")
        return AnswerForm::UpperLimit;
    return property == "Onstate" || property == "Offstate" ? AnswerForm::Text : AnswerForm::Plain;
}

// The text that takes a text's place.
std::string corruptText(Corruption corruption, const std::string &text)
{
    switch (corruption) {
    case Corruption::LongText: return std::string(longText, 'L');
    case Corruption::BadUtf8: return "\xff\xc3" + text + "\x80";
    case Corruption::QuotedText: return "\"\\\n\t\x01$" + text;
    default: return text;
    }
}

// The first text of a list of texts that end with a NUL each.
void corruptFirst(std::string &list, Corruption corruption)
{
    const size_t length = std::min(list.find('\0'), list.size());
    list.replace(0, length, corruptText(corruption, list.substr(0, length)));
}

void corruptPacked(std::string &list, Corruption corruption)
{
    if (corruption == Corruption::NoNul && !list.empty())
        list.pop_back();
    else
        corruptFirst(list, corruption);
}

// The first slot of a table. Its text is cut to the slot, with or without the NUL; a short name
// that lacks its NUL has filler behind it.
void corruptSlot(std::string &table, size_t slotSize, Corruption corruption)
{
    if (table.size() < slotSize)
        return;
    const std::string name = table.substr(0, std::min(table.find('\0'), slotSize));
    std::string slot = corruptText(corruption, name);
    if (corruption == Corruption::NoNul)
        slot.resize(slotSize, '~');
    else
        slot.resize(slotSize - 1, '\0');
    slot.resize(slotSize, '\0');
    table.replace(0, slotSize, slot);
}

float corruptLimit(Corruption corruption, AnswerForm form)
{
    if (corruption == Corruption::NanLimits)
        return std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    return form == AnswerForm::LowerLimit ? -infinity : infinity;
}

} // namespace

AnswerForm answerForm(wire::Operation operation, std::string_view property, bool isText)
{
    const AnswerForm form = wire::rowOf(operation).answer;
    if (form == AnswerForm::SystemProperty)
        return isText ? AnswerForm::Text : AnswerForm::Plain;
    return form == AnswerForm::ParameterProperty ? formOf(property) : form;
}

bool canCorrupt(Corruption corruption, AnswerForm form)
{
    return (corruptionsOf(form) & bitOf(corruption)) != 0;
}

bool canCorrupt(Corruption corruption, wire::Operation operation)
{
    return canCorrupt(corruption, answerForm(operation, "Minval", true)) ||
           canCorrupt(corruption, answerForm(operation, "Onstate", true));
}

void corrupt(wire::PackedListAnswer &answer, Corruption corruption, AnswerForm)
{
    if (corruption == Corruption::LongCount)
        answer.count = static_cast<uint16_t>(answer.count + missingEntries);
    else if (corruption == Corruption::EmptyList)
        answer.count = 0;
    else
        corruptPacked(answer.list, corruption);
}

void corrupt(wire::CrateMapAnswer &answer, Corruption corruption, AnswerForm)
{
    if (corruption == Corruption::LongCount) {
        answer.slotCount = static_cast<uint16_t>(answer.slotCount + missingEntries);
    } else if (corruption == Corruption::EmptyList) {
        answer.slotCount = 0;
    } else {
        corruptPacked(answer.models, corruption);
        corruptPacked(answer.descriptions, corruption);
    }
}

// The last slot of a table is its end.
void corrupt(wire::NameTableAnswer &answer, Corruption corruption, AnswerForm)
{
    if (corruption == Corruption::LongCount)
        answer.count += missingEntries;
    else if (corruption == Corruption::EmptyList)
        answer = {std::string(parameterSlot, '\0'), 0};
    else if (corruption == Corruption::NoEnd)
        answer.table.resize(answer.table.size() - parameterSlot);
    else if (answer.table.size() > parameterSlot)
        corruptSlot(answer.table, parameterSlot, corruption);
}

void corrupt(wire::BytesAnswer &answer, Corruption corruption, AnswerForm form)
{
    if (form == AnswerForm::LowerLimit || form == AnswerForm::UpperLimit)
        answer.bytes = wire::bytesOf(corruptLimit(corruption, form));
    else if (form == AnswerForm::ChannelNames)
        corruptSlot(answer.bytes, channelSlot, corruption);
    else if (corruption == Corruption::NoNul)
        answer.bytes.assign(textSize, 'N');
    else
        corruptFirst(answer.bytes, corruption);
}

} // namespace sim
