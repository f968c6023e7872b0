// A value of a node with its quality and the time at which it was obtained.
#pragma once

#include "ZANTOclock.h"
#include "ZANTOtypes.h"
#include "ZANTOvariant.h"

#include <ctime>
#include <string>
#include <utility>

// Plain value class: no lock, copied freely. Which part of the variant counts follows from
// the owning node's data type.
class ZANTONodeValue {
public:
    // 0, nodeValueQualityUninitialized, now.
    ZANTONodeValue() : m_quality(nodeValueQualityUninitialized), m_timestamp(ZANTONow()) {}
    ZANTONodeValue(variant value, nodeValueQuality quality, time_t timestamp)
        : m_value(std::move(value)), m_quality(quality), m_timestamp(timestamp)
    {
    }

    void ZANTOSetValueData(const variant &value, nodeValueQuality quality, time_t timestamp)
    {
        m_value = value;
        m_quality = quality;
        m_timestamp = timestamp;
    }

    variant ZANTOGetValue() const { return m_value; }
    // As ZANTOGetValue, without a copy; valid as long as the value is and does not change.
    const variant &ZANTOData() const { return m_value; }
    // Leaves the value without a text.
    std::string ZANTOTakeText() { return m_value.takeText(); }
    // Leaves quality and timestamp as they are.
    void ZANTOSetValue(const variant &value) { m_value = value; }
    nodeValueQuality ZANTOGetQuality() const { return m_quality; }
    void ZANTOSetQuality(nodeValueQuality quality) { m_quality = quality; }
    // Seconds since the Unix epoch.
    time_t ZANTOGetTimestamp() const { return m_timestamp; }
    void ZANTOSetTimestamp(time_t timestamp) { m_timestamp = timestamp; }

private:
    variant m_value;
    nodeValueQuality m_quality;
    time_t m_timestamp;
};
