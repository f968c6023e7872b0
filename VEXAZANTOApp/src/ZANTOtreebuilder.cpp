#include "ZANTOtreebuilder.h"

#include "ZANTOclock.h"
#include "ZANTOconfig.h"
#include "ZANTOnode.h"
#include "ZANTOnodeowner.h"
#include "ZANTOnumeric.h"
#include "ZANTOprogress.h"
#include "ZANTOrecordfiles.h"
#include "ZANTOtypes.h"
#include "ZANTOutils.h"
#include "vexahvwrapper.h"

#include <unistd.h>

#include <string>
#include <string_view>

namespace {

// System types of the two crate families.
constexpr int32_t largeCrate = 2;
constexpr int32_t smallCrate = 3;
constexpr size_t largeCrateSlots = 7;

using Nodes = ZANTOAdopted<ZANTONode>;
using Properties = ZANTOAdopted<ZANTONodeProperty>;

struct Unit {
    std::string prefix;
    std::string name;
};

// What a property says about the display of its parameter. Board parameters show no decimals;
// channel parameters do.
void display(const ZANTONodeProperty &property, ZANTONode &parameter, Unit &unit)
{
    const std::string_view name = property.propName().get();
    const ZANTONodeValue held = property.getPropVal();
    const variant &value = held.ZANTOData();
    if (name == VEXAHV_PROP_UNIT)
        unit.name = ZANTOUtils::ZANTOConvertPropertyUnit(static_cast<uint16_t>(value.toUInt()));
    else if (name == VEXAHV_PROP_EXP)
        unit.prefix = ZANTOUtils::ZANTOConvertPropertyExp(static_cast<int16_t>(value.toInt()));
    else if (name == VEXAHV_PROP_MINVAL)
        parameter.setMinVal(value.toFloat());
    else if (name == VEXAHV_PROP_MAXVAL) // whole numbers only
        parameter.setMaxVal(ZANTOTruncate<int32_t>(static_cast<double>(value.toFloat())));
    else if (name == VEXAHV_PROP_ONSTATE)
        parameter.setOnString(value.toString());
    else if (name == VEXAHV_PROP_OFFSTATE)
        parameter.setOffString(value.toString());
    else if (name == VEXAHV_PROP_DECIMAL && parameter.getNodeType() == nodeTypeChannelParam)
        parameter.setNodeDecimals(value.toShort());
}

// Builds the tree under a root that systemNode names already, and gathers the texts of each
// node as soon as it is complete. For the main thread.
class TreeBuilder {
public:
    TreeBuilder(ZANTONode &root, ZANTORecordFiles &files)
        : m_root(root), m_handle(root.getSysHandle()), m_crateName(root.nodeName()),
          m_host(root.getInitParam()), m_files(files)
    {
    }

    void build()
    {
        addCommands();
        addProperties();
        addBoards();
        addFurtherParams();
    }

private:
    void addCommands()
    {
        Nodes commands(ZANTOConfig::ZANTOConfigCreateSystemExecComm(m_handle));
        for (size_t i = 0; i < commands.size(); ++i)
            addWithRecords(commands, i);
    }

    void addProperties()
    {
        Nodes properties(ZANTOConfig::ZANTOConfigCreateSystemProps(m_handle));
        for (size_t i = 0; i < properties.size(); ++i) {
            ZANTONode &property = properties[i];
            if (property.nodeName().get() == "IPAddr") {
                variant address;
                address.setValue(m_host);
                property.setNodeValue(ZANTONodeValue(address, nodeValueQualityGood, ZANTONow()));
            }
            addWithRecords(properties, i);
        }
    }

    void addWithRecords(Nodes &nodes, size_t i)
    {
        ZANTONode &node = nodes[i];
        node.setPlaceNames(m_crateName, ZANTOSharedText(), ZANTOSharedText());
        m_root.addParameter(&node);
        nodes.release(i);
        m_files.add(node, -1, -1);
    }

    void addBoards()
    {
        Nodes boards(ZANTOConfig::ZANTOConfigCreateBoards(m_handle));
        m_root.setSlotCount(static_cast<uint16_t>(boards.size()));
        m_systemType = boards.size() < largeCrateSlots ? smallCrate : largeCrate;
        m_root.setSystemType(m_systemType);
        for (size_t position = 0; position < boards.size(); ++position)
            m_progress.expectChannels(boards[position].getBdChCount());
        for (size_t position = 0; position < boards.size(); ++position) {
            ZANTONode &board = boards[position];
            m_root.addChildNode(&board);
            boards.release(position);
            board.setPlaceNames(m_crateName, ZANTOSharedText(), ZANTOSharedText());
            if (board.getNodeType() != nodeTypeEmptyNode)
                fillBoard(board, static_cast<int32_t>(position));
        }
    }

