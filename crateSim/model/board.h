// One board: its own items, its temperature and status, and its channels.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "channel.h"

namespace sim {

class Board {
public:
    // Adds the items of the board, then those of its channels. Refers to the
    // descriptions as long as it lives.
    Board(ItemStore &items, int32_t slot, const BoardDescription &description,
          const CrateDescription &crate);

    const BoardDescription &description() const { return m_description; }
    const ModelDescription &model() const { return m_model; }

    ItemId firstItem() const { return m_first; }
    // The board's own item that has the role, if any.
    std::optional<ItemId> itemOf(Role role) const;
    size_t channelCount() const { return m_channels.size(); }
    bool hasChannel(int32_t index) const
    {
        return index >= 0 && static_cast<size_t>(index) < m_channels.size();
    }
    // For acting on the channel.
    Channel &channel(size_t index)
    {
        wake();
        return m_channels[index];
    }
    const Channel &channel(size_t index) const { return m_channels[index]; }

    bool isPresent() const { return m_present; }
    // Pulling a board takes its voltage away and marks its channels unplugged;
    // its set-points survive. An inserted board is off, without trips and at
    // the temperature around it.
    void remove();
    void insert();

    Result beforeWrite(Role role, const Value &value);
    void afterWrite(Role role);

    // Raises or drops a condition of the board, given as its status bit.
    void setCondition(uint32_t bit, bool present);
    uint32_t status() const { return m_conditions | m_temperatureBits; }
    void clearTrips();

    // Lets time pass for the outputs; the items follow with the next publish().
    void advance(Duration time);
    // The temperature is measured, and has effects, only now and then: time is
    // what has passed since the last time.
    void measureTemperature(Duration time);
    void publish(Random &random);

    // True when nothing will change as time passes.
    bool isSettled() const { return !m_present || (m_outputsSettled && isTemperatureSettled()); }

    // As of the last advance().
    double power() const { return m_power; }
    uint32_t tripCount() const { return m_tripCount; }

private:
    double setting(Role role, double missing) const;
    void wake();
    void forEachChannel(void (Channel::*action)());
    double finalTemperature() const;
    bool isTemperatureSettled() const { return m_temperature == finalTemperature(); }
    void checkTemperature();
    void applyConditions();
    void show();

    ItemStore &m_items;
    const BoardDescription &m_description;
    const ModelDescription &m_model;
    const ItemId m_first;
    std::map<Role, ItemId> m_roles;
    std::optional<ReadBack> m_temperatureItem;
    std::vector<Channel> m_channels;
    bool m_present = true;
    double m_ambient;
    double m_temperature;
    uint32_t m_conditions = 0;
    uint32_t m_temperatureBits = 0;
    double m_power = 0;
    uint32_t m_tripCount = 0;
    bool m_outputsSettled = false;
    bool m_quiet = false; // nothing to publish until somebody acts on it
};

} // namespace sim
