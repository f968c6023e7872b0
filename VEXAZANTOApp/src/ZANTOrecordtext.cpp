#include "ZANTOrecordtext.h"

#include "ZANTOdbtext.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOtypes.h"
#include "vexahvwrapper.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace {

/// The parts in which records differ, by kind of value.
struct RecordKind {
    const char *prefix;
    const char *input;
    const char *output;
    const char *suffix;
};

// By parameter type code. Status words are analog records; enumerations get none.
constexpr RecordKind recordKinds[] = {
    {"a", "i", "o", ""},           // numeric
    {"b", "i", "o", ""},           // on/off
    {"a", "i", "o", ""},           // channel status
    {"a", "i", "o", ""},           // board status
    {"mbb", "i", "o", "Direct"},   // bit pattern
    {"string", "in", "out", ""},   // string
};
constexpr uint32_t recordKindCount = sizeof(recordKinds) / sizeof(recordKinds[0]);

/// What a record of a node is called and made of.
struct RecordPlan {
    std::string shortName;
    std::string recordName;
    uint32_t kind = recordKindCount;
    nodeAccessRights access = nodeAccessNone;
    bool onBoard = false;
    bool onChannel = false;

    bool readWrite() const { return access == nodeAccessReadWrite; }
    std::string inputType() const { return type(recordKinds[kind].input); }
    std::string outputType() const { return type(recordKinds[kind].output); }
    std::string mainType() const
    {
        return access == nodeAccessRead ? inputType() : outputType();
    }

private:
    std::string type(const char *direction) const
    {
        return std::string(recordKinds[kind].prefix) + direction + recordKinds[kind].suffix;
    }
};

enum class PlanResult { ok, noNodeType, noSystemType, noAccess, noKind, noName };

std::string padded(const char *format, int32_t number)
{
    char text[16];
    std::snprintf(text, sizeof(text), format, number);
    return text;
}

// False for a node type that has no records.
bool planName(const ZANTONode &node, int32_t bdIdx, int32_t chIdx, RecordPlan &plan)
{
    const nodeType type = node.getNodeType();
    plan.onChannel = type == nodeTypeChannelParam;
    plan.onBoard = plan.onChannel || type == nodeTypeBoardParam;
    if (!plan.onBoard && type != nodeTypeSystemProp && type != nodeTypeSystemCmd)
        return false;
    plan.recordName = node.getSysName() + ":";
    if (plan.onBoard)
        plan.recordName += padded("%02d", bdIdx) + ":";
    if (plan.onChannel)
        plan.recordName += padded("%03d", chIdx) + ":";
    plan.recordName += plan.shortName;
    return true;
}

// The parameter type code that has the records of a system property type: text, five numeric
// types, boolean. Other codes give one that has none.
uint32_t kindOfSystemProperty(uint32_t type)
{
    static constexpr uint32_t kinds[] = {VEXAHV_PARAM_STRING,  VEXAHV_PARAM_NUMERIC,
                                         VEXAHV_PARAM_NUMERIC, VEXAHV_PARAM_NUMERIC,
                                         VEXAHV_PARAM_NUMERIC, VEXAHV_PARAM_NUMERIC,
                                         VEXAHV_PARAM_ONOFF};
    return type < sizeof(kinds) / sizeof(kinds[0]) ? kinds[type] : recordKindCount;
}

PlanResult planRecord(const ZANTONode &node, int32_t bdIdx, int32_t chIdx, RecordPlan &plan)
{
    plan.shortName = ZANTOShortName(node.getNodeName());
    if (!planName(node, bdIdx, chIdx, plan))
        return PlanResult::noNodeType;
    plan.kind = node.getParWrapperType();
    if (node.getNodeType() == nodeTypeSystemProp) {
        plan.kind = kindOfSystemProperty(plan.kind);
        if (plan.kind >= recordKindCount)
            return PlanResult::noSystemType;
    }
    plan.access = node.getAccessRights();
    if (plan.access != nodeAccessRead && plan.access != nodeAccessWrite && !plan.readWrite())
        return PlanResult::noAccess;
    if (plan.kind >= recordKindCount)
        return PlanResult::noKind;
    const std::string longest = plan.recordName + (plan.readWrite() ? ":Sync" : "");
    return ZANTOIsRecordName(longest) ? PlanResult::ok : PlanResult::noName;
}

void reportUnplanned(PlanResult result, const std::string &shortName, const char *output)
{
    if (DEBUG < 1)
        return;
    if (result == PlanResult::noNodeType)
        ZANTOPrint("Error finding type while creating string for [%s] %s\n", shortName.c_str(),
                    output);
    else if (result == PlanResult::noSystemType)
        ZANTOPrint("Error finding system type while creating string for [%s] %s\n",
                    shortName.c_str(), output);
}

