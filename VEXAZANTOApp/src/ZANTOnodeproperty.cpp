#include "ZANTOnodeproperty.h"

ZANTONodeProperty::ZANTONodeProperty() : m_handle(-1), m_propDataType(nodeDataTypeInt) {}

ZANTONodeValue ZANTONodeProperty::getPropVal() const { return m_propVal; }

void ZANTONodeProperty::setPropVal(const ZANTONodeValue &value) { m_propVal = value; }

void ZANTONodeProperty::setPropVal(const variant &value, nodeValueQuality quality)
{
    m_propVal.ZANTOSetValueData(value, quality, std::time(nullptr));
}

void ZANTONodeProperty::setPropVal(const variant &value)
{
    setPropVal(value, nodeValueQualityGood);
}

std::string ZANTONodeProperty::getPropName() const { return m_propName; }
void ZANTONodeProperty::setPropName(const std::string &name) { m_propName = name; }
int32_t ZANTONodeProperty::getHandle() const { return m_handle; }
void ZANTONodeProperty::setHandle(int32_t handle) { m_handle = handle; }
nodeDataType ZANTONodeProperty::getDataType() const { return m_propDataType; }
void ZANTONodeProperty::setDataType(nodeDataType dataType) { m_propDataType = dataType; }
