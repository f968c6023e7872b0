// Owner of what the access library allocates.
#pragma once

#include "vexahvwrapper.h"

#include <cstddef>
#include <stdexcept>

// A list that the access library allocated, released with VEXAHV_Free.
template <typename T> class ZANTOLibraryList {
public:
    ZANTOLibraryList() = default;
    ~ZANTOLibraryList()
    {
        if (m_owned)
            VEXAHV_Free(m_list);
    }
    ZANTOLibraryList(const ZANTOLibraryList &) = delete;
    ZANTOLibraryList &operator=(const ZANTOLibraryList &) = delete;

    T **out() { return &m_list; }
    T *get() const { return m_list; }
    // After a failed call of a name list nothing is to be released.
    void disown() { m_owned = false; }

    T at(size_t index) const
    {
        if (m_list == nullptr)
            throw std::out_of_range("the access library gave no list");
        return m_list[index];
    }

private:
    T *m_list = nullptr;
    bool m_owned = true;
};
