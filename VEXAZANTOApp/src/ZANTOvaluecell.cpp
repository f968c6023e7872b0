#include "ZANTOvaluecell.h"

#include "ZANTOclock.h"

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

struct ZANTOValueCell::Text {
    static constexpr std::size_t words = shownSize / sizeof(uint64_t);

    void set(std::string &&text) noexcept;

    std::array<std::atomic<uint64_t>, words> shown{}; // for readers
    std::string whole;                                // the writer's
};

void ZANTOValueCell::Text::set(std::string &&text) noexcept
{
    char field[shownSize] = {};
    text.copy(field, shownSize - 1);
    for (std::size_t i = 0; i < words; ++i) {
        uint64_t word;
        std::memcpy(&word, field + i * sizeof(word), sizeof(word));
        shown[i].store(word, std::memory_order_release);
    }
    whole = std::move(text);
}

// A change for a scope: what it stores is releasing, so that whoever sees any of it sees that a
// change has begun.
class ZANTOValueCell::Change {
public:
    explicit Change(ZANTOValueCell &cell) noexcept
        : m_cell(cell), m_before(cell.m_changes.load(std::memory_order_relaxed))
    {
        m_cell.m_changes.store(m_before + 1, std::memory_order_relaxed);
    }
    ~Change() { m_cell.m_changes.store(m_before + 2, std::memory_order_release); }
    Change(const Change &) = delete;
    Change &operator=(const Change &) = delete;

private:
    ZANTOValueCell &m_cell;
    const uint32_t m_before;
};

ZANTOValueCell::ZANTOValueCell() : m_timestamp(ZANTONow()), m_quality(nodeValueQualityUninitialized)
{
}

ZANTOValueCell::~ZANTOValueCell() { const std::unique_ptr<Text> nobodys(m_text.load()); }

bool ZANTOValueCell::tryText(char (&shown)[shownSize]) const
{
    const uint32_t before = m_changes.load(std::memory_order_acquire);
    const Text *text = m_text.load(std::memory_order_acquire);
    if (text == nullptr) {
        shown[0] = '\0';
    } else {
        for (std::size_t i = 0; i < Text::words; ++i) {
            const uint64_t word = text->shown[i].load(std::memory_order_acquire);
            std::memcpy(shown + i * sizeof(word), &word, sizeof(word));
        }
    }
    return isUnchangedSince(before);
}

ZANTONodeValue ZANTOValueCell::get() const
{
    variant value;
    value.setValue(m_number.load(std::memory_order_relaxed));
    if (const Text *text = m_text.load(std::memory_order_acquire))
        value.setValue(text->whole);
    return ZANTONodeValue(value, static_cast<nodeValueQuality>(m_quality.load()),
                          static_cast<time_t>(m_timestamp.load()));
}

void ZANTOValueCell::set(ZANTONodeValue &&value) noexcept
{
    const Change change(*this);
    m_number.store(value.ZANTOData().toUInt(), std::memory_order_release);
    m_quality.store(static_cast<uint8_t>(value.ZANTOGetQuality()), std::memory_order_release);
    m_timestamp.store(value.ZANTOGetTimestamp(), std::memory_order_release);
    if (Text *text = m_text.load(std::memory_order_relaxed))
        text->set(value.ZANTOTakeText());
}

void ZANTOValueCell::makeRoom()
{
    if (m_text.load(std::memory_order_acquire) != nullptr)
        return;
    auto fresh = std::make_unique<Text>();
    Text *none = nullptr;
    if (m_text.compare_exchange_strong(none, fresh.get(), std::memory_order_acq_rel))
        static_cast<void>(fresh.release());
}

void ZANTOValueCell::setQuality(nodeValueQuality quality) noexcept
{
    const Change change(*this);
    m_quality.store(static_cast<uint8_t>(quality), std::memory_order_release);
}

void ZANTOValueCell::setQualityAndTime(nodeValueQuality quality, time_t timestamp) noexcept
{
    const Change change(*this);
    m_quality.store(static_cast<uint8_t>(quality), std::memory_order_release);
    m_timestamp.store(timestamp, std::memory_order_release);
}
