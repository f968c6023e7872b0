#include "ZANTOnodevalue.h"

ZANTONodeValue::ZANTONodeValue()
    : m_quality(nodeValueQualityUninitialized), m_timestamp(std::time(nullptr))
{
}

ZANTONodeValue::ZANTONodeValue(const variant &value, nodeValueQuality quality, time_t timestamp)
    : m_value(value), m_quality(quality), m_timestamp(timestamp)
{
}

void ZANTONodeValue::ZANTOSetValueData(const variant &value, nodeValueQuality quality,
                                       time_t timestamp)
{
    m_value = value;
    m_quality = quality;
    m_timestamp = timestamp;
}

variant ZANTONodeValue::ZANTOGetValue() const { return m_value; }
void ZANTONodeValue::ZANTOSetValue(const variant &value) { m_value = value; }
nodeValueQuality ZANTONodeValue::ZANTOGetQuality() const { return m_quality; }
void ZANTONodeValue::ZANTOSetQuality(nodeValueQuality quality) { m_quality = quality; }
time_t ZANTONodeValue::ZANTOGetTimestamp() const { return m_timestamp; }
void ZANTONodeValue::ZANTOSetTimestamp(time_t timestamp) { m_timestamp = timestamp; }
