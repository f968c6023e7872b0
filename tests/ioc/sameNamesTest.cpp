// A crate of which several items would have the same record: from the tree build to the IOC.
#include "iocSupport.h"

#include "ZANTO.h"

#include <dbAccess.h>
#include <dbStaticLib.h>

#include <fstream>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <unistd.h>

namespace {

using SameNamesDeathTest = IocDeathTest;

void writeFile(const char *path, const std::string &text) { std::ofstream(path) << text; }

// With a user namespace of its own a process of one thread may mount things without being root.
bool enterUserNamespace()
{
    const std::string user = std::to_string(getuid());
    const std::string group = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", user + " " + user + " 1");
    writeFile("/proc/self/gid_map", group + " " + group + " 1");
    return true;
}

// The server's files have fixed paths and may be another one's.
bool enterPrivateTmp()
{
    if (unshare(CLONE_NEWNS) != 0 && !enterUserNamespace())
        return false;
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") == 0;
}

// Of each pair the one with a blank, or else the later one, has no records.
FakeCrate crateOfSameNames()
{
    FakeCrate crate;
    crate.commands = {"Clear"};
    crate.properties = {
        fakeSysProp("Clear", VEXAHV_SYSPROP_REAL, VEXAHV_MODE_READ, FakeBytes::of(1.0F)),
        fakeSysProp("Model", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READ, FakeBytes::text("x"))};
    crate.slots = {fakeBoard("A1", 1,
                             {fakeOnOff("Te mp", VEXAHV_MODE_READ, 0),
                              fakeNumeric("Temp", VEXAHV_MODE_READ, 0, 0, 100),
                              fakeNumeric("HVMax", VEXAHV_MODE_READ, 0, 0, 100)},
                             {fakeNumeric("Name", VEXAHV_MODE_READ, 0, 0, 100),
                              fakeNumeric("V Set", VEXAHV_MODE_READWRITE, 0, 0, 100),
                              fakeOnOff("VSet", VEXAHV_MODE_READ, 0),
                              fakePlain("VSet:RBV", VEXAHV_PARAM_INTEGER, VEXAHV_MODE_READ),
                              fakeOnOff("VSet:Sync", VEXAHV_MODE_READ, 0),
                              fakePlain("Status", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ)})};
    return crate;
}

FakeCrate crateOf(const std::vector<FakeParameter> &parameters)
{
    FakeCrate crate;
    crate.slots = {fakeBoard("A1", 1, {}, parameters)};
    return crate;
}

// The private /tmp is given up at once: the checkout itself may lie below the real one.
std::string builtDatabase(const FakeCrate &crate)
{
    EXPECT_TRUE(enterPrivateTmp());
    FakeAccessLibrary::instance().setCrate(crate);
    EXPECT_EQ(createSystemTree("CRATE", "10.0.0.9", "admin", "secret"), 0);
    std::ostringstream text;
    text << std::ifstream("/tmp/ZANTO.db").rdbuf();
    EXPECT_EQ(umount("/tmp"), 0);
    return text.str();
}

Lines namesAndTypes()
{
    Lines lines;
    DBENTRY entry;
    dbInitEntry(pdbbase, &entry);
    for (long type = dbFirstRecordType(&entry); type == 0; type = dbNextRecordType(&entry)) {
        for (long one = dbFirstRecord(&entry); one == 0; one = dbNextRecord(&entry))
            lines.push_back(std::string(dbGetRecordTypeName(&entry)) + " " +
                            dbGetRecordName(&entry));
    }
    dbFinishEntry(&entry);
    return lines;
}

constexpr const char *setVolt = "CRATE:00:000:SetVolt";

// The records of "SetVolt" show its value and write it, and nothing else is written.
void expectReadBackAndWriteOfSetVolt()
{
    const std::string name = setVolt;
    EXPECT_THAT(namesAndTypes(), ::testing::IsSupersetOf({"ao " + name, "ai " + name + ":RBV",
                                                          "ao " + name + ":Sync"}));
    EXPECT_EQ(number(name + ":RBV"), 42.0);
    FakeAccessLibrary::instance().forgetCalls();
    put(name, 7.0);
    EXPECT_EQ(FakeAccessLibrary::instance().callsOf("SetChParam("),
              Lines{"SetChParam(7, 0, SetVolt, 1, [0]) = 7"});
}

const FakeParameter good = fakeNumeric("SetVolt", VEXAHV_MODE_READWRITE, 42, 0, 100);

} // namespace

TEST_F(SameNamesDeathTest, TheWholeDatabaseLoadsAndWhatCannotResolveHasNoRecord)
{
    inFreshProcess([] {
        startIoc(builtDatabase(crateOfSameNames()));
        const std::string channel = "CRATE:00:000:";
        EXPECT_THAT(namesAndTypes(),
                    ::testing::UnorderedElementsAre(
                        "stringout CRATE:Clear", "stringin CRATE:Model", "ai CRATE:00:Temp",
                        "ai CRATE:00:HVMax", "stringout " + channel + "Name",
                        "stringin " + channel + "Name:RBV", "stringout " + channel + "Name:Sync",
                        "bi " + channel + "VSet", "mbbiDirect " + channel + "VSet:RBV",
                        "bi " + channel + "VSet:Sync", "ai " + channel + "Status"));
    });
}

TEST_F(SameNamesDeathTest, AParameterKeepsItsReadBackBehindOneOfItsRecordTypeWithABlank)
{
    inFreshProcess([] {
        startIoc(
            builtDatabase(crateOf({fakeNumeric("Set Volt", VEXAHV_MODE_WRITE, 1, 0, 100), good})));
        EXPECT_EQ(text(std::string(setVolt) + ".DESC"), "SetVolt");
        expectReadBackAndWriteOfSetVolt();
    });
}

TEST_F(SameNamesDeathTest, AParameterKeepsItsReadBackBeforeOneOfItsRecordTypeWithABlank)
{
    inFreshProcess([] {
        startIoc(
            builtDatabase(crateOf({good, fakeNumeric("Set Volt", VEXAHV_MODE_WRITE, 1, 0, 100)})));
        expectReadBackAndWriteOfSetVolt();
    });
}

TEST_F(SameNamesDeathTest, AParameterKeepsItsReadBackBehindOneOfAnotherRecordTypeWithABlank)
{
    inFreshProcess([] {
        startIoc(builtDatabase(crateOf({fakeOnOff("Set Volt", VEXAHV_MODE_READWRITE, 1), good})));
        expectReadBackAndWriteOfSetVolt();
    });
}

TEST_F(SameNamesDeathTest, AParameterKeepsItsReadBackBeforeOneOfAnotherRecordTypeWithABlank)
{
    inFreshProcess([] {
        startIoc(builtDatabase(crateOf({good, fakeOnOff("Set Volt", VEXAHV_MODE_READWRITE, 1)})));
        expectReadBackAndWriteOfSetVolt();
    });
}
