/// A value of a node with its quality and the time at which it was obtained.
#ifndef ZANTONODEVALUE_H
#define ZANTONODEVALUE_H

#include "ZANTOtypes.h"
#include "ZANTOvariant.h"

#include <ctime>

/// Plain value class: no lock, copied freely. Which part of the variant counts follows from
/// the owning node's data type.
class ZANTONodeValue {
public:
    /// 0, nodeValueQualityUninitialized, now.
    ZANTONodeValue();
    ZANTONodeValue(const variant &value, nodeValueQuality quality, time_t timestamp);

    void ZANTOSetValueData(const variant &value, nodeValueQuality quality, time_t timestamp);

    variant ZANTOGetValue() const;
    /// Leaves quality and timestamp as they are.
    void ZANTOSetValue(const variant &value);
    nodeValueQuality ZANTOGetQuality() const;
    void ZANTOSetQuality(nodeValueQuality quality);
    /// Seconds since the Unix epoch.
    time_t ZANTOGetTimestamp() const;
    void ZANTOSetTimestamp(time_t timestamp);

private:
    variant m_value;
    nodeValueQuality m_quality;
    time_t m_timestamp;
};

#endif
