// Process-wide objects that no exit destroys.
#pragma once

#include <new>
#include <type_traits>

// Holds a T whose destructor never runs: the IOC's threads may still use it while the process
// exits and runs the destructors of static objects.
template <typename T> class ZANTONeverDestroyed {
public:
    ZANTONeverDestroyed() { ::new (static_cast<void *>(&m_storage)) T(); }
    ZANTONeverDestroyed(const ZANTONeverDestroyed &) = delete;
    ZANTONeverDestroyed &operator=(const ZANTONeverDestroyed &) = delete;

    T &get() noexcept { return *std::launder(reinterpret_cast<T *>(&m_storage)); }

private:
    std::aligned_storage_t<sizeof(T), alignof(T)> m_storage;
};
