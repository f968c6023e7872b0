// The access rights, as a server reads them.
#include "outputs.h"

#include <asLib.h>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>

#include "siteSupport.h"

namespace {

using namespace site;
using namespace siteTest;

std::string textOf(const std::string &rights)
{
    const Planned planned(siteOf("access:\n" + rights), {crateOf("HV", {1})});
    EXPECT_TRUE(planned.errors.empty()) << planned.errors.front();
    return accessText(planned.plan);
}

// A user at a host who asks for a field of a group.
bool mayWrite(const std::string &user, const std::string &host, const char *group, int level)
{
    ASMEMBERPVT member = nullptr;
    ASCLIENTPVT client = nullptr;
    EXPECT_EQ(0, asAddMember(&member, group));
    std::string userText = user;
    std::string hostText = host;
    EXPECT_EQ(0, asAddClient(&client, member, level, userText.data(), hostText.data()));
    EXPECT_TRUE(asCheckGet(client));
    const bool may = asCheckPut(client);
    asRemoveClient(&client);
    asRemoveMember(&member);
    return may;
}

// Members of a group hold on to its name; the last rights hold until the next are read.
class SiteAccess : public testing::Test {
protected:
    void load(const std::string &rights)
    {
        std::string text = textOf(rights);
        const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(
            fmemopen(text.data(), text.size(), "r"), std::fclose);
        ASSERT_NE(nullptr, file);
        ASSERT_EQ(0, asInitFP(file.get(), nullptr)) << text;
    }
};

TEST_F(SiteAccess, WithoutGroupsNobodyMayWrite)
{
    load("  users: {}\n");
    EXPECT_FALSE(mayWrite("anna", "pc", "DEFAULT", 0));
}

TEST_F(SiteAccess, AGroupWithoutListsIsForEverybodysValues)
{
    load("  groups: {OPERATE: {}, ALL: {fields: all}}\n");
    EXPECT_TRUE(mayWrite("anna", "pc", "OPERATE", 0));
    EXPECT_FALSE(mayWrite("anna", "pc", "OPERATE", 1));
    EXPECT_TRUE(mayWrite("anna", "pc", "ALL", 1));
    EXPECT_FALSE(mayWrite("anna", "pc", "DEFAULT", 0));
    EXPECT_FALSE(mayWrite("anna", "pc", "UNKNOWN", 0));
}

TEST_F(SiteAccess, UsersAndHostsAreBothAskedFor)
{
    load("  users: {shift: [anna, ben], expert: [carl]}\n  hosts: {room: [pc-1, pc-2]}\n"
         "  groups:\n    BOTH: {users: [shift, expert], hosts: [room]}\n"
         "    USERS: {users: [shift]}\n    HOSTS: {hosts: [room]}\n");
    EXPECT_TRUE(mayWrite("carl", "pc-2", "BOTH", 0));
    EXPECT_FALSE(mayWrite("carl", "pc-3", "BOTH", 0));
    EXPECT_FALSE(mayWrite("dora", "pc-1", "BOTH", 0));
    EXPECT_TRUE(mayWrite("ben", "anywhere", "USERS", 0));
    EXPECT_FALSE(mayWrite("carl", "anywhere", "USERS", 0));
    EXPECT_TRUE(mayWrite("dora", "pc-1", "HOSTS", 0));
}

TEST_F(SiteAccess, AListWithoutMembersGivesNobodyARight)
{
    load(
        "  users: {nobody: [], shift: [anna]}\n  hosts: {nowhere: []}\n"
        "  groups:\n    NOBODY: {users: [nobody]}\n    NOWHERE: {users: [shift], hosts: [nowhere]}\n"
        "    SOME: {users: [nobody, shift]}\n");
    EXPECT_FALSE(mayWrite("anna", "pc", "NOBODY", 0));
    EXPECT_FALSE(mayWrite("anna", "pc", "NOWHERE", 0));
    EXPECT_TRUE(mayWrite("anna", "pc", "SOME", 0));
    EXPECT_FALSE(mayWrite("ben", "pc", "SOME", 0));
}

TEST_F(SiteAccess, EveryNameThatIsTakenCanBeRead)
{
    load("  users: {a-b: [x_y, \"z:1\", 1a, \"<;>\", \"[m].n+\", UAGs, 7-]}\n"
         "  hosts: {READ: [10.0.0.1, WRITE]}\n"
         "  groups: {" +
         std::string(28, 'G') + ": {users: [a-b]}, INPUT: {hosts: [READ]}}\n");
    EXPECT_TRUE(mayWrite("1a", "pc", std::string(28, 'G').c_str(), 0));
    EXPECT_TRUE(mayWrite("7-", "pc", std::string(28, 'G').c_str(), 0));
}

} // namespace
