#include "ZANTOparameterreader.h"

#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOstartupcall.h"
#include "ZANTOutils.h"
#include "vexahvwrapper.h"

#include <chrono>
#include <cstddef>
#include <cstring>

bool ZANTOBoardSource::property(const char *name, const char *property, void *value) const
{
    return ZANTOStartupCall(
               [&] { return VEXAHV_GetBdParamProp(m_handle, m_slot, name, property, value); }) == 0;
}

ZANTONodeValue ZANTOBoardSource::read(const std::string &name, uint32_t type) const
{
    return ZANTOUtils::ZANTOGetBoardParameterChanged(m_handle, m_slot, name, type);
}

void ZANTOBoardSource::traceUnreadable(const char *name) const
{
    ZANTO_TRACE(0, "Error fetching [%d:%s] properties\n", m_slot, name);
}

bool ZANTOChannelSource::property(const char *name, const char *property, void *value) const
{
    return ZANTOStartupCall([&] {
               return VEXAHV_GetChParamProp(m_handle, m_slot, m_channel, name, property, value);
           }) == 0;
}

ZANTONodeValue ZANTOChannelSource::read(const std::string &name, uint32_t type) const
{
    return ZANTOUtils::ZANTOGetChannelParameterChanged(m_handle, m_slot, name, m_channel, type);
}

void ZANTOChannelSource::traceUnreadable(const char *name) const
{
    ZANTO_TRACE(0, "Error fetching [%d:%d:%s] properties\n", m_slot, m_channel, name);
}

namespace {

// Times that an unreadable parameter is asked for again at once; from then on with a pause, so
// that a mainframe that is in trouble is not flooded. Hundreds of retries may not delay the start.
constexpr int32_t promptRetries = 3;
constexpr std::chrono::milliseconds retryPause{5};

// Asks until both are answered: a parameter that was left out would have no record for the
// life of the process.
void fetchTypeAndMode(const ZANTOParameterSource &source, const char *name, uint32_t &type,
                      uint32_t &mode)
{
    for (int32_t attempt = 0;; ++attempt) {
        const bool haveType = source.property(name, VEXAHV_PROP_TYPE, &type);
        const bool haveMode = source.property(name, VEXAHV_PROP_MODE, &mode);
        if (haveType && haveMode)
            return;
        source.traceUnreadable(name);
        if (attempt >= promptRetries)
            ZANTOStartupPause(retryPause);
    }
}

std::size_t countNames(const char *table)
{
    std::size_t count = 0;
    while (table != nullptr && table[count * VEXAHV_PARAM_NAME_SLOT] != '\0')
        ++count;
    return count;
}

} // namespace

ZANTONodeOwner ZANTOMakeParameter(nodeType kind, const std::string &name, uint16_t slot,
                                  uint32_t type, uint32_t mode)
{
    static constexpr nodeDataType dataTypes[] = {
        nodeDataTypeFloat, nodeDataTypeBool,   nodeDataTypeInt, nodeDataTypeInt,
        nodeDataTypeInt,   nodeDataTypeString, nodeDataTypeEnum};
    ZANTONodeOwner node = ZANTOMakeNodeByCodes(name, kind, dataTypes, type, mode);
    node->setBdSlotNr(slot);
    return node;
}

void ZANTOReadParameters(const ZANTOParameterSource &source, int32_t handle, const char *table,
                         std::vector<ZANTONodeOwner> &nodes)
{
    nodes.reserve(nodes.size() + countNames(table));
    for (; table != nullptr && *table != '\0'; table += VEXAHV_PARAM_NAME_SLOT) {
        const std::string name(table, strnlen(table, VEXAHV_PARAM_NAME_SLOT));
        uint32_t type = 0;
        uint32_t mode = 0;
        fetchTypeAndMode(source, name.c_str(), type, mode);
        nodes.push_back(ZANTOMakeParameter(source.kind(), name, source.slot(), type, mode));
        nodes.back()->setSysHandle(handle);
        nodes.back()->setNodeValue(source.read(name, type));
    }
}
