#include "ZANTOrecordtext.h"

#include "ZANTOappend.h"
#include "ZANTOdbtext.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOwirevalue.h"
#include "vexahvwrapper.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

// By parameter type code. Status words are analog records; enumerations get none.
constexpr struct {
    const char *input;
    const char *output;
} recordTypes[] = {
    {"ai", "ao"},                 // numeric
    {"bi", "bo"},                 // on/off
    {"ai", "ao"},                 // channel status
    {"ai", "ao"},                 // board status
    {"mbbiDirect", "mbboDirect"}, // bit pattern
    {"stringin", "stringout"},    // string
};
constexpr uint32_t recordKindCount = sizeof(recordTypes) / sizeof(recordTypes[0]);

// ---- parts of a text ----

// As the C locale has it, in which the tree is built.
char upperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

void appendUpperCase(std::string &text, std::string_view name)
{
    text.append(name);
    const auto end = text.end();
    std::transform(end - static_cast<std::ptrdiff_t>(name.size()), end,
                   end - static_cast<std::ptrdiff_t>(name.size()), upperCase);
}

// As printf's "%f", which is slow: most limits are whole.
void appendSixDecimals(std::string &text, float value)
{
    constexpr float exact = 1e9F; // fits the integer
    if (std::fabs(value) < exact && std::trunc(value) == value && !std::signbit(value)) {
        ZANTOAppendNumber(text, static_cast<int32_t>(value));
        ZANTOAppend(text, ".000000");
        return;
    }
    char digits[64];
    std::snprintf(digits, sizeof(digits), "%f", static_cast<double>(value));
    text.append(digits);
}

} // namespace

// ---- plan ----

ZANTORecordPlan::ZANTORecordPlan(const ZANTONode &node, int32_t bdIdx, int32_t chIdx)
    : m_node(&node), m_board(bdIdx), m_channel(chIdx), m_result(plan())
{
}

// The name, as far as the node's type has one.
ZANTORecordPlan::Result ZANTORecordPlan::makeName()
{
    const nodeType type = m_node->getNodeType();
    m_onChannel = type == nodeTypeChannelParam;
    m_onBoard = m_onChannel || type == nodeTypeBoardParam;
    const bool known = m_onBoard || type == nodeTypeSystemProp || type == nodeTypeSystemCmd;
    if (known)
        ZANTOAppend(m_name, m_node->sysName().get(), ":");
    if (m_onBoard) {
        ZANTOAppendNumber(m_name, m_board, 2);
        m_name += ':';
    }
    if (m_onChannel) {
        ZANTOAppendNumber(m_name, m_channel, 3);
        m_name += ':';
    }
    m_shortNameAt = m_name.size();
    const std::string &nodeName = m_node->nodeName().get();
    for (const char c : nodeName) {
        if (c != ' ')
            m_name += c;
    }
    m_holdsBlank = m_name.size() - m_shortNameAt != nodeName.size();
    return known ? Result::ok : Result::noNodeType;
}

ZANTORecordPlan::Result ZANTORecordPlan::plan()
{
    if (makeName() != Result::ok)
        return Result::noNodeType;
    m_kind = m_node->getParWrapperType();
    if (m_node->getNodeType() == nodeTypeSystemProp) {
        const std::optional<uint32_t> kind = ZANTOParameterTypeOfProperty(m_kind);
        if (!kind)
            return Result::noSystemType;
        m_kind = *kind;
    }
    m_access = m_node->getAccessRights();
    if (m_access != nodeAccessRead && m_access != nodeAccessWrite && !readWrite())
        return Result::noAccess;
    if (m_kind >= recordKindCount)
        return Result::noKind;
    const std::size_t more = readWrite() ? std::strlen(":Sync") : 0;
    return ZANTOIsRecordName(m_name, more) ? Result::ok : Result::noName;
}

const char *ZANTORecordPlan::inputType() const { return recordTypes[m_kind].input; }
const char *ZANTORecordPlan::outputType() const { return recordTypes[m_kind].output; }

const char *ZANTORecordPlan::mainType() const
{
    return m_access == nodeAccessRead ? inputType() : outputType();
}

ZANTORecordClaim ZANTORecordPlan::claim() const
{
    return {m_name, mainType(), readWrite() ? inputType() : "", m_holdsBlank};
}

void ZANTORecordPlan::reportType(const char *output) const
{
    if (m_result == Result::noNodeType)
        ZANTO_TRACE(0, "Error finding type while creating string for [%s] %s\n",
                    shortName().c_str(), output);
    else if (m_result == Result::noSystemType)
        ZANTO_TRACE(0, "Error finding system type while creating string for [%s] %s\n",
                    shortName().c_str(), output);
}

void ZANTORecordPlan::reportNoRecords() const
{
    reportType("record");
    if (m_result == Result::noName || (m_result == Result::noKind && shortName() != "Name"))
        ZANTO_TRACE(0, "Error creating string for [%s] record\n", shortName().c_str());
}

void ZANTORecordPlan::reportNoLine() const { reportType("PV list"); }

// ---- records ----

