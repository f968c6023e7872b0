// Reading of the parameters of a board or channel.
#pragma once

#include "ZANTOnodeowner.h"
#include "ZANTOnodevalue.h"
#include "ZANTOtypes.h"

#include <cstdint>
#include <string>
#include <vector>

// One board or channel, and the calls that read its parameters.
class ZANTOParameterSource {
public:
    virtual ~ZANTOParameterSource() = default;
    virtual nodeType kind() const = 0;
    virtual uint16_t slot() const = 0;
    // False when the library does not answer; `value` is shaped by the property.
    virtual bool property(const char *name, const char *property, void *value) const = 0;
    virtual ZANTONodeValue read(const std::string &name, uint32_t type) const = 0;
    virtual void traceUnreadable(const char *name) const = 0;
};

class ZANTOBoardSource : public ZANTOParameterSource {
public:
    ZANTOBoardSource(int32_t handle, uint16_t slot) : m_handle(handle), m_slot(slot) {}
    nodeType kind() const override { return nodeTypeBoardParam; }
    uint16_t slot() const override { return m_slot; }
    bool property(const char *name, const char *property, void *value) const override;
    ZANTONodeValue read(const std::string &name, uint32_t type) const override;
    void traceUnreadable(const char *name) const override;

private:
    int32_t m_handle;
    uint16_t m_slot;
};

class ZANTOChannelSource : public ZANTOParameterSource {
public:
    ZANTOChannelSource(int32_t handle, uint16_t slot, uint16_t channel)
        : m_handle(handle), m_slot(slot), m_channel(channel)
    {
    }
    nodeType kind() const override { return nodeTypeChannelParam; }
    uint16_t slot() const override { return m_slot; }
    bool property(const char *name, const char *property, void *value) const override;
    ZANTONodeValue read(const std::string &name, uint32_t type) const override;
    void traceUnreadable(const char *name) const override;

private:
    int32_t m_handle;
    uint16_t m_slot;
    uint16_t m_channel;
};

// A board or channel parameter without value and handle.
ZANTONodeOwner ZANTOMakeParameter(nodeType kind, const std::string &name, uint16_t slot,
                                  uint32_t type, uint32_t mode);

// Appends one node per name of the library's table, in its order; a null table has none. Asks
// without a limit for a parameter whose type or mode cannot be read.
void ZANTOReadParameters(const ZANTOParameterSource &source, int32_t handle, const char *table,
                         std::vector<ZANTONodeOwner> &nodes);
