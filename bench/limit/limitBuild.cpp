#include "limitBuild.h"

#include "limitText.h"
#include "limitTree.h"
#include "memoryCrate.h"
#include "startupFiles.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// One list of the library, for a scope.
template <typename T> class List {
public:
    List() = default;
    ~List() { VEXAHV_Free(m_list); }
    List(const List &) = delete;
    List &operator=(const List &) = delete;
    T **out() { return &m_list; }
    const T *get() const { return m_list; }

private:
    T *m_list = nullptr;
};

const char *unitText(uint16_t unit)
{
    static constexpr const char *units[] = {"None", "Ampere", "Volt",   "Watt", "Celsius", "Hertz",
                                            "Bar",  "Vps",    "Second", "Rpm",  "Count"};
    return unit < sizeof(units) / sizeof(units[0]) ? units[unit] : "";
}

const char *prefixText(int16_t exponent)
{
    switch (exponent) {
    case 6: return "Mega";
    case 3: return "Kilo";
    case -3: return "milli";
    case -6: return "micro";
    case -9: return "nano";
    default: return "";
    }
}

double numberOf(uint32_t kind, uint32_t bits)
{
    if (kind != VEXAHV_PARAM_NUMERIC)
        return static_cast<int32_t>(bits);
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return static_cast<double>(value);
}

// A parameter of a board (negative channel) or of a channel.
class Source {
public:
    Source(int32_t handle, uint16_t slot, int channel)
        : m_handle(handle), m_slot(slot), m_channel(channel)
    {
    }

    bool property(const char *param, const char *name, void *value) const
    {
        if (m_channel < 0)
            return VEXAHV_GetBdParamProp(m_handle, m_slot, param, name, value) == 0;
        return VEXAHV_GetChParamProp(m_handle, m_slot, static_cast<uint16_t>(m_channel), param,
                                     name, value) == 0;
    }

    uint32_t value(const char *param) const
    {
        uint32_t bits = 0;
        const auto channel = static_cast<uint16_t>(m_channel);
        if (m_channel < 0)
            VEXAHV_GetBdParam(m_handle, 1, &m_slot, param, &bits);
        else
            VEXAHV_GetChParam(m_handle, m_slot, param, 1, &channel, &bits);
        return bits;
    }

    LimitDetails details(const char *param, uint32_t type) const
    {
        LimitDetails found;
        if (type == VEXAHV_PARAM_ONOFF) {
            property(param, VEXAHV_PROP_ONSTATE, found.on);
            property(param, VEXAHV_PROP_OFFSTATE, found.off);
        } else if (type == VEXAHV_PARAM_NUMERIC || type == VEXAHV_PARAM_INTEGER) {
            readNumeric(param, found);
        }
        return found;
    }

private:
    void readNumeric(const char *param, LimitDetails &found) const
    {
        uint16_t unit = 0;
        int16_t exponent = 0;
        int16_t decimals = 0;
        property(param, VEXAHV_PROP_MINVAL, &found.lowest);
        property(param, VEXAHV_PROP_MAXVAL, &found.highest);
        property(param, VEXAHV_PROP_UNIT, &unit);
        property(param, VEXAHV_PROP_EXP, &exponent);
        property(param, VEXAHV_PROP_DECIMAL, &decimals);
        found.highest = static_cast<float>(static_cast<int32_t>(found.highest));
        if (m_channel >= 0)
            found.decimals = decimals;
        std::snprintf(found.unit, sizeof(found.unit), "%s%s", prefixText(exponent), unitText(unit));
    }

    int32_t m_handle;
    uint16_t m_slot;
    int m_channel;
};

class Builder {
public:
    explicit Builder(int32_t handle) : m_handle(handle) {}

    bool build()
    {
        addCommands();
        addProperties();
        addBoards();
        return m_records.write(databasePath) && m_lines.write(pvListPath);
    }

private:
    void finish(const LimitNode &node, const LimitDetails &details)
    {
        limitAddRecords(m_records, node, details);
        limitAddPvLine(m_lines, node);
    }

