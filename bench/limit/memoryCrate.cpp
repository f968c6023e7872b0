#include "memoryCrate.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>

// ---- what the crate is made of: 34 records a channel, six a board, 21 of the system ----

namespace {

constexpr uint32_t readOnly = VEXAHV_MODE_READ;
constexpr uint32_t writeOnly = VEXAHV_MODE_WRITE;
constexpr uint32_t readWrite = VEXAHV_MODE_READWRITE;

enum Unit : uint16_t { noUnit = 0, ampere = 1, volt = 2, celsius = 4, perSecond = 7, second = 8 };

MemoryParameter numeric(const char *name, uint32_t mode, float lowest, float highest, Unit unit,
                        int16_t exponent = 0, int16_t decimals = 0)
{
    return {name,   VEXAHV_PARAM_NUMERIC, mode, lowest, highest, unit, exponent, decimals, nullptr,
            nullptr};
}

MemoryParameter onOff(const char *name, uint32_t mode, const char *on, const char *off)
{
    return {name, VEXAHV_PARAM_ONOFF, mode, 0, 0, noUnit, 0, 0, on, off};
}

MemoryParameter plain(const char *name, uint32_t type, uint32_t mode, float highest = 0)
{
    return {name, type, mode, 0, highest, noUnit, 0, 0, nullptr, nullptr};
}

} // namespace

const std::vector<MemoryParameter> &MemoryCrate::boardParameters()
{
    static const std::vector<MemoryParameter> all = {
        plain("BdStatus", VEXAHV_PARAM_BOARD_STATUS, readOnly),
        numeric("HVMax", readOnly, 0, 500, volt),
        numeric("Temp", readOnly, -20, 120, celsius, 0, 1),
        onOff("BdEnable", readWrite, "Enabled", "Disabled")};
    return all;
}

const std::vector<MemoryParameter> &MemoryCrate::channelParameters()
{
    static const std::vector<MemoryParameter> all = {
        numeric("VSet", readWrite, 0, 500, volt, 0, 2),
        numeric("ISet", readWrite, 0, 20, ampere, -3, 3),
        numeric("VMon", readOnly, 0, 500, volt, 0, 2),
        numeric("IMon", readOnly, 0, 20, ampere, -3, 3),
        numeric("SVMax", readWrite, 0, 500, volt),
        numeric("RUp", readWrite, 1, 100, perSecond),
        numeric("RDwn", readWrite, 1, 100, perSecond),
        numeric("Trip", readWrite, 0, 1000, second, 0, 1),
        onOff("Pw", readWrite, "On", "Off"),
        onOff("ClrTrip", writeOnly, "Clear", "Idle"),
        plain("Status", VEXAHV_PARAM_CHANNEL_STATUS, readOnly),
        plain("Level", VEXAHV_PARAM_INTEGER, readWrite, 60000),
        plain("Comment", VEXAHV_PARAM_STRING, readWrite)};
    return all;
}

const std::vector<MemoryProperty> &MemoryCrate::properties()
{
    static const std::vector<MemoryProperty> all = {
        {"ModelName", VEXAHV_SYSPROP_TEXT, readOnly, "ZC16"},
        {"SwRelease", VEXAHV_SYSPROP_TEXT, readOnly, "1.00.04"},
        {"IPAddr", VEXAHV_SYSPROP_TEXT, readOnly, host},
        {"Location", VEXAHV_SYSPROP_TEXT, readWrite, "Counting room"},
        {"Remark", VEXAHV_SYSPROP_TEXT, readWrite, "None"},
        {"OutPower", VEXAHV_SYSPROP_REAL, readOnly, nullptr},
        {"TripCount", VEXAHV_SYSPROP_UINT16, readOnly, nullptr},
        {"Uptime", VEXAHV_SYSPROP_UINT32, readOnly, nullptr},
        {"Group", VEXAHV_SYSPROP_UINT16, readWrite, nullptr},
        {"Remote", VEXAHV_SYSPROP_BOOLEAN, readWrite, nullptr}};
    return all;
}

const std::vector<const char *> &MemoryCrate::commands()
{
    static const std::vector<const char *> all = {"Kill", "ClearAlarm", "AllOff"};
    return all;
}

// ---- values ----

