#include "session.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utf8.h>

#include "vexahvwrapper.h"

namespace sim::capture {

namespace {

// No mainframe has that many; a table without its end has to stop somewhere.
constexpr size_t maxParameters = 1000;

template <class Element> using Owned = std::unique_ptr<Element[], VEXAHVRESULT (*)(void *)>;

template <class Element> Owned<Element> owned(Element *buffer)
{
    return Owned<Element>(buffer, VEXAHV_Free);
}

// Texts one after another; reading ends at one that is too long to be true.
class PackedTexts {
public:
    explicit PackedTexts(const char *list) : m_at(list) {}

    std::string next()
    {
        if (m_at == nullptr)
            return {};
        const size_t length = strnlen(m_at, VEXAHV_TEXT_SIZE);
        if (length == VEXAHV_TEXT_SIZE) {
            m_at = nullptr;
            m_isCut = true;
            return {};
        }
        std::string text = slotText(m_at, length);
        m_at += length + 1;
        return text;
    }

    bool isCut() const { return m_isCut; }

private:
    const char *m_at;
    bool m_isCut = false;
};

std::string placed(const std::string &what, const std::string &place)
{
    return place.empty() ? what : what + " (" + place + ")";
}

std::string quoted(const std::string &text) { return '"' + text + '"'; }

// The library may write as much as its longest text wherever it writes.
union Answer {
    std::array<char, VEXAHV_TEXT_SIZE> text;
    float real;
    int16_t int16;
    int32_t int32;
    uint16_t uint16;
    uint32_t uint32;
};

Value propertyValue(const Answer &answer, PropertyType type)
{
    switch (type) {
    case PropertyType::Text: return slotText(answer.text.data(), answer.text.size());
    case PropertyType::Real: return answer.real;
    case PropertyType::UInt16: return uint32_t{answer.uint16};
    case PropertyType::UInt32: return answer.uint32;
    case PropertyType::Int16: return int32_t{answer.int16};
    case PropertyType::Boolean: return int32_t{answer.int16 != 0};
    case PropertyType::Int32: break;
    }
    return answer.int32;
}

} // namespace

std::string slotText(const char *bytes, size_t size)
{
    const char *const end = bytes + strnlen(bytes, size);
    std::string text;
    while (bytes < end) {
        const char *const invalid = utf8::find_invalid(bytes, end);
        text.append(bytes, invalid);
        if (invalid == end)
            break;
        text += '?';
        bytes = invalid + 1;
    }
    return text;
}

std::string Place::text() const
{
    const std::string board = "slot " + std::to_string(slot);
    return channel < 0 ? board : board + ", channel " + std::to_string(channel);
}

template <class Function, class... Arguments>
void Session::call(const char *name, const std::string &place, Function function,
                   Arguments... arguments)
{
    if (m_hook)
        m_hook(name);
    const VEXAHVRESULT result = function(arguments...);
    if (m_hook)
        m_hook(nullptr);
    if (result != VEXAHV_OK)
        throw CallFailed(placed(name, place) + " failed with code " + std::to_string(result));
}

Session::Session(const std::string &host, const std::string &user, const std::string &password,
                 CallHook hook)
    : m_hook(std::move(hook))
{
    call("VEXAHV_InitSystem", "", VEXAHV_InitSystem, int32_t{VEXAHV_SYSTEM_MAINFRAME},
         int32_t{VEXAHV_LINK_TCPIP}, host.c_str(), user.c_str(), password.c_str(), &m_handle);
}

Session::~Session() { VEXAHV_DeinitSystem(m_handle); }

std::vector<std::string> Session::names(const char *operation, NameLister lister)
{
    uint16_t count = 0;
    char *list = nullptr;
    call(operation, "", lister, m_handle, &count, &list);
    std::vector<std::string> names;
    // With a count of 0 the list is not ours to release.
    if (count == 0 || list == nullptr)
        return names;
    const auto release = owned(list);
    PackedTexts texts(list);
    while (names.size() < count)
        names.push_back(texts.next());
    if (texts.isCut())
        throw CallFailed(std::string(operation) + ": a name has no end");
    return names;
}

std::vector<std::string> Session::propertyNames()
{
    return names("VEXAHV_GetSysPropList", VEXAHV_GetSysPropList);
}

std::vector<std::string> Session::commandNames()
{
    return names("VEXAHV_GetExecCommList", VEXAHV_GetExecCommList);
}

PropertyInfo Session::propertyInfo(const std::string &name)
{
    PropertyInfo info;
    call("VEXAHV_GetSysPropInfo", quoted(name), VEXAHV_GetSysPropInfo, m_handle, name.c_str(),
         &info.mode, &info.type);
    return info;
}

Value Session::property(const std::string &name, PropertyType type)
{
    Answer answer{};
    call("VEXAHV_GetSysProp", quoted(name), VEXAHV_GetSysProp, m_handle, name.c_str(),
         static_cast<void *>(&answer));
    return propertyValue(answer, type);
}

CrateMap Session::crateMap()
{
    uint16_t count = 0;
    uint16_t *channels = nullptr;
    char *models = nullptr;
    char *descriptions = nullptr;
    uint16_t *serials = nullptr;
    uint8_t *minors = nullptr;
    uint8_t *majors = nullptr;
    call("VEXAHV_GetCrateMap", "", VEXAHV_GetCrateMap, m_handle, &count, &channels, &models,
         &descriptions, &serials, &minors, &majors);
    const auto releases = std::make_tuple(owned(channels), owned(models), owned(descriptions),
                                          owned(serials), owned(minors), owned(majors));
    const auto at = [](const auto *list, size_t index) {
        return list != nullptr ? list[index] : std::remove_reference_t<decltype(list[0])>{};
    };
    std::vector<Slot> slots(count);
    PackedTexts modelTexts(models);
    PackedTexts descriptionTexts(descriptions);
    for (size_t index = 0; index < count; ++index)
        slots[index] = {at(channels, index), modelTexts.next(), descriptionTexts.next(),
                        at(serials, index),  at(majors, index), at(minors, index)};
    return {std::move(slots), modelTexts.isCut() || descriptionTexts.isCut()};
}

std::vector<std::string> Session::parameterNames(const Place &place)
{
    char *table = nullptr;
    int32_t unused = 0;
    const bool ofBoard = place.channel < 0;
    const char *operation = ofBoard ? "VEXAHV_GetBdParamInfo" : "VEXAHV_GetChParamInfo";
    if (ofBoard)
        call(operation, place.text(), VEXAHV_GetBdParamInfo, m_handle, place.slot, &table);
    else
        call(operation, place.text(), VEXAHV_GetChParamInfo, m_handle, place.slot,
             static_cast<uint16_t>(place.channel), &table, &unused);
    const auto release = owned(table);
    std::vector<std::string> names;
    for (const char *slot = table; slot != nullptr && *slot != '\0' && names.size() < maxParameters;
         slot += VEXAHV_PARAM_NAME_SLOT)
        names.push_back(slotText(slot, VEXAHV_PARAM_NAME_SLOT));
    if (names.size() == maxParameters)
        throw CallFailed(placed(operation, place.text()) + ": the table has no end");
    return names;
}

void Session::parameterProperty(const Place &place, const std::string &parameter,
                                const char *property, void *value)
{
    const std::string where = place.text() + ", " + quoted(parameter) + ", " + property;
    if (place.channel < 0)
        call("VEXAHV_GetBdParamProp", where, VEXAHV_GetBdParamProp, m_handle, place.slot,
             parameter.c_str(), property, value);
    else
        call("VEXAHV_GetChParamProp", where, VEXAHV_GetChParamProp, m_handle, place.slot,
             static_cast<uint16_t>(place.channel), parameter.c_str(), property, value);
}

template <class Number>
Number Session::numberProperty(const Place &place, const std::string &parameter,
                               const char *property)
{
    Answer answer{};
    parameterProperty(place, parameter, property, &answer);
    Number number;
    std::memcpy(&number, &answer, sizeof number);
    return number;
}

template float Session::numberProperty(const Place &, const std::string &, const char *);
template int16_t Session::numberProperty(const Place &, const std::string &, const char *);
template uint16_t Session::numberProperty(const Place &, const std::string &, const char *);
template uint32_t Session::numberProperty(const Place &, const std::string &, const char *);

std::string Session::textProperty(const Place &place, const std::string &parameter,
                                  const char *property)
{
    Answer answer{};
    parameterProperty(place, parameter, property, &answer);
    return slotText(answer.text.data(), answer.text.size());
}

Value Session::parameter(const Place &place, const std::string &name, ParamType type)
{
    Answer answer{};
    const std::string where = place.text() + ", " + quoted(name);
    const auto channel = static_cast<uint16_t>(std::max(place.channel, 0));
    if (place.channel < 0)
        call("VEXAHV_GetBdParam", where, VEXAHV_GetBdParam, m_handle, uint16_t{1}, &place.slot,
             name.c_str(), static_cast<void *>(&answer));
    else
        call("VEXAHV_GetChParam", where, VEXAHV_GetChParam, m_handle, place.slot, name.c_str(),
             uint16_t{1}, &channel, static_cast<void *>(&answer));
    switch (shapeOf(type)) {
    case Shape::Real: return answer.real;
    case Shape::Unsigned: return answer.uint32;
    default: return answer.int32;
    }
}

std::string Session::channelName(uint16_t slot, uint16_t channel)
{
    // Room for what a library writes that forgets how long a name may be
    std::array<char[VEXAHV_CHANNEL_NAME_SLOT], 32> names{};
    const Place place{slot, channel};
    call("VEXAHV_GetChName", place.text(), VEXAHV_GetChName, m_handle, slot, uint16_t{1}, &channel,
         names.data());
    return slotText(names[0], VEXAHV_CHANNEL_NAME_SLOT);
}

} // namespace sim::capture
