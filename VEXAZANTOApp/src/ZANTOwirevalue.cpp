#include "ZANTOwirevalue.h"

#include <algorithm>
#include <iterator>

namespace {

using Wire = ZANTOWire;

constexpr Wire sysPropRead[] = {Wire::text, Wire::real, Wire::u16, Wire::u32,
                                Wire::s16,  Wire::s32,  Wire::s16};
constexpr Wire sysPropWrite[] = {Wire::text, Wire::real, Wire::u16, Wire::u32,
                                 Wire::s16,  Wire::s16,  Wire::s16};
constexpr Wire parameter[] = {Wire::real, Wire::u32,  Wire::s32, Wire::s32,
                              Wire::s32,  Wire::none, Wire::s32};

template <size_t n> Wire wireOf(const Wire (&table)[n], uint32_t type)
{
    return type < n ? table[type] : Wire::none;
}

} // namespace

ZANTOWire ZANTOPropertyReadWire(uint32_t type) { return wireOf(sysPropRead, type); }
ZANTOWire ZANTOPropertyWriteWire(uint32_t type) { return wireOf(sysPropWrite, type); }
ZANTOWire ZANTOParameterWire(uint32_t type) { return wireOf(parameter, type); }

std::optional<uint32_t> ZANTOParameterTypeOfProperty(uint32_t type)
{
    static constexpr uint32_t types[] = {
        VEXAHV_PARAM_STRING,  VEXAHV_PARAM_NUMERIC, VEXAHV_PARAM_NUMERIC, VEXAHV_PARAM_NUMERIC,
        VEXAHV_PARAM_NUMERIC, VEXAHV_PARAM_NUMERIC, VEXAHV_PARAM_ONOFF};
    if (type >= std::size(types))
        return std::nullopt;
    return types[type];
}

variant ZANTOValueBuffer::decode(ZANTOWire wire) const
{
    variant value;
    switch (wire) {
    case Wire::text: value.setValue(static_cast<const char *>(m_bytes)); break;
    case Wire::real: value.setValue(as<float>()); break;
    case Wire::u16: value.setValue(as<uint16_t>()); break;
    case Wire::u32: value.setValue(as<uint32_t>()); break;
    case Wire::s16: value.setValue(as<int16_t>()); break;
    case Wire::s32: value.setValue(as<int32_t>()); break;
    case Wire::none: break;
    }
    return value;
}

void ZANTOValueBuffer::encode(ZANTOWire wire, const variant &value)
{
    switch (wire) {
    case Wire::text: putText(value.toString()); break;
    case Wire::real: put(value.toFloat()); break;
    case Wire::u16: put(static_cast<uint16_t>(value.toUInt())); break;
    case Wire::u32: put(value.toUInt()); break;
    case Wire::s16: put(static_cast<int16_t>(value.toInt())); break;
    case Wire::s32: put(value.toInt()); break;
    case Wire::none: break;
    }
}

void ZANTOValueBuffer::putText(const std::string &text)
{
    std::memcpy(m_bytes, text.data(), std::min<size_t>(text.size(), VEXAHV_TEXT_SIZE - 1));
}

bool ZANTODecodeEvent(nodeDataType dataType, const IDValue_t &item, variant &value)
{
    switch (dataType) {
    case nodeDataTypeInt:
    case nodeDataTypeLong: value.setValue(item.IntValue); return true;
    case nodeDataTypeShort: value.setValue(static_cast<int16_t>(item.IntValue)); return true;
    case nodeDataTypeUInt:
    case nodeDataTypeULong: value.setValue(static_cast<uint32_t>(item.IntValue)); return true;
    case nodeDataTypeUShort: value.setValue(static_cast<uint16_t>(item.IntValue)); return true;
    case nodeDataTypeFloat: value.setValue(item.FloatValue); return true;
    case nodeDataTypeString:
        value.setValue(
            std::string(item.StringValue, strnlen(item.StringValue, sizeof(item.StringValue))));
        return true;
    case nodeDataTypeBool: value.setValue(item.IntValue != 0); return true;
    // An enumeration's index is carried as a float.
    case nodeDataTypeEnum: value.setValue(static_cast<float>(item.IntValue)); return true;
    }
    return false;
}
