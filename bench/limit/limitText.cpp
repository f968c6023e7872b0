#include "limitText.h"

#include "memoryCrate.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>

// ---- buffer ----

void TextBuffer::add(const char *format, ...)
{
    constexpr std::size_t longest = 1024;
    if (m_text.size() - m_size < longest)
        m_text.resize(2 * m_text.size());
    va_list arguments;
    va_start(arguments, format);
    m_size += static_cast<std::size_t>(
        std::vsnprintf(m_text.data() + m_size, longest, format, arguments));
    va_end(arguments);
}

bool TextBuffer::write(const char *path) const
{
    FILE *file = std::fopen(path, "w");
    if (file == nullptr)
        return false;
    const bool written = std::fwrite(m_text.data(), 1, m_size, file) == m_size;
    return std::fclose(file) == 0 && written;
}

// ---- records ----

namespace {

// By parameter type.
constexpr struct {
    const char *input;
    const char *output;
} recordTypes[] = {{"ai", "ao"},
                   {"bi", "bo"},
                   {"ai", "ao"},
                   {"ai", "ao"},
                   {"mbbiDirect", "mbboDirect"},
                   {"stringin", "stringout"}};

LimitRecordName upperCase(LimitRecordName name)
{
    for (char &c : name.text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name;
}

const char *mainType(const LimitNode &node)
{
    return node.mode == VEXAHV_MODE_READ ? recordTypes[node.kind].input
                                         : recordTypes[node.kind].output;
}

void addNumericFields(TextBuffer &text, const LimitDetails &details)
{
    if (details.unit[0] != '\0')
        text.add("\tfield( EGU , \"%s\")\n", details.unit);
    if (details.decimals > 0)
        text.add("\tfield( PREC , \"%d\")\n", details.decimals);
    if (details.highest != details.lowest)
        text.add("\tfield( HOPR , \"%f\")\n\tfield( LOPR , \"%f\")\n",
                 static_cast<double>(details.highest), static_cast<double>(details.lowest));
}

void addReadBack(TextBuffer &text, const LimitNode &node, const char *name, const char *upper)
{
    text.add("record( %s, \"%s:RBV\")\n{\n\tfield( DTYP, \"VEXA ZANTO Item\")\n"
             "\tfield( INP,  \"@%s\")\n\tfield( SCAN, \"I/O Intr\")\n"
             "\tfield( PINI, \"YES\")\n\tfield( FLNK, \"%s:Sync\")\n}\n",
             recordTypes[node.kind].input, name, upper, name);
    text.add("record(%s, \"%s:Sync\")\n{\n\tfield( DOL,  \"%s:RBV NPP\")\n"
             "\tfield( OMSL, \"closed_loop\")\n\tfield( OUT,  \"%s PP\")\n}\n",
             recordTypes[node.kind].output, name, name, name);
}

void addLinks(TextBuffer &text, const LimitNode &node, const char *name)
{
    if (node.mode == VEXAHV_MODE_READ) {
        text.add("\tfield( INP, \"@%s\")\n\tfield( PINI, \"YES\")\n"
                 "\tfield( SCAN, \"I/O Intr\")\n}\n",
                 name);
    } else if (node.mode == VEXAHV_MODE_WRITE) {
        text.add("\tfield( OUT, \"@%s\")\n}\n", name);
    } else {
        const LimitRecordName upper = upperCase(LimitRecordName(node));
        text.add("\tfield( SDIS, \"%s:Sync.PACT\")\n\tfield( OUT, \"@%s\")\n}\n", name, upper.text);
        addReadBack(text, node, name, upper.text);
    }
}

} // namespace

void limitAddRecords(TextBuffer &text, const LimitNode &node, const LimitDetails &details)
{
    const LimitRecordName name(node);
    text.add("record( %s, \"%s\")\n{\n", mainType(node), name.text);
    if (node.kind == VEXAHV_PARAM_NUMERIC)
        addNumericFields(text, details);
    if (node.kind == VEXAHV_PARAM_ONOFF)
        text.add("\tfield( ZNAM , \"%s\")\n\tfield( ONAM , \"%s\")\n", details.off, details.on);
    text.add("\tfield( DESC, \"%s\")\n\tfield( DTYP, \"VEXA ZANTO Item\")\n", node.name);
    addLinks(text, node, name.text);
}

void limitAddPvLine(TextBuffer &text, const LimitNode &node)
{
    const LimitRecordName name(node);
    const char *read = node.mode != VEXAHV_MODE_WRITE ? "x" : " ";
    const char *write = node.mode != VEXAHV_MODE_READ ? "x" : " ";
    if (node.board < 0)
        text.add("-, -, ");
    else if (node.channel < 0)
        text.add("%d, -, ", node.board);
    else
        text.add("%d, %d, ", node.board, node.channel);
    text.add("%s,  %s, %s, %s\n", name.text, mainType(node), read, write);
}
