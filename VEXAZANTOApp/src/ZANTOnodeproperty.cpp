#include "ZANTOnodeproperty.h"

#include "ZANTOclock.h"

ZANTONodeValue ZANTONodeProperty::getPropVal() const
{
    variant value;
    value.setValue(m_number);
    value.setValue(m_text.get());
    return ZANTONodeValue(value, m_quality, m_timestamp);
}

void ZANTONodeProperty::setPropVal(const ZANTONodeValue &value)
{
    m_number = value.ZANTOData().toUInt();
    m_text = ZANTOSharedText(value.ZANTOData().text());
    m_quality = value.ZANTOGetQuality();
    m_timestamp = value.ZANTOGetTimestamp();
}

void ZANTONodeProperty::setPropVal(const variant &value, nodeValueQuality quality)
{
    setPropVal(ZANTONodeValue(value, quality, ZANTONow()));
}

void ZANTONodeProperty::setPropVal(const variant &value)
{
    setPropVal(value, nodeValueQualityGood);
}
