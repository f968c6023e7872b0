#include "forms.h"

#include "place.h"
#include "values.h"

namespace sim::ctl {

namespace {

Json placeIf(bool (*fits)(const Place &), const std::string &text)
{
    const auto place = parsePlace(text);
    return place && fits(*place) ? withPlace(Json::object(), *place) : Json();
}

template <class Value> Json orNull(const std::optional<Value> &value)
{
    return value ? Json(*value) : Json();
}

Json parseAnyPlace(const std::string &text)
{
    return placeIf([](const Place &) { return true; }, text);
}

Json parseBoardOrChannel(const std::string &text)
{
    return placeIf([](const Place &place) { return !place.isSystem(); }, text);
}

Json parseChannel(const std::string &text)
{
    return placeIf([](const Place &place) { return place.isChannel(); }, text);
}

Json parseNumberAbove0(const std::string &text)
{
    const auto number = parseReal(text);
    return number && *number > 0 ? Json(*number) : Json();
}

Json parseFieldValue(const std::string &text)
{
    Json fields = Json::object();
    addField(fields, text);
    return fields;
}

Json parseRate(const std::string &text)
{
    return text == "stop" ? Json(0) : orNull(parseReal(text));
}

} // namespace

const Form anyPlace{"SLOT, SLOT:CHANNEL or system", parseAnyPlace};
const Form boardOrChannel{"SLOT or SLOT:CHANNEL", parseBoardOrChannel};
const Form channelPlace{"SLOT:CHANNEL", parseChannel};

const Form number{"a number", [](const std::string &text) { return orNull(parseReal(text)); }};
const Form numberAbove0{"a number above 0", parseNumberAbove0};
const Form wholeNumber{"a whole number from 0 up",
                       [](const std::string &text) { return orNull(parseWholeNumber(text)); }};

const Form anyText{"a text", [](const std::string &text) { return Json(text); }};
const Form anyValue{"a value", plainValue};
const Form fieldValue{"FIELD=VALUE", parseFieldValue};
const Form stormRate{"a number of events per second or \"stop\"", parseRate};
const Form stormMix{"KIND=SHARE,...", parseMix};

const Form isGiven{"a flag", [](const std::string &text) { return Json(text == "true"); }};
const Form isNotGiven{"a flag", [](const std::string &text) { return Json(text != "true"); }};

} // namespace sim::ctl
