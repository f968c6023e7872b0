#include "ZANTOhealth.h"

#include "ZANTOclock.h"

ZANTOHealthCounts ZANTOPresentCounts;

void ZANTONoteStart() noexcept
{
    std::time_t unknown = 0;
    ZANTOPresentCounts.started.compare_exchange_strong(unknown, ZANTONow());
}

void ZANTOHealthRates::begin(const ZANTOHealthCounts &counts, Time now)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_figures = Figures();
    m_events = counts.events;
    m_batches = counts.batches;
    m_lastTick = m_lastDelivery = now;
}

// No clock is read for an event: a batch that came since the last tick is taken to have come now.
// What is shown at a tick is then the time since the batch without its fraction of a second.
void ZANTOHealthRates::tick(const ZANTOHealthCounts &counts, Time now)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const double seconds = std::chrono::duration<double>(now - m_lastTick).count();
    if (seconds <= 0.0)
        return;
    const uint64_t events = counts.events;
    const uint64_t batches = counts.batches;
    if (batches != m_batches)
        m_lastDelivery = now;
    m_figures.events = static_cast<double>(events - m_events) / seconds;
    m_figures.batches = static_cast<double>(batches - m_batches) / seconds;
    m_figures.quietSeconds =
        static_cast<double>(std::chrono::round<std::chrono::seconds>(now - m_lastDelivery).count());
    m_events = events;
    m_batches = batches;
    m_lastTick = now;
}

ZANTOHealthRates::Figures ZANTOHealthRates::figures() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_figures;
}