    void fillBoard(ZANTONode &board, int32_t position)
    {
        Properties infos(ZANTOConfig::ZANTOConfigCreateBoardInfo(&board));
        for (size_t i = 0; i < infos.size(); ++i) {
            board.addProperty(&infos[i]);
            infos.release(i);
        }
        addBoardParameters(board, position);
        addChannels(board, position);
    }

    void addBoardParameters(ZANTONode &board, int32_t position)
    {
        const uint16_t slot = board.getBdSlotNr();
        m_progress.moveTo(slot);
        Nodes parameters(ZANTOConfig::ZANTOConfigCreateBoardParams(m_handle, slot));
        for (size_t i = 0; i < parameters.size(); ++i) {
            ZANTONode &parameter = parameters[i];
            parameter.setPlaceNames(m_crateName, board.nodeName(), ZANTOSharedText());
            addParameterProperties(
                parameter,
                Properties(ZANTOConfig::ZANTOConfigCreateBoardParameterProperties(
                    m_handle, parameter.nodeName().get(), parameter.getParWrapperType(), slot)));
            board.addParameter(&parameter);
            parameters.release(i);
            m_files.add(parameter, position, -1);
            m_progress.parameterRead();
        }
    }

    void addChannels(ZANTONode &board, int32_t boardPosition)
    {
        Nodes channels(ZANTOConfig::ZANTOConfigCreateChannels(m_handle, board.getBdSlotNr(),
                                                              board.getBdChCount()));
        for (size_t position = 0; position < channels.size(); ++position) {
            ZANTONode &channel = channels[position];
            channel.setPlaceNames(m_crateName, board.nodeName(), ZANTOSharedText());
            board.addChildNode(&channel);
            channels.release(position);
            fillChannel(board, channel, boardPosition, static_cast<int32_t>(position));
        }
    }

    void fillChannel(const ZANTONode &board, ZANTONode &channel, int32_t boardPosition,
                     int32_t channelPosition)
    {
        const uint16_t slot = board.getBdSlotNr();
        const uint16_t index = channel.getChIdx();
        m_progress.moveTo(slot, index);
        Nodes parameters(
            ZANTOConfig::ZANTOConfigCreateChannelParams(m_handle, m_systemType, slot, index));
        for (size_t i = 0; i < parameters.size(); ++i) {
            ZANTONode &parameter = parameters[i];
            parameter.setPlaceNames(m_crateName, board.nodeName(), channel.nodeName());
            parameter.setChIdx(index);
            channel.addParameter(&parameter);
            parameters.release(i);
            addParameterProperties(
                parameter, Properties(ZANTOConfig::ZANTOConfigCreateChannelParameterProperties(
                               m_handle, parameter.nodeName().get(), parameter.getParWrapperType(),
                               slot, index)));
            m_files.add(parameter, boardPosition, channelPosition);
            m_progress.parameterRead();
        }
        m_progress.channelRead();
    }

    static void addParameterProperties(ZANTONode &parameter, Properties &&properties)
    {
        Unit unit;
        parameter.reserveProperties(properties.size());
        for (size_t i = 0; i < properties.size(); ++i) {
            display(properties[i], parameter, unit);
            parameter.addProperty(&properties[i]);
            properties.release(i);
        }
        parameter.setExpUnit(unit.prefix + unit.name);
    }

    void addFurtherParams()
    {
        Nodes parameters(ZANTOConfig::ZANTOConfigCreateSystemFurtherParams(
            m_root.getConnectionStatus(), m_root.getSlotCount()));
        for (size_t i = 0; i < parameters.size(); ++i) {
            parameters[i].setSysHandle(m_handle);
            m_root.addParameter(&parameters[i]);
            parameters.release(i);
        }
    }

    ZANTONode &m_root;
    const int32_t m_handle;
    const ZANTOSharedText m_crateName;
    const std::string m_host;
    ZANTORecordFiles &m_files;
    ZANTOReadingProgress m_progress{STDERR_FILENO};
    int32_t m_systemType = largeCrate;
};

} // namespace

void ZANTOBuildTree(ZANTONode &root, ZANTOOutputFile &database, ZANTOOutputFile &pvList)
{
    ZANTORecordFiles files;
    TreeBuilder(root, files).build();
    files.write(database, pvList);
}
