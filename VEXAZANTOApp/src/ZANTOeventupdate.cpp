#include "ZANTOeventupdate.h"

#include "ZANTOlookup.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOtreeuse.h"
#include "ZANTOtypes.h"
#include "ZANTOutils.h"
#include "ZANTOwirevalue.h"

#include <utility>

namespace {

// The code space of system property types mapped into that of parameters.
int32_t parameterTypeOf(uint32_t wrapperType, nodeType type)
{
    const auto code = type == nodeTypeSystemProp
                          ? ZANTOParameterTypeOfProperty(wrapperType).value_or(wrapperType)
                          : wrapperType;
    return static_cast<int32_t>(code);
}

void traceUpdate(const char *itemName, nodeDataType dataType, const variant &value)
{
    if (dataType == nodeDataTypeString)
        ZANTO_TRACE(9, "Item [%s] updated - val = %s\n", itemName, value.toString().c_str());
    else // whatever the type, as the float that the bits make
        ZANTO_TRACE(9, "Item [%s] updated - val = %lf \n", itemName,
                    static_cast<double>(value.toFloat()));
}

} // namespace

int32_t ZANTOUpdateItem(int32_t boardIndex, int32_t channelIndex, const char *itemName,
                        const IDValue_t &value, uint64_t connection, ZANTOEventTarget *target)
{
    const ZANTOTreeUse use;
    ZANTONode *root = use.root();
    if (root == nullptr) {
        ZANTO_TRACE(7, "\nError finding tree while updating item [%s]\n", itemName);
        return -1;
    }
    ZANTOEventTarget unasked;
    ZANTOEventTarget &reached = target != nullptr ? *target : unasked;
    ZANTONode *node = reached.node != nullptr
                          ? reached.node
                          : ZANTOFindItemNode(root, itemName, boardIndex, channelIndex);
    if (node == nullptr) {
        ZANTO_TRACE(7, "\nError updating item [%s]\n", itemName);
        return -1;
    }
    ZANTONodeValue newValue = ZANTOUtils::ZANTOCreateValueFromNodeTypeAndEventType(node, value);
    const variant traced = DEBUG > 9 ? newValue.ZANTOGetValue() : variant();
    node->updateValue(std::move(newValue), connection);
    reached = {node, systemNode.generation()};
    // Printing may block on a terminal that is stopped, so it holds no lock.
    traceUpdate(itemName, node->getDataType(), traced);
    return parameterTypeOf(node->getParWrapperType(), node->getNodeType());
}