namespace {

std::size_t indexOf(const MemoryPlace &place)
{
    return (std::size_t{place.slot} * MemoryCrate::channels + place.channel) *
               MemoryCrate::channelParameters().size() +
           place.item;
}

} // namespace

MemoryCrate &MemoryCrate::instance()
{
    // Never destroyed: threads of the IOC may call the library to the end.
    static auto *const crate = new MemoryCrate;
    return *crate;
}

void MemoryCrate::setBoards(uint16_t boards)
{
    m_boards = boards;
    m_values.assign(std::size_t{boards} * channels * channelParameters().size(), 0);
}

uint32_t MemoryCrate::value(const MemoryPlace &place) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_values[indexOf(place)];
}

void MemoryCrate::setValue(const MemoryPlace &place, uint32_t value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_values[indexOf(place)] = value;
    if (m_answersWrites) {
        m_answers.push_back(place);
        m_written.notify_one();
    }
}

// ---- events ----

namespace {

const char *itemName(const MemoryPlace &place)
{
    const auto &all = MemoryCrate::channelParameters();
    return place.item < all.size() ? all[place.item].name : "Name";
}

uint32_t itemType(const MemoryPlace &place)
{
    const auto &all = MemoryCrate::channelParameters();
    return place.item < all.size() ? all[place.item].type : uint32_t{VEXAHV_PARAM_STRING};
}

void fillHead(VEXAHVEventData_t &event, const MemoryPlace &place)
{
    event.Type = PARAMETER;
    event.SystemHandle = MemoryCrate::handle;
    event.BoardIndex = place.slot;
    event.ChannelIndex = place.channel;
    std::memset(event.ItemID, 0, sizeof(event.ItemID));
    std::strncpy(event.ItemID, itemName(place), sizeof(event.ItemID) - 1);
}

// Another value in each round.
void fillValue(IDValue_t &value, uint32_t type, uint32_t round)
{
    if (type == VEXAHV_PARAM_NUMERIC)
        value.FloatValue = static_cast<float>(round) + 0.25F;
    else if (type == VEXAHV_PARAM_STRING)
        std::snprintf(value.StringValue, sizeof(value.StringValue), "Text of round %u", round);
    else
        value.IntValue = static_cast<int32_t>(type == VEXAHV_PARAM_ONOFF ? round % 2 : round);
}

} // namespace

void MemoryCrate::storm(uint32_t size)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto items = static_cast<uint16_t>(channelParameters().size() + 1);
    m_order.clear();
    m_next = 0;
    for (uint16_t slot = 0; slot < m_boards; ++slot)
        for (uint16_t channel = 0; channel < channels; ++channel)
            for (uint16_t item = 0; item < items; ++item)
                m_order.push_back({slot, channel, item});
    // The same order in every process.
    std::shuffle(m_order.begin(), m_order.end(), std::mt19937(1));
    m_batch = size;
}

void MemoryCrate::answerWrites()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answersWrites = true;
    m_batch = 0;
}

void MemoryCrate::takeStorm(VEXAHVEventData_t *events)
{
    for (uint32_t i = 0; i < m_batch; ++i) {
        if (m_next == 0)
            ++m_round;
        const MemoryPlace &place = m_order[m_next];
        m_next = (m_next + 1) % m_order.size();
        fillHead(events[i], place);
        fillValue(events[i].Value, itemType(place), m_round);
    }
}

void MemoryCrate::takeAnswers(VEXAHVEventData_t *events)
{
    for (const MemoryPlace &place : m_answers) {
        fillHead(*events, place);
        std::memcpy(&events->Value, &m_values[indexOf(place)], sizeof(uint32_t));
        ++events;
    }
    m_answers.clear();
}

VEXAHVEventData_t *MemoryCrate::takeBatch(uint32_t &count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_batch == 0)
        m_written.wait(lock, [this] { return !m_answers.empty(); });
    count = m_batch != 0 ? m_batch : static_cast<uint32_t>(m_answers.size());
    auto *events = static_cast<VEXAHVEventData_t *>(std::malloc(count * sizeof(VEXAHVEventData_t)));
    if (events == nullptr)
        throw std::bad_alloc();
    if (m_batch != 0)
        takeStorm(events);
    else
        takeAnswers(events);
    return events;
}
