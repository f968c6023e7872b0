// A named, typed property of a node.
#pragma once

#include "ZANTOclock.h"
#include "ZANTOnodevalue.h"
#include "ZANTOsharedtext.h"

#include <cstdint>
#include <ctime>
#include <string>

// Plain value class: no lock; the node that it is attached to owns and deletes it.
class ZANTONodeProperty {
public:
    ZANTONodeValue getPropVal() const;
    // Keeps the quality and the time of the given value.
    void setPropVal(const ZANTONodeValue &value);
    // Stamps the current time.
    void setPropVal(const variant &value, nodeValueQuality quality);
    // Declares the value good and stamps the current time.
    void setPropVal(const variant &value);

    std::string getPropName() const { return m_propName.get(); }
    // As getPropName, without a copy.
    ZANTOSharedText propName() const { return m_propName; }
    void setPropName(const std::string &name) { m_propName = ZANTOSharedText(name); }
    void setPropName(ZANTOSharedText name) { m_propName = name; }
    // -1: none.
    int32_t getHandle() const { return m_handle; }
    void setHandle(int32_t handle) { m_handle = handle; }
    nodeDataType getDataType() const { return m_propDataType; }
    void setDataType(nodeDataType dataType) { m_propDataType = dataType; }

private:
    // The parts of m_propVal. A label or a limit is the same in every channel.
    uint32_t m_number = 0;
    nodeValueQuality m_quality = nodeValueQualityUninitialized;
    time_t m_timestamp = ZANTONow();
    ZANTOSharedText m_text;

    ZANTOSharedText m_propName;
    int32_t m_handle = -1;
    nodeDataType m_propDataType = nodeDataTypeInt;
};
