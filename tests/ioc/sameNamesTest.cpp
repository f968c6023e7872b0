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

void put(const char *path, const std::string &text) { std::ofstream(path) << text; }

// The server's files have fixed paths and may be another one's. For a process of one thread.
bool enterPrivateTmp()
{
    const std::string user = std::to_string(getuid());
    const std::string group = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    put("/proc/self/setgroups", "deny");
    put("/proc/self/uid_map", user + " " + user + " 1");
    put("/proc/self/gid_map", group + " " + group + " 1");
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") == 0;
}

// Of each pair the first has another record type than the second.
FakeCrate crateOfSameNames()
{
    FakeCrate crate;
    crate.commands = {"Clear"};
    crate.properties = {
        fakeSysProp("Clear", VEXAHV_SYSPROP_REAL, VEXAHV_MODE_READ, FakeBytes::of(1.0F)),
        fakeSysProp("Model", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READ, FakeBytes::text("x"))};
    crate.slots = {
        fakeBoard("A1", 1,
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

// The private /tmp is given up at once: the checkout itself may lie below the real one.
std::string builtDatabase()
{
    EXPECT_TRUE(enterPrivateTmp());
    FakeAccessLibrary::instance().setCrate(crateOfSameNames());
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

} // namespace

TEST_F(SameNamesDeathTest, TheWholeDatabaseLoadsAndTheFirstItemHasTheRecord)
{
    inFreshProcess([] {
        startIoc(builtDatabase());
        const std::string channel = "CRATE:00:000:";
        EXPECT_THAT(namesAndTypes(),
                    ::testing::UnorderedElementsAre(
                        "stringout CRATE:Clear", "stringin CRATE:Model", "bi CRATE:00:Temp",
                        "ai CRATE:00:HVMax", "stringout " + channel + "Name",
                        "stringin " + channel + "Name:RBV", "stringout " + channel + "Name:Sync",
                        "ao " + channel + "VSet", "ai " + channel + "VSet:RBV",
                        "ao " + channel + "VSet:Sync", "ai " + channel + "Status"));
    });
}