void ZANTORecordPlan::appendNumericFields(std::string &text) const
{
    const std::string &unit = m_node->expUnit().get();
    if (!unit.empty()) {
        ZANTOAppend(text, "\tfield( EGU , \"");
        ZANTOAppendDbValue(text, unit);
        ZANTOAppend(text, "\")\n");
    }
    if (m_node->getNodeDecimals() > 0) {
        ZANTOAppend(text, "\tfield( PREC , \"");
        ZANTOAppendNumber(text, m_node->getNodeDecimals());
        ZANTOAppend(text, "\")\n");
    }
    if (m_node->getMaxVal() != m_node->getMinVal()) {
        ZANTOAppend(text, "\tfield( HOPR , \"");
        appendSixDecimals(text, m_node->getMaxVal());
        ZANTOAppend(text, "\")\n\tfield( LOPR , \"");
        appendSixDecimals(text, m_node->getMinVal());
        ZANTOAppend(text, "\")\n");
    }
}

void ZANTORecordPlan::appendStateFields(std::string &text) const
{
    ZANTOAppend(text, "\tfield( ZNAM , \"");
    ZANTOAppendDbValue(text, m_node->offString().get());
    ZANTOAppend(text, "\")\n\tfield( ONAM , \"");
    ZANTOAppendDbValue(text, m_node->onString().get());
    ZANTOAppend(text, "\")\n");
}

void ZANTORecordPlan::appendLinks(std::string &text) const
{
    switch (m_access) {
    case nodeAccessRead:
        ZANTOAppend(text, "\tfield( INP, \"@", m_name,
                    "\")\n\tfield( PINI, \"YES\")\n\tfield( SCAN, \"I/O Intr\")\n");
        break;
    case nodeAccessReadWrite:
        ZANTOAppend(text, "\tfield( SDIS, \"", m_name, ":Sync.PACT\")\n\tfield( OUT, \"@");
        appendUpperCase(text, m_name);
        ZANTOAppend(text, "\")\n");
        break;
    default: ZANTOAppend(text, "\tfield( OUT, \"@", m_name, "\")\n");
    }
}

void ZANTORecordPlan::appendMainRecord(std::string &text) const
{
    ZANTOAppend(text, "record( ", mainType(), ", \"", m_name, "\")\n{\n");
    if (m_kind == VEXAHV_PARAM_NUMERIC)
        appendNumericFields(text);
    if (m_kind == VEXAHV_PARAM_ONOFF)
        appendStateFields(text);
    ZANTOAppend(text, "\tfield( DESC, \"");
    ZANTOAppendDbValue(text, m_node->nodeName().get());
    ZANTOAppend(text, "\")\n\tfield( DTYP, \"VEXA ZANTO Item\")\n");
    appendLinks(text);
    ZANTOAppend(text, "}\n");
}

void ZANTORecordPlan::appendCompanions(std::string &text) const
{
    ZANTOAppend(text, "record( ", inputType(), ", \"", m_name,
                ":RBV\")\n{\n\tfield( DTYP, \"VEXA ZANTO Item\")\n\tfield( INP,  \"@");
    appendUpperCase(text, m_name);
    ZANTOAppend(text,
                "\")\n\tfield( SCAN, \"I/O Intr\")\n\tfield( PINI, \"YES\")\n\tfield( FLNK, \"",
                m_name, ":Sync\")\n}\n");
    ZANTOAppend(text, "record(", outputType(), ", \"", m_name, ":Sync\")\n{\n\tfield( DOL,  \"",
                m_name, ":RBV NPP\")\n\tfield( OMSL, \"closed_loop\")\n\tfield( OUT,  \"", m_name,
                " PP\")\n}\n");
}

void ZANTORecordPlan::appendRecords(std::string &text) const
{
    appendMainRecord(text);
    if (readWrite())
        appendCompanions(text);
}

// ---- list of process variables ----

namespace {

void appendPosition(std::string &text, bool applies, int32_t position)
{
    if (applies)
        ZANTOAppendNumber(text, position);
    else
        text += '-';
    ZANTOAppend(text, ", ");
}

} // namespace

void ZANTORecordPlan::appendLine(std::string &text) const
{
    appendPosition(text, m_onBoard, m_board);
    appendPosition(text, m_onChannel, m_channel);
    ZANTOAppend(text, m_name, ",  ", mainType(), m_access != nodeAccessWrite ? ", x" : ",  ",
                m_access != nodeAccessRead ? ", x\n" : ",  \n");
}

// ---- texts of one node ----

namespace {

std::string textOf(const ZANTORecordPlan &plan, void (ZANTORecordPlan::*reportNone)() const,
                   void (ZANTORecordPlan::*append)(std::string &) const)
{
    (plan.*reportNone)();
    std::string text;
    if (plan.hasRecords())
        (plan.*append)(text);
    return text;
}

} // namespace

std::string ZANTORecordText(const ZANTONode &node, int32_t bdIdx, int32_t chIdx)
{
    return textOf(ZANTORecordPlan(node, bdIdx, chIdx), &ZANTORecordPlan::reportNoRecords,
                  &ZANTORecordPlan::appendRecords);
}

std::string ZANTOPvListText(const ZANTONode &node, int32_t bdIdx, int32_t chIdx)
{
    return textOf(ZANTORecordPlan(node, bdIdx, chIdx), &ZANTORecordPlan::reportNoLine,
                  &ZANTORecordPlan::appendLine);
}