    void addCommands()
    {
        List<char> list;
        uint16_t count = 0;
        VEXAHV_GetExecCommList(m_handle, &count, list.out());
        const char *name = list.get();
        for (uint16_t i = 0; i < count; ++i, name += std::strlen(name) + 1)
            finish(m_tree.add(name, -1, -1, VEXAHV_PARAM_STRING, VEXAHV_MODE_WRITE), {});
    }

    void addProperties()
    {
        List<char> list;
        uint16_t count = 0;
        VEXAHV_GetSysPropList(m_handle, &count, list.out());
        const char *name = list.get();
        for (uint16_t i = 0; i < count; ++i, name += std::strlen(name) + 1)
            addProperty(name);
    }

    void addProperty(const char *name)
    {
        uint32_t mode = 0;
        uint32_t type = 0;
        char value[VEXAHV_TEXT_SIZE] = "";
        VEXAHV_GetSysPropInfo(m_handle, name, &mode, &type);
        VEXAHV_GetSysProp(m_handle, name, value);
        const uint32_t kind = type == VEXAHV_SYSPROP_TEXT      ? VEXAHV_PARAM_STRING
                              : type == VEXAHV_SYSPROP_BOOLEAN ? VEXAHV_PARAM_ONOFF
                                                               : VEXAHV_PARAM_NUMERIC;
        LimitNode &node = m_tree.add(name, -1, -1, kind, mode);
        if (kind == VEXAHV_PARAM_STRING)
            limitSetText(node, value);
        finish(node, {});
    }

    void addBoards()
    {
        uint16_t slots = 0;
        List<uint16_t> channels, serials;
        List<char> models, descriptions;
        List<uint8_t> minors, majors;
        VEXAHV_GetCrateMap(m_handle, &slots, channels.out(), models.out(), descriptions.out(),
                           serials.out(), minors.out(), majors.out());
        for (uint16_t slot = 0; slot < slots; ++slot) {
            List<char> table;
            VEXAHV_GetBdParamInfo(m_handle, slot, table.out());
            addParameters(table.get(), slot, -1);
            for (uint16_t channel = 0; channel < channels.get()[slot]; ++channel)
                addChannel(slot, channel);
        }
    }

    void addChannel(uint16_t slot, uint16_t channel)
    {
        char name[1][VEXAHV_CHANNEL_NAME_SLOT] = {};
        // Once whether there is such a channel, once for the record of its name.
        VEXAHV_GetChName(m_handle, slot, 1, &channel, name);
        VEXAHV_GetChName(m_handle, slot, 1, &channel, name);
        LimitNode &node =
            m_tree.add("Name", slot, channel, VEXAHV_PARAM_STRING, VEXAHV_MODE_READWRITE);
        limitSetText(node, name[0]);
        finish(node, {});
        List<char> table;
        int32_t count = 0;
        VEXAHV_GetChParamInfo(m_handle, slot, channel, table.out(), &count);
        addParameters(table.get(), slot, channel);
    }

    void addParameters(const char *table, uint16_t slot, int channel)
    {
        const Source source(m_handle, slot, channel);
        for (; *table != '\0'; table += VEXAHV_PARAM_NAME_SLOT) {
            uint32_t type = 0;
            uint32_t mode = 0;
            source.property(table, VEXAHV_PROP_TYPE, &type);
            source.property(table, VEXAHV_PROP_MODE, &mode);
            LimitNode &node = m_tree.add(table, slot, channel, type, mode);
            if (type != VEXAHV_PARAM_STRING)
                node.number = numberOf(type, source.value(table));
            finish(node, source.details(table, type));
        }
    }

    const int32_t m_handle;
    LimitTree &m_tree = LimitTree::instance();
    TextBuffer m_records;
    TextBuffer m_lines;
};

bool resetLiveInsertionFlag()
{
    TextBuffer flag;
    flag.add("0\n");
    return flag.write(liveInsertionPath);
}

} // namespace

bool limitBuild()
{
    int32_t handle = 0;
    if (!resetLiveInsertionFlag())
        return false;
    VEXAHV_InitSystem(VEXAHV_SYSTEM_MAINFRAME, VEXAHV_LINK_TCPIP, MemoryCrate::host, "admin",
                      "admin", &handle);
    return Builder(handle).build();
}
