// A login at a mainframe through the access library. Nothing that the library
// hands back is trusted: lists are read no further than a bound, texts no further
// than their slot, and bytes that are no UTF-8 become question marks.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "../model/value.h"

namespace sim::capture {

// The text names the call and its place.
class CallFailed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Slot {
    uint16_t channels = 0; // 0: empty
    std::string model;
    std::string description;
    uint16_t serialNumber = 0;
    uint8_t firmwareMajor = 0;
    uint8_t firmwareMinor = 0;
};

struct CrateMap {
    std::vector<Slot> slots;
    bool isCut = false; // a text had no end: those behind it are empty
};

struct PropertyInfo {
    uint32_t mode = 0;
    uint32_t type = 0;
};

// A board, or a channel of it.
struct Place {
    uint16_t slot = 0;
    int32_t channel = -1;

    // "slot 3", "slot 3, channel 7"
    std::string text() const;
};

// Told the name of the operation before each call, and null after it. May throw
// before a call that is then not made.
using CallHook = std::function<void(const char *)>;

// Texts come as long as their slot when they had no end in it, which is one byte
// longer than they may be. Every call blocks until the mainframe has answered, and
// throws CallFailed.
class Session {
public:
    Session(const std::string &host, const std::string &user, const std::string &password,
            CallHook hook);
    ~Session(); // logs out, without the hook
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    std::vector<std::string> propertyNames();
    std::vector<std::string> commandNames();
    PropertyInfo propertyInfo(const std::string &name);
    // The type has to be one that propertyInfo() may answer, and known.
    Value property(const std::string &name, PropertyType type);

    CrateMap crateMap();
    std::vector<std::string> parameterNames(const Place &place);
    template <class Number>
    Number numberProperty(const Place &place, const std::string &parameter, const char *property);
    std::string textProperty(const Place &place, const std::string &parameter,
                             const char *property);
    // In the shape of the type, which must not be text.
    Value parameter(const Place &place, const std::string &name, ParamType type);
    std::string channelName(uint16_t slot, uint16_t channel);

private:
    using NameLister = int32_t (*)(int32_t handle, uint16_t *count, char **list);

    template <class Function, class... Arguments>
    void call(const char *name, const std::string &place, Function function,
              Arguments... arguments);
    std::vector<std::string> names(const char *operation, NameLister lister);
    void parameterProperty(const Place &place, const std::string &parameter, const char *property,
                           void *value);

    const CallHook m_hook;
    int32_t m_handle = 0;
};

// The text in a slot of that many bytes, with or without its NUL.
std::string slotText(const char *bytes, size_t size);

} // namespace sim::capture
