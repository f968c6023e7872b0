// One channel: joins the electrical output with the items that show and steer
// it.
#pragma once

#include <array>
#include <optional>
#include <random>

#include "items.h"
#include "output.h"
#include "readback.h"
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
    // Raises or drops a condition of this channel alone.
    void setCondition(uint32_t bit, bool present);
    // All conditions that the channel has because of its board. What one side
    // drops stays while the other has it.
    void setBoardConditions(uint32_t bits);
    void trip(uint32_t tripBit);
    void clearTrip();
    void switchOff();
    void kill();

    // Lets time pass; the items follow with the next publish().
    void advance(Duration time);
    void publish(Random &random);

    // True when nothing will change as time passes.
    bool isSettled() const { return m_output.isSettled(); }
    // Settled, shown, and without noise: nothing to do until somebody acts on it.
    bool isQuiet() const { return m_settledShown && !isNoisy(); }

    uint32_t status() const { return m_output.status(); }
    // How often it has tripped.
    uint32_t tripCount() const { return m_tripCount; }
    double power() const { return m_output.voltage() * m_output.current(); }

private:
    struct Measurement {
        std::optional<ReadBack> readBack;
        // The steady value that was shown last; NaN, which equals nothing: none.
        double steady = std::numeric_limits<double>::quiet_NaN();
    };

    double setting(Role role, double missing) const;
    Duration tripTime() const;
    void configure();
    void applyConditions();
    void act();
    void show(double noise);
    void show(Measurement &measurement, double value, double noise);
    void assign(Role role, double number);
    bool isNoisy() const { return m_load.noise != 0 && m_output.voltage() != 0; }
    double noise(Random &random) const;
    void noteTrips();

    ItemStore &m_items;
    const ItemId m_first;
    const ModelDescription &m_model;
    const Load m_load;
    std::array<std::optional<ItemId>, static_cast<size_t>(Role::Count_)> m_roles;
    Measurement m_voltage;
    Measurement m_current;
    double m_boardLimit = std::numeric_limits<double>::infinity();
    uint32_t m_ownConditions = 0;
    uint32_t m_boardConditions = 0;
    Output m_output;
    uint32_t m_knownTrips = 0;
    uint32_t m_tripCount = 0;
    bool m_settledShown = false;
};

} // namespace sim
