// Codes to texts, reads and writes of single items, and the texts and names of records.
#pragma once

#include "ZANTOnodevalue.h"
#include "ZANTOtypes.h"
#include "vexahvwrapper.h"

#include <cstdint>
#include <string>
#include <vector>

class ZANTONode;

// Groups functions; holds no state but the crate's name. All are safe to call from any thread.
class ZANTOUtils {
public:
    ZANTOUtils() = default;

    // The crate's name, written once by the tree build before other threads read it. Never
    // destroyed: records may still process while the process exits.
    static std::string &SysName;

    // ---- codes of the access library to texts; an unknown code gives the fallback text ----

    static std::string ZANTOConvertPropertyUnit(uint16_t value);
    static std::string ZANTOConvertPropertyUnitShortForm(uint16_t value);
    static std::string ZANTOConvertPropertyExp(int16_t value);
    // One blank for an exponent without a prefix, so that the column stays.
    static std::string ZANTOConvertPropertyExpShortForm(int16_t value);
    static std::string ZANTOConvertParamTypeOnOff(uint32_t value);
    static std::string ZANTOSelectConnectionStatus(connStatus status);
    // The text of the most important bit that is set. The power-supply type is ignored: the
    // bits mean the same for every type.
    static std::string ZANTOConvertChannelStatus(int32_t psType, int32_t status);
    // True when the channel shows no fault.
    static bool ZANTOCheckChStatusValue(int32_t psType, int32_t status);
    static std::string ZANTOConvertBoardStatus(int32_t status);
    static nodeDataType ZANTOSelectPropertyDataType(const std::string &propNm);
    // `maxIter` texts that lie one after another in *ppSource, each ended by a NUL. The caller
    // keeps the buffer.
    static std::vector<std::string> ZANTOCreateStringVectorFromCharSS(char **ppSource,
                                                                      int32_t maxIter);
    // One text of at least two digits per byte. The caller keeps the array.
    static std::vector<std::string> ZANTOCreateStringVectorForFwRel(uint8_t **ppSource,
                                                                    int32_t maxIter);

    // ---- single items of the mainframe; each call blocks as long as the access library ----
    // A getter stamps the time of the call; a failed read gives a substitute value with quality
    // Bad (or Unknown). A setter returns 0, the library's error code, or -1 for a type code
    // that cannot be written.

    static ZANTONodeValue ZANTOGetSystemPropertyChanged(int32_t handle, const std::string &name,
                                                        uint32_t type);
    static int32_t ZANTOSetSystemPropertyChanged(int32_t handle, const std::string &name,
                                                 uint32_t type, const variant &value);
    static ZANTONodeValue ZANTOGetBoardParameterChanged(int32_t handle, uint16_t slot,
                                                        const std::string &name, uint32_t type);
    static int32_t ZANTOSetBoardParameterChanged(int32_t handle, uint16_t slot,
                                                 const std::string &name, uint32_t type,
                                                 const variant &value);
    static ZANTONodeValue ZANTOGetChannelParameterChanged(int32_t handle, uint16_t slot,
                                                          const std::string &name, uint16_t channel,
                                                          uint32_t type);
    static int32_t ZANTOSetChannelParameterChanged(int32_t handle, uint16_t slot,
                                                   const std::string &name, uint16_t channel,
                                                   uint32_t type, const variant &value);
    static int32_t ZANTOExeSystemCommandChanged(int32_t handle, const std::string &name);
    // 0, Good, now: the value of a node that has nothing to read.
    static ZANTONodeValue ZANTOGetDummyChanged();

    // ---- values from events ----

    // The event's value by the node's data type, Good, now. A null node gives the default value.
    static ZANTONodeValue ZANTOCreateValueFromNodeTypeAndEventType(ZANTONode *element,
                                                                   const IDValue_t &recvItemVal);
    static std::string ZANTOConvertPropertyStringFromBool(ZANTONode *node, bool newVal);
    // Compares with the first of the two labels alone, the on-state in every built tree.
    static bool ZANTOConvertPropertyBoolFromString(ZANTONode *node, const std::string &str);

    // ---- records ----

    // The node that the record of this name serves, or null. The tree owns it.
    static ZANTONode *getNodeFromEpicsId(const char *id);
    // The records of a node, or an empty text if it gets none. bdIdx and chIdx are the
    // positions in the tree, -1 where they do not apply.
    static std::string ZANTOCreateStringForDbRecord(ZANTONode *node, int32_t bdIdx, int32_t chIdx);
    // The node's line in the list of process variables, or an empty text.
    static std::string ZANTOCreateStringForItemExporting(ZANTONode *node, int32_t bdIdx,
                                                         int32_t chIdx);
};
