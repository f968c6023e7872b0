// System properties, commands, crate map.
#include "returnedbuffers.h"

using namespace sim;
using namespace sim::accesslib;
using wire::Operation;

namespace {

VEXAHVRESULT packedList(int32_t handle, Operation operation, uint16_t *count, char **list)
{
    return guarded({count, list}, [&] {
        const auto answer = call<wire::PackedListAnswer>(handle, operation, wire::Nothing());
        *list = wholeTexts(answer.list, answer.count).release();
        *count = answer.count;
    });
}

// The width of a system property's value; 0 for a text, nothing for a property
// that the crate has not announced.
std::optional<size_t> propertyWidth(int32_t handle, const char *name)
{
    const auto type = SessionTable::instance().find(handle)->propertyType(name);
    if (!type)
        return std::nullopt;
    switch (*type) {
    case VEXAHV_SYSPROP_TEXT: return 0;
    case VEXAHV_SYSPROP_REAL:
    case VEXAHV_SYSPROP_UINT32:
    case VEXAHV_SYSPROP_INT32: return 4;
    case VEXAHV_SYSPROP_UINT16:
    case VEXAHV_SYSPROP_INT16:
    case VEXAHV_SYSPROP_BOOLEAN: return 2;
    default: return std::nullopt;
    }
}

} // namespace

extern "C" {

VEXAHVRESULT VEXAHV_GetSysPropList(int32_t handle, uint16_t *count, char **list)
{
    return packedList(handle, Operation::GetSysPropList, count, list);
}

VEXAHVRESULT VEXAHV_GetExecCommList(int32_t handle, uint16_t *count, char **list)
{
    return packedList(handle, Operation::GetExecCommList, count, list);
}

VEXAHVRESULT VEXAHV_GetSysPropInfo(int32_t handle, const char *name, uint32_t *mode, uint32_t *type)
{
    return guarded({name, mode, type}, [&] {
        const auto answer = call<wire::PropertyInfoAnswer>(handle, Operation::GetSysPropInfo,
                                                           wire::NameRequest{name});
        *mode = answer.mode;
        *type = answer.type;
    });
}

VEXAHVRESULT VEXAHV_GetSysProp(int32_t handle, const char *name, void *value)
{
    return guarded({name, value}, [&] {
        const auto bytes =
            call<wire::BytesAnswer>(handle, Operation::GetSysProp, wire::NameRequest{name}).bytes;
        const auto width = propertyWidth(handle, name);
        requireUnderstood(width.has_value());
        copyValue(bytes, *width, value);
    });
}

VEXAHVRESULT VEXAHV_SetSysProp(int32_t handle, const char *name, const void *value)
{
    return guarded({name, value}, [&] {
        const auto *text = static_cast<const char *>(value);
        // Of an unknown property nothing can be sent; the crate refuses it.
        const auto width = propertyWidth(handle, name);
        const size_t length = width == 0u ? strnlen(text, VEXAHV_TEXT_SIZE) : width.value_or(0);
        call(handle, Operation::SetSysProp,
             wire::SetPropertyRequest{name, std::string(text, length)});
    });
}

VEXAHVRESULT VEXAHV_ExecComm(int32_t handle, const char *name)
{
    return guarded({name}, [&] { call(handle, Operation::ExecComm, wire::NameRequest{name}); });
}

VEXAHVRESULT VEXAHV_GetCrateMap(int32_t handle, uint16_t *slotCount, uint16_t **channelCounts,
                                char **models, char **descriptions, uint16_t **serialNumbers,
                                uint8_t **firmwareMinor, uint8_t **firmwareMajor)
{
    return guarded({slotCount, channelCounts, models, descriptions, serialNumbers, firmwareMinor,
                    firmwareMajor},
                   [&] {
                       const auto map = call<wire::CrateMapAnswer>(handle, Operation::GetCrateMap,
                                                                   wire::Nothing());
                       auto counts = wholeNumbers(map.channelCounts, map.slotCount);
                       auto modelList = wholeTexts(map.models, map.slotCount);
                       auto descriptionList = wholeTexts(map.descriptions, map.slotCount);
                       auto serials = wholeNumbers(map.serialNumbers, map.slotCount);
                       auto minors = wholeNumbers(map.firmwareMinor, map.slotCount);
                       auto majors = wholeNumbers(map.firmwareMajor, map.slotCount);
                       *slotCount = map.slotCount;
                       *channelCounts = counts.release();
                       *models = modelList.release();
                       *descriptions = descriptionList.release();
                       *serialNumbers = serials.release();
                       *firmwareMinor = minors.release();
                       *firmwareMajor = majors.release();
                   });
}

} // extern "C"
