// How a measured value gets into its item: in steps of the item's resolution,
// with a deadband of one step, within the item's limits.
#pragma once

#include "items.h"

namespace sim {

class ReadBack {
public:
    // Of a parameter; the measured value comes in its unit without the exponent.
    ReadBack(ItemId id, const ParameterDescription &parameter);
    // Of a system property, in its own unit.
    ReadBack(ItemId id, const PropertyDescription &property, double resolution);

    // Shows the value once it is a whole step away from what is shown.
    void follow(ItemStore &items, double value) const;
    // Shows the value itself: it will stay.
    void settle(ItemStore &items, double value) const;

    // One step, in the unit of the value.
    double step() const { return m_factor / m_stepsPerUnit; }

private:
    ItemId m_id;
    Shape m_shape;
    double m_factor = 1;       // of the item's unit
    double m_stepsPerUnit = 1; // of the item's unit
    double m_minimum;
    double m_maximum;
};

} // namespace sim
