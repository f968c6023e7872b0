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
    Channel &channel(size_t index) { return m_channels[index]; }
    const Channel &channel(size_t index) const { return m_channels[index]; }

    bool isPresent() const { return m_present; }
    // Pulling a board takes its voltage away and marks its channels unplugged;
    // its set-points survive.
    void remove();
    void insert();

    Result beforeWrite(Role role, const Value &value);
    void afterWrite(Role role);

    // Raises or drops a condition of the board, given as its status bit.
    void setCondition(uint32_t bit, bool present);
    void clearTrips();

    void advance(Duration time, Random &random);
    double power() const;

private:
    double setting(Role role, double missing) const;
    void forEachChannel(void (Channel::*action)());
    void setChannelCondition(uint32_t bit, bool present);
    void heat(double seconds);
    void checkTemperature();
    void publish();

    ItemStore &m_items;
    const BoardDescription &m_description;
    const ModelDescription &m_model;
    const ItemId m_first;
    std::map<Role, ItemId> m_roles;
    std::vector<Channel> m_channels;
    bool m_present = true;
    double m_ambient;
    double m_temperature;
    uint32_t m_conditions = 0;
    uint32_t m_temperatureBits = 0;
};

} // namespace sim
