// Builders of the tree's nodes from what the mainframe reports, and the lookup of an item.
#pragma once

#include "ZANTOnodeproperty.h"
#include "ZANTOnodevalue.h"
#include "ZANTOtypes.h"

#include <cstdint>
#include <string>
#include <vector>

class ZANTONode;

// Groups functions; no state. Each builder calls the access library and blocks as long as it
// does. Returned nodes and properties are new and pass to the caller, which attaches them; a
// level that cannot be read comes back empty and the build goes on.
class ZANTOConfig {
public:
    // ---- system ----

    // One node per system property but "ResFlag".
    static std::vector<ZANTONode *> ZANTOConfigCreateSystemProps(int32_t handle);
    static ZANTONode *ZANTOConfigCreateNodeSystemProp(int32_t handle, const std::string &name,
                                                      uint32_t type, uint32_t mode);
    static std::vector<ZANTONode *> ZANTOConfigCreateSystemExecComm(int32_t handle);
    static ZANTONode *ZANTOConfigCreateNodeSystemCmd(int32_t handle, const std::string &name);
    // "ConnStat", and "NrOfSlot" when connected. Without a handle.
    static std::vector<ZANTONode *> ZANTOConfigCreateSystemFurtherParams(connStatus status,
                                                                         uint16_t slotCount);

    // ---- boards ----

    // One node per slot in slot order, a nodeTypeEmptyNode for an empty slot. Throws
    // std::out_of_range when the library reports success with lists that are missing.
    static std::vector<ZANTONode *> ZANTOConfigCreateBoards(int32_t handle);
    // Without a handle.
    static ZANTONode *ZANTOConfigCreateNodeBoard(uint16_t slot, uint16_t channelCount,
                                                 const std::string &model,
                                                 const std::string &description,
                                                 uint16_t serialNumber,
                                                 const std::string &firmwareMinor,
                                                 const std::string &firmwareMajor);
    static std::vector<ZANTONodeProperty *> ZANTOConfigCreateBoardInfo(ZANTONode *board);
    // Asks again without a limit for a parameter whose type or mode cannot be read.
    static std::vector<ZANTONode *> ZANTOConfigCreateBoardParams(int32_t handle, uint16_t slot);

    // ---- channels ----

    static std::vector<ZANTONode *> ZANTOConfigCreateChannels(int32_t handle, uint16_t slot,
                                                              uint16_t channelCount);
    // The node's name is made from the index; `name`, the mainframe's, is not used.
    static ZANTONode *ZANTOConfigCreateNodeChannel(const std::string &name, uint16_t channel,
                                                   uint16_t slot);
    // "Name" first. Asks again without a limit like the board's. systemType is not used.
    static std::vector<ZANTONode *> ZANTOConfigCreateChannelParams(int32_t handle,
                                                                   int32_t systemType,
                                                                   uint16_t slot, uint16_t channel);
    // A board or channel parameter without value and handle.
    static ZANTONode *ZANTOConfigCreateNodeParam(nodeType kind, const std::string &name,
                                                 uint16_t slot, uint32_t type, uint32_t mode);

    // ---- properties of a parameter; one that cannot be read is left out ----

    static std::vector<ZANTONodeProperty *> ZANTOConfigCreateChannelParameterProperties(
        int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot,
        uint16_t channel);
    static std::vector<ZANTONodeProperty *> ZANTOConfigCreateBoardParameterProperties(
        int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot);
    static std::vector<ZANTONodeProperty *> ZANTOConfigCreateParameterProperties(
        nodeType kind, int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot,
        uint16_t channel);
    // 0 with quality Bad when the property is unknown or cannot be read.
    static ZANTONodeValue ZANTOConfigGetChannelPropertyValue(const std::string &propName,
                                                             int32_t handle,
                                                             const std::string &paramName,
                                                             uint16_t slot, uint16_t channel);
    static ZANTONodeValue ZANTOConfigGetBoardPropertyValue(const std::string &propName,
                                                           int32_t handle,
                                                           const std::string &paramName,
                                                           uint16_t slot);

    // ---- lookup ----

    // The parameter node that an event names, or null; the tree owns it. Negative indexes: an
    // item of the board, or of the system. Makes no library call.
    static ZANTONode *ZANTOConfigGetNodeFromItemId(ZANTONode *root, const std::string &itemId,
                                                   int32_t board, int32_t channel);
};
