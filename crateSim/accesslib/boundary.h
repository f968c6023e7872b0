// Between C callers and the code behind: no exception gets out, and outputs
// are written only when everything has succeeded.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>
#include <vector>

#include "session.h"
#include "vexahvwrapper.h"

namespace sim::accesslib {

// Runs the body of an operation when no argument is missing; its result is 0 or
// the failure's code.
template <class Body>
VEXAHVRESULT guarded(std::initializer_list<const void *> arguments, Body body) noexcept
{
    try {
        if (std::find(arguments.begin(), arguments.end(), nullptr) != arguments.end())
            return failure::badArgument;
        body();
        return VEXAHV_OK;
    } catch (const CallFailure &failed) {
        return failed.code;
    } catch (const std::bad_alloc &) {
        return failure::noMemory;
    } catch (...) {
        return failure::notUnderstood;
    }
}

inline void requireUnderstood(bool condition)
{
    if (!condition)
        throw CallFailure{failure::notUnderstood};
}

struct Freer {
    void operator()(void *buffer) const { std::free(buffer); }
};

// A buffer on its way to the caller, who releases it with VEXAHV_Free.
template <class Element> using Buffer = std::unique_ptr<Element[], Freer>;

// Never null, not even without elements.
template <class Element> Buffer<Element> allocate(size_t count)
{
    const size_t bytes = (count == 0 ? 1 : count) * sizeof(Element);
    auto *memory = static_cast<Element *>(std::malloc(bytes));
    if (memory == nullptr)
        throw std::bad_alloc();
    return Buffer<Element>(memory);
}

template <class Container> auto copyOf(const Container &source)
{
    auto buffer = allocate<typename Container::value_type>(source.size());
    if (!source.empty())
        std::memcpy(buffer.get(), source.data(),
                    source.size() * sizeof(typename Container::value_type));
    return buffer;
}

// Copies a value into the caller's buffer of that width, where 0 means a text.
// What no buffer of a caller's has room for is cut.
inline void copyValue(const std::string &bytes, size_t width, void *buffer)
{
    requireUnderstood(width == 0 || bytes.size() == width);
    const size_t kept = std::min<size_t>(bytes.size(), VEXAHV_TEXT_SIZE);
    std::memcpy(buffer, bytes.data(), kept);
    if (kept < bytes.size())
        static_cast<char *>(buffer)[kept - 1] = '\0';
}

// The caller's index list.
inline std::vector<uint16_t> indexes(const uint16_t *list, uint16_t count)
{
    return std::vector<uint16_t>(list, list + count);
}

// The 4 bytes of a caller's value buffer.
inline uint32_t wordAt(const void *value)
{
    uint32_t word;
    std::memcpy(&word, value, sizeof word);
    return word;
}

} // namespace sim::accesslib