// `value` is the text as it is to appear between the quotes.
std::string field(const char *nameAndComma, const std::string &value)
{
    return std::string("\tfield( ") + nameAndComma + " \"" + value + "\")\n";
}

std::string upperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string sixDecimals(float value)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%f", static_cast<double>(value));
    return text;
}

std::string numericFields(const ZANTONode &node)
{
    std::string text;
    if (!node.getExpUnit().empty())
        text += field("EGU ,", ZANTODbValue(node.getExpUnit()));
    if (node.getNodeDecimals() > 0)
        text += field("PREC ,", padded("%d", node.getNodeDecimals()));
    if (node.getMaxVal() != node.getMinVal()) {
        text += field("HOPR ,", sixDecimals(node.getMaxVal()));
        text += field("LOPR ,", sixDecimals(node.getMinVal()));
    }
    return text;
}

std::string stateFields(const ZANTONode &node)
{
    return field("ZNAM ,", ZANTODbValue(node.getOffString())) +
           field("ONAM ,", ZANTODbValue(node.getOnString()));
}

std::string deviceField() { return field("DTYP,", "VEXA ZANTO Item"); }

std::string linkFields(const RecordPlan &plan)
{
    const std::string &name = plan.recordName;
    switch (plan.access) {
    case nodeAccessRead:
        return field("INP,", "@" + name) + field("PINI,", "YES") + field("SCAN,", "I/O Intr");
    case nodeAccessReadWrite:
        return field("SDIS,", name + ":Sync.PACT") + field("OUT,", "@" + upperCase(name));
    default:
        return field("OUT,", "@" + name);
    }
}

std::string mainRecord(const ZANTONode &node, const RecordPlan &plan)
{
    std::string text = "record( " + plan.mainType() + ", \"" + plan.recordName + "\")\n{\n";
    if (plan.kind == VEXAHV_PARAM_NUMERIC)
        text += numericFields(node);
    if (plan.kind == VEXAHV_PARAM_ONOFF)
        text += stateFields(node);
    text += field("DESC,", ZANTODbValue(node.getNodeName()));
    return text + deviceField() + linkFields(plan) + "}\n";
}

std::string readBackRecord(const RecordPlan &plan)
{
    const std::string &name = plan.recordName;
    return "record( " + plan.inputType() + ", \"" + name + ":RBV\")\n{\n" + deviceField() +
           field("INP, ", "@" + upperCase(name)) + field("SCAN,", "I/O Intr") +
           field("PINI,", "YES") + field("FLNK,", name + ":Sync") + "}\n";
}

std::string syncRecord(const RecordPlan &plan)
{
    const std::string &name = plan.recordName;
    return "record(" + plan.outputType() + ", \"" + name + ":Sync\")\n{\n" +
           field("DOL, ", name + ":RBV NPP") + field("OMSL,", "closed_loop") +
           field("OUT, ", name + " PP") + "}\n";
}

} // namespace

std::string ZANTOShortName(std::string nodeName)
{
    nodeName.erase(std::remove(nodeName.begin(), nodeName.end(), ' '), nodeName.end());
    return nodeName;
}

std::string ZANTORecordText(const ZANTONode &node, int32_t bdIdx, int32_t chIdx)
{
    RecordPlan plan;
    const PlanResult result = planRecord(node, bdIdx, chIdx, plan);
    reportUnplanned(result, plan.shortName, "record");
    const bool noRecord = (result == PlanResult::noKind && plan.shortName != "Name") ||
                          result == PlanResult::noName;
    if (noRecord && DEBUG > 0)
        ZANTOPrint("Error creating string for [%s] record\n", plan.shortName.c_str());
    if (result != PlanResult::ok)
        return "";
    std::string text = mainRecord(node, plan);
    if (plan.readWrite())
        text += readBackRecord(plan) + syncRecord(plan);
    return text;
}

std::string ZANTOPvListText(const ZANTONode &node, int32_t bdIdx, int32_t chIdx)
{
    RecordPlan plan;
    const PlanResult result = planRecord(node, bdIdx, chIdx, plan);
    reportUnplanned(result, plan.shortName, "PV list");
    if (result != PlanResult::ok)
        return "";
    const char *read = plan.access != nodeAccessWrite ? "x" : " ";
    const char *write = plan.access != nodeAccessRead ? "x" : " ";
    return (plan.onBoard ? padded("%d", bdIdx) : "-") + ", " +
           (plan.onChannel ? padded("%d", chIdx) : "-") + ", " + plan.recordName + ",  " +
           plan.mainType() + ", " + read + ", " + write + "\n";
}
