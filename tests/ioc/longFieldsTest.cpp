// Units, labels and descriptions that are longer than the records' fields.
#include "iocSupport.h"

#include "ZANTOutils.h"

#include <dbAccess.h>
#include <dbStaticLib.h>

#include <cstdio>

namespace {

using LongFieldsDeathTest = IocDeathTest;

std::string recordsOf(const std::string &name, uint32_t wrapperType, const std::string &text)
{
    ZANTONode node;
    node.ZANTOPrepareNode(name, nodeTypeChannelParam, -1, -1, "", "", "");
    node.setSysName("CRATE");
    node.setParWrapperType(wrapperType);
    node.setAccessRights(nodeAccessReadWrite);
    node.setExpUnit(text);
    node.setOnString(text);
    node.setOffString(text);
    return ZANTOUtils::ZANTOCreateStringForDbRecord(&node, 0, 0);
}

bool isRecord(const std::string &name)
{
    DBENTRY entry;
    dbInitEntry(pdbbase, &entry);
    const bool found = dbFindRecord(&entry, name.c_str()) == 0;
    dbFinishEntry(&entry);
    return found;
}

std::string fieldOf(const std::string &record, const char *field)
{
    DBENTRY entry;
    dbInitEntry(pdbbase, &entry);
    const bool found = dbFindRecord(&entry, record.c_str()) == 0 && dbFindField(&entry, field) == 0;
    const std::string value = found ? dbGetString(&entry) : "no such field";
    dbFinishEntry(&entry);
    return value;
}

// Names in order: long ones, where the record's own is the description, and ones whose texts end
// at, before and behind the length at which the IOC takes lines apart.
Lines loadAll(const std::string &character, const char *macros)
{
    Lines names;
    std::string database;
    const auto add = [&](const std::string &name, uint32_t type, const std::string &text) {
        names.push_back("CRATE:00:000:" + name);
        database += recordsOf(name, type, text);
    };
    for (const int length : {16, 26, 41, 200, 1000, 1023}) {
        std::string text;
        for (int i = 0; i < length; ++i)
            text += character;
        add("U" + std::to_string(length), VEXAHV_PARAM_NUMERIC, text);
        add("L" + std::to_string(length), VEXAHV_PARAM_ONOFF, text);
        add("M" + std::to_string(length), VEXAHV_PARAM_ONOFF, "x" + text);
    }
    add(std::string(41, 'D'), VEXAHV_PARAM_NUMERIC, "V");
    add("Last", VEXAHV_PARAM_NUMERIC, "V");
    FILE *file = fmemopen(database.data(), database.size(), "r");
    dbReadDatabaseFP(&pdbbase, file, nullptr, macros); // closes the file
    return names;
}

} // namespace

TEST_F(LongFieldsDeathTest, TheIocKeepsTheRecordsAndAllThatFollow)
{
    for (const char *character : {"x", "\"", "\\", "$(", "'", "{"}) {
        for (const char *macros : {static_cast<const char *>(nullptr), "A=1"}) {
            SCOPED_TRACE(std::string(character) + (macros != nullptr ? macros : ""));
            inFreshProcess([&] {
                loadDefinitions();
                for (const std::string &name : loadAll(character, macros)) {
                    for (const char *suffix : {"", ":RBV", ":Sync"})
                        EXPECT_TRUE(isRecord(name + suffix)) << name << suffix;
                    EXPECT_EQ(fieldOf(name, "DTYP"), "VEXA ZANTO Item");
                }
                EXPECT_EQ(fieldOf("CRATE:00:000:Last", "EGU"), "V");
                EXPECT_EQ(fieldOf("CRATE:00:000:U16", "EGU"), "") << "the field alone is refused";
            });
        }
    }
}
