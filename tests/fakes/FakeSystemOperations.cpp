// The library's C operations on the session and the system.
#include "FakeCall.h"

#include <algorithm>
#include <iterator>

namespace {

FakeBytes sysPropBytes(uint32_t type, const void *value)
{
    static constexpr std::size_t widths[] = {0, 4, 2, 4, 2, 4, 2};
    if (type == VEXAHV_SYSPROP_TEXT)
        return FakeBytes::text(static_cast<const char *>(value));
    return bytesAt(value, type < std::size(widths) ? widths[type] : 0);
}

std::string sysPropText(uint32_t type, const FakeBytes &value)
{
    switch (type) {
    case VEXAHV_SYSPROP_TEXT: return "\"" + value.asText() + "\"";
    case VEXAHV_SYSPROP_REAL: return realText(value.as<float>());
    case VEXAHV_SYSPROP_UINT16: return word(value.as<uint16_t>());
    case VEXAHV_SYSPROP_UINT32: return word(value.as<uint32_t>());
    case VEXAHV_SYSPROP_INT32: return word(value.as<int32_t>());
    default: return word(value.as<int16_t>());
    }
}

template <typename Use> int32_t withSysProp(const char *name, const Use &use)
{
    return fake().withCrate([&](FakeCrate &crate) {
        FakeSysProp *property = named(crate.properties, name);
        return property != nullptr ? use(*property) : FakeAccessLibrary::unknownItem;
    });
}

int32_t nameList(const std::string &call, int32_t handle, const char *list,
                 const std::vector<std::string> &names, uint16_t *count, char **out)
{
    return operate(call, handle, [&] {
        *count = static_cast<uint16_t>(names.size());
        *out = handOut<char>(list, packed(names));
        return 0;
    });
}

} // namespace

// ---- session ----

VEXAHVRESULT VEXAHV_InitSystem(int32_t systemType, int32_t linkType, const char *linkArg,
                               const char *userName, const char *password, int32_t *handle)
{
    const FakeOperation operation;
    const int32_t fault =
        fake().enter(callText("InitSystem", systemType, linkType, linkArg, userName, password));
    if (fault == 0)
        *handle = FakeAccessLibrary::handle;
    return fault;
}

VEXAHVRESULT VEXAHV_DeinitSystem(int32_t handle)
{
    const FakeOperation operation;
    return fake().enter(callText("DeinitSystem", handle), handle);
}

// ---- system ----

VEXAHVRESULT VEXAHV_GetSysPropList(int32_t handle, uint16_t *count, char **list)
{
    const FakeOperation operation;
    std::vector<std::string> names;
    for (const FakeSysProp &property : fake().crate().properties)
        names.push_back(property.name);
    return nameList(callText("GetSysPropList", handle), handle, "sysPropNames", names, count, list);
}

VEXAHVRESULT VEXAHV_GetExecCommList(int32_t handle, uint16_t *count, char **list)
{
    const FakeOperation operation;
    return nameList(callText("GetExecCommList", handle), handle, "commandNames",
                    fake().crate().commands, count, list);
}

VEXAHVRESULT VEXAHV_GetSysPropInfo(int32_t handle, const char *name, uint32_t *mode, uint32_t *type)
{
    const FakeOperation operation;
    return operate(callText("GetSysPropInfo", handle, name), handle, [&] {
        return withSysProp(name, [&](const FakeSysProp &property) {
            *mode = property.mode;
            *type = property.type;
            return 0;
        });
    });
}

VEXAHVRESULT VEXAHV_GetSysProp(int32_t handle, const char *name, void *value)
{
    const FakeOperation operation;
    return operate(callText("GetSysProp", handle, name), handle, [&] {
        return withSysProp(name, [&](const FakeSysProp &property) {
            answer(property.value, value);
            return 0;
        });
    });
}

VEXAHVRESULT VEXAHV_SetSysProp(int32_t handle, const char *name, const void *value)
{
    const FakeOperation operation;
    uint32_t type = VEXAHV_SYSPROP_BOOLEAN + 1;
    withSysProp(name, [&](const FakeSysProp &property) {
        type = property.type;
        return 0;
    });
    const FakeBytes bytes = sysPropBytes(type, value);
    if (type != VEXAHV_SYSPROP_TEXT)
        fake().noteNumberWritten(bytesAt(value, 8));
    const std::string call =
        callText("SetSysProp", handle, name) + " = " + sysPropText(type, bytes);
    return operate(call, handle, [&] {
        return withSysProp(name, [&](FakeSysProp &property) {
            property.value = bytes;
            return 0;
        });
    });
}

VEXAHVRESULT VEXAHV_ExecComm(int32_t handle, const char *name)
{
    const FakeOperation operation;
    return operate(callText("ExecComm", handle, name), handle, [&] {
        return fake().withCrate([&](const FakeCrate &crate) {
            const bool known = std::count(crate.commands.begin(), crate.commands.end(), name) != 0;
            return known ? 0 : FakeAccessLibrary::unknownItem;
        });
    });
}
