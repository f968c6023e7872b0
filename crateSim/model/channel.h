// One channel: joins the electrical output with the items that show and steer
// it.
#pragma once

#include <array>
#include <optional>
#include <random>

#include "items.h"
#include "output.h"
#include "result.h"

namespace sim {

using Random = std::mt19937_64;

class Channel {
public:
    // Adds the channel's items: its name first, then the model's parameters.
    Channel(ItemStore &items, Address address, const ChannelDescription &description,
            const ModelDescription &model);

    ItemId nameItem() const { return m_first; }
    // Whose channel parameters it has.
    const ModelDescription &model() const { return m_model; }
    // The item that has the role; none when the model has no such parameter.
    std::optional<ItemId> itemOf(Role role) const { return m_roles[static_cast<size_t>(role)]; }

    // Reaction to a value written to one of the channel's items. Called before
    // the store takes the value; anything but Ok keeps the old one.
    Result beforeWrite(Role role, const Value &value);
    // Called after the store has taken the value.
    void afterWrite();

    // Upper bound for the voltage that the board sets.
    void setBoardLimit(double volts);
    void setCondition(uint32_t bit, bool present);
    void trip(uint32_t tripBit);
    void clearTrip();
    void switchOff();
    void kill();

    // Lets time pass and brings the items up to date.
    void advance(Duration time, Random &random);

    uint32_t status() const { return m_output.status(); }
    double power() const { return m_output.voltage() * m_output.current(); }

private:
    double setting(Role role, double missing) const;
    void configure();
    void publish(Random *random);
    void publishMeasurement(Role role, double value);
    double noise(Random &random) const;
    void noteTrips(uint32_t before);

    ItemStore &m_items;
    const ItemId m_first;
    const ModelDescription &m_model;
    const Load m_load;
    std::array<std::optional<ItemId>, static_cast<size_t>(Role::Count_)> m_roles;
    double m_boardLimit = std::numeric_limits<double>::infinity();
    Output m_output;
    bool m_quiet = false;  // settled and shown: nothing to do as time passes
};

} // namespace sim
