// The value of a node as it lies in memory: read without a lock while others write it.
#pragma once

#include "ZANTOnodevalue.h"
#include "ZANTOtypes.h"
#include "ZANTOvariant.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>

// One thread at a time writes; any number read meanwhile, without a locked instruction. A reader
// counts the changes before and after its copy and takes only a copy that none fell into, so that
// number, quality and time belong together. Half a cache line; a text has room of its own.
class ZANTOValueCell {
public:
    // 0, nodeValueQualityUninitialized, now.
    ZANTOValueCell();
    ~ZANTOValueCell();
    ZANTOValueCell(const ZANTOValueCell &) = delete;
    ZANTOValueCell &operator=(const ZANTOValueCell &) = delete;

    // A record shows 39 characters of a text, and its NUL.
    static constexpr std::size_t shownSize = 40;

    // ---- for readers ----
    // False when a change came between; the copy is worth nothing then.

    // The number as the variant holds it, without the text.
    bool tryNumber(variant &number) const
    {
        const uint32_t before = m_changes.load(std::memory_order_acquire);
        number.setValue(m_number.load(std::memory_order_acquire));
        return isUnchangedSince(before);
    }
    // What a record shows of the text, with a NUL at its end if that is before the last byte.
    bool tryText(char (&shown)[shownSize]) const;

    // ---- for the one writer, or while there is none ----

    // Quality and time with the whole value.
    ZANTONodeValue get() const;
    // Room for a text other than the empty one must be there.
    void set(ZANTONodeValue &&value) noexcept;
    void setQuality(nodeValueQuality quality) noexcept;
    void setQualityAndTime(nodeValueQuality quality, time_t timestamp) noexcept;

    // For any thread: makes room for a value's text, so that set() needs no memory. Throws
    // std::bad_alloc.
    void makeRoomFor(const ZANTONodeValue &value)
    {
        if (!value.ZANTOData().text().empty())
            makeRoom();
    }

private:
    struct Text;
    class Change;
    void makeRoom();

    // The loads of the copy are acquiring: this one is not moved before them.
    bool isUnchangedSince(uint32_t before) const
    {
        return before % 2 == 0 && m_changes.load(std::memory_order_relaxed) == before;
    }

    std::atomic<uint32_t> m_changes{0}; // odd while one is under way
    std::atomic<uint32_t> m_number{0};
    std::atomic<int64_t> m_timestamp; // seconds since the Unix epoch
    // Owned; made for the first text and kept as long as the cell, since readers may look at it.
    std::atomic<Text *> m_text{nullptr};
    std::atomic<uint8_t> m_quality;
};
