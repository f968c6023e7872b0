// What every operation of the fake access library begins with.
#pragma once

#include "FakeAccessLibrary.h"

#include <algorithm>
#include <cstdio>

inline FakeAccessLibrary &fake() { return FakeAccessLibrary::instance(); }

// Records a call and answers it unless it is to fail.
template <typename Answer>
int32_t operate(const std::string &call, int32_t handle, const Answer &answer)
{
    const int32_t fault = fake().enter(call, handle);
    return fault != 0 ? fault : answer();
}

inline std::string word(const char *text) { return text != nullptr ? text : "(null)"; }
inline std::string word(const std::string &text) { return text; }
template <typename Number> std::string word(Number number) { return std::to_string(number); }

template <typename... Words> std::string callText(const char *operation, const Words &...words)
{
    std::string text = std::string(operation) + "(";
    const char *comma = "";
    ((text += comma + word(words), comma = ", "), ...);
    return text + ")";
}

inline std::string realText(float value)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%g", static_cast<double>(value));
    return text;
}

inline FakeBytes bytesAt(const void *value, std::size_t width)
{
    return {std::string(static_cast<const char *>(value), width)};
}

inline void answer(const FakeBytes &value, void *out)
{
    std::memcpy(out, value.raw.data(), value.raw.size());
}

template <typename Item> Item *named(std::vector<Item> &items, const std::string &name)
{
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&](const Item &item) { return item.name == name; });
    return found != items.end() ? &*found : nullptr;
}

// Texts one after another, each with its NUL.
inline std::string packed(const std::vector<std::string> &names)
{
    std::string bytes;
    for (const std::string &name : names)
        bytes.append(name.c_str(), name.size() + 1);
    return bytes;
}

template <typename T> T *handOut(const char *list, const std::string &bytes)
{
    return static_cast<T *>(fake().handOut(list, bytes));
}
