/// A named, typed property of a node.
#ifndef ZANTONODEPROPERTY_H
#define ZANTONODEPROPERTY_H

#include "ZANTOnodevalue.h"

#include <cstdint>
#include <string>

/// Plain value class: no lock; the node that it is attached to owns and deletes it.
class ZANTONodeProperty {
public:
    ZANTONodeProperty();

    ZANTONodeValue getPropVal() const;
    /// Keeps the quality and the time of the given value.
    void setPropVal(const ZANTONodeValue &value);
    /// Stamps the current time.
    void setPropVal(const variant &value, nodeValueQuality quality);
    /// Declares the value good and stamps the current time.
    void setPropVal(const variant &value);

    std::string getPropName() const;
    void setPropName(const std::string &name);
    /// -1: none.
    int32_t getHandle() const;
    void setHandle(int32_t handle);
    nodeDataType getDataType() const;
    void setDataType(nodeDataType dataType);

private:
    ZANTONodeValue m_propVal;
    std::string m_propName;
    int32_t m_handle;
    nodeDataType m_propDataType;
};

#endif
