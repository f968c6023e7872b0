#include "brokenanswers.h"

#include <algorithm>
#include <limits>

#include "calls/bytes.h"

namespace sim {

namespace {

constexpr size_t parameterSlot = maxParameterName + 1;
constexpr size_t channelSlot = maxChannelName + 1;
constexpr size_t textSize = maxText + 1;
constexpr size_t longText = 5000;
constexpr uint16_t missingEntries = 5;

// The text that takes a text's place.
std::string strangeText(FaultAnswer answer, const std::string &text)
{
    switch (answer) {
    case FaultAnswer::LongText: return std::string(longText, 'L');
    case FaultAnswer::BadUtf8: return "\xff\xc3" + text + "\x80";
    case FaultAnswer::QuotedText: return "\"\\\n\t\x01$" + text;
    default: return text;
    }
}

// The first text of a list of texts that end with a NUL each.
void breakFirst(std::string &list, FaultAnswer answer)
{
    const size_t length = std::min(list.find('\0'), list.size());
    list.replace(0, length, strangeText(answer, list.substr(0, length)));
}

void breakPacked(std::string &list, FaultAnswer answer)
{
    if (answer == FaultAnswer::NoNul && !list.empty())
        list.pop_back();
    else
        breakFirst(list, answer);
}

// Cut to the slot, with or without the NUL; a short name that lacks its NUL has
// rubbish behind it.
std::string brokenSlot(const std::string &slot, FaultAnswer answer)
{
    const std::string name = slot.substr(0, slot.find('\0'));
    std::string made = strangeText(answer, name);
    if (answer == FaultAnswer::NoNul)
        made.resize(slot.size(), '~');
    else
        made.resize(slot.size() - 1, '\0');
    made.resize(slot.size(), '\0');
    return made;
}

void breakIt(wire::PackedListAnswer &body, FaultAnswer answer)
{
    if (answer == FaultAnswer::LongCount)
        body.count = static_cast<uint16_t>(body.count + missingEntries);
    else if (answer == FaultAnswer::EmptyList)
        body.count = 0;
    else
        breakPacked(body.list, answer);
}

void breakIt(wire::CrateMapAnswer &body, FaultAnswer answer)
{
    if (answer == FaultAnswer::LongCount) {
        body.slotCount = static_cast<uint16_t>(body.slotCount + missingEntries);
    } else if (answer == FaultAnswer::EmptyList) {
        body.slotCount = 0;
    } else {
        breakPacked(body.models, answer);
        breakPacked(body.descriptions, answer);
    }
}

void breakIt(wire::NameTableAnswer &body, FaultAnswer answer)
{
    if (answer == FaultAnswer::LongCount)
        body.count += missingEntries;
    else if (answer == FaultAnswer::EmptyList)
        body = {std::string(parameterSlot, '\0'), 0};
    else if (answer == FaultAnswer::NoEnd)
        body.table.resize(body.table.size() - parameterSlot);
    else if (body.table.size() > parameterSlot)
        body.table.replace(0, parameterSlot,
                           brokenSlot(body.table.substr(0, parameterSlot), answer));
}

float brokenLimit(FaultAnswer answer, AnswerForm form)
{
    if (answer == FaultAnswer::NanLimits)
        return std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    return form == AnswerForm::LowerLimit ? -infinity : infinity;
}

void breakIt(wire::BytesAnswer &body, FaultAnswer answer, AnswerForm form)
{
    if (form == AnswerForm::LowerLimit || form == AnswerForm::UpperLimit) {
        body.bytes = bytesOf(brokenLimit(answer, form));
    } else if (form == AnswerForm::ChannelNames) {
        if (body.bytes.size() >= channelSlot)
            body.bytes.replace(0, channelSlot,
                               brokenSlot(body.bytes.substr(0, channelSlot), answer));
    } else if (answer == FaultAnswer::NoNul) {
        body.bytes.assign(textSize, 'N');
    } else {
        breakFirst(body.bytes, answer);
    }
}

template <class Body, class... More>
msgpack::sbuffer rebuilt(const msgpack::sbuffer &packed, FaultAnswer answer, More... more)
{
    const auto unpacked = wire::unpackPayload({packed.data(), packed.size()});
    auto body = wire::convert<Body>(unpacked.get());
    breakIt(body, answer, more...);
    return wire::packBody(body);
}

} // namespace

msgpack::sbuffer broken(FaultAnswer answer, AnswerForm form, const msgpack::sbuffer &body)
{
    switch (form) {
    case AnswerForm::PackedList: return rebuilt<wire::PackedListAnswer>(body, answer);
    case AnswerForm::CrateMap: return rebuilt<wire::CrateMapAnswer>(body, answer);
    case AnswerForm::NameTable: return rebuilt<wire::NameTableAnswer>(body, answer);
    default: return rebuilt<wire::BytesAnswer>(body, answer, form);
    }
}

} // namespace sim
