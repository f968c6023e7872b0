// The files that the tree build writes, and its messages.
#include "fileSupport.h"

#include "ZANTO.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class StartupFiles : public StartupFilesTest {
protected:
    void SetUp() override
    {
        StartupFilesTest::SetUp();
        fake.setCrate(smallFakeCrate());
    }

    static int32_t build(const std::string &host = "10.0.0.9")
    {
        return createSystemTree("CRATE", host, "admin", "secret");
    }

    static int32_t buildQuietly(const std::string &host = "10.0.0.9")
    {
        StdoutCapture quiet;
        return build(host);
    }
};

const struct {
    const char *path;
    const char *message;
} files[] = {{liveInsertionPath, "\nUnable to open file for live insertion event\n"},
             {pvListPath, "\nUnable to open file for PV list\n"},
             {databasePath, "\nUnable to open file for dabatase\n"}};

const std::string flagReset = "Live insertion event flag reset into file [/tmp/lievnt.txt]\n";

} // namespace

TEST_F(StartupFiles, TheListNamesEveryItemInTheOrderOfTheWalk)
{
    ASSERT_EQ(buildQuietly(), 0);
    std::string expected = "-, -, CRATE:ClearAlarm,  stringout,  , x\n"
                           "-, -, CRATE:ModelName,  stringin, x,  \n"
                           "-, -, CRATE:IPAddr,  stringout, x, x\n";
    // The empty slot 1 is counted and has no line.
    for (const std::string &slot : {std::string("0"), std::string("2")}) {
        const std::string board = "CRATE:0" + slot + ":";
        expected += slot + ", -, " + board + "Temp,  ai, x,  \n";
        expected += slot + ", -, " + board + "BdStatus,  ai, x,  \n";
        expected += slot + ", -, " + board + "Reset,  bo,  , x\n";
        for (const std::string &index : {std::string("0"), std::string("1")}) {
            const std::string begin = slot + ", " + index + ", " + board + "00" + index + ":";
            expected += begin + "Name,  stringout, x, x\n";
            expected += begin + "VSet,  ao, x, x\n";
            expected += begin + "IMon,  ai, x,  \n";
            expected += begin + "Pw,  bo, x, x\n";
            expected += begin + "Status,  ai, x,  \n";
            expected += begin + "Mask,  mbboDirect, x, x\n";
        }
    }
    EXPECT_EQ(contents(pvListPath), expected);
}

TEST_F(StartupFiles, TheDatabaseHasTheRecordsOfTheListAndTheFlagIsReset)
{
    put(liveInsertionPath, "1\n");
    ASSERT_EQ(buildQuietly(), 0);
    const std::string database = contents(databasePath);
    EXPECT_EQ(database.find("record( stringout, \"CRATE:ClearAlarm\")\n{\n"), 0U);
    EXPECT_LT(database.find("\"CRATE:02:Reset\""), database.find("\"CRATE:02:000:Name\""));
    EXPECT_EQ(database.find("CRATE:01:"), std::string::npos);
    EXPECT_EQ(database.find("Range"), std::string::npos);
    EXPECT_EQ(contents(liveInsertionPath), "0\n");
}

TEST_F(StartupFiles, LongerFilesOfAnEarlierRunAreReplaced)
{
    ASSERT_EQ(buildQuietly(), 0);
    const std::string database = contents(databasePath);
    const std::string list = contents(pvListPath);
    NodePtr(systemNode).reset();
    for (const auto &file : files)
        put(file.path, std::string(100000, 'x'));
    ASSERT_EQ(buildQuietly(), 0);
    EXPECT_EQ(contents(databasePath), database);
    EXPECT_EQ(contents(pvListPath), list);
    EXPECT_EQ(contents(liveInsertionPath), "0\n");
}

TEST_F(StartupFiles, ACrateOfNothingHasEmptyFiles)
{
    fake.setCrate(FakeCrate());
    ASSERT_EQ(buildQuietly(), 0);
    EXPECT_EQ(contents(databasePath), "");
    EXPECT_EQ(contents(pvListPath), "");
    EXPECT_EQ(access(databasePath, F_OK), 0);
    EXPECT_EQ(access(pvListPath, F_OK), 0);
}

TEST_F(StartupFiles, PositionsAfterAChannelThatWasLeftOutMoveDown)
{
    fake.failCalls("GetChName(7, 0, 1, [0])", 5);
    ASSERT_EQ(buildQuietly(), 0);
    EXPECT_EQ(contents(pvListPath).find("CRATE:00:001:"), std::string::npos);
    EXPECT_NE(contents(pvListPath).find("0, 0, CRATE:00:000:VSet"), std::string::npos);
    EXPECT_FALSE(fake.callsOf("GetChParam(7, 0, VSet, 1, [1])").empty());
}

// ---- messages ----

TEST_F(StartupFiles, OnlyTheSystemsNameIsPrintedAtLevelZero)
{
    EXPECT_EQ(printedAt(0, [] { EXPECT_EQ(build(), 0); }), "SYSTEMNAME = CRATE\n");
}

TEST_F(StartupFiles, TheFilesAreToldFromLevelOneOn)
{
    FakeCrate crate = smallFakeCrate();
    for (FakeBoard &board : crate.slots) {
        for (FakeChannel &channel : board.channels)
            channel.parameters.pop_back(); // the enumeration, which is told too
    }
    fake.setCrate(crate);
    EXPECT_EQ(printedAt(1, [] { EXPECT_EQ(build(), 0); }),
              flagReset + "SYSTEMNAME = CRATE\n"
                          "Database written into file [/tmp/ZANTO.db]\n"
                          "PV list written into file [/tmp/pvlist.txt]\n");
}

// ---- failures ----

TEST_F(StartupFiles, AFailedLoginLeavesEmptyFilesAndNoTree)
{
    fake.failCalls("InitSystem(", 1234);
    EXPECT_EQ(printedAt(0, [] { EXPECT_EQ(build(), 1234); }), "");
    EXPECT_EQ(contents(liveInsertionPath), "0\n");
    EXPECT_EQ(contents(databasePath), "");
    EXPECT_EQ(contents(pvListPath), "");
    EXPECT_EQ(access(databasePath, F_OK), 0);
    EXPECT_EQ(access(pvListPath, F_OK), 0);
    EXPECT_EQ(systemNode, static_cast<ZANTONode *>(nullptr));
    EXPECT_EQ(fake.calls(), Lines{"InitSystem(2, 0, 10.0.0.9, admin, secret)"});
    EXPECT_EQ(printedAt(1, [] { EXPECT_EQ(build(), 1234); }),
              flagReset + "\nError initializing mainframe\n");
}

TEST_F(StartupFiles, AnEmptyHostIsRefusedAfterTheFilesAreOpened)
{
    put(databasePath, "old");
    EXPECT_EQ(printedAt(0, [] { EXPECT_EQ(build(""), -1); }), "");
    EXPECT_EQ(contents(databasePath), "");
    EXPECT_EQ(contents(liveInsertionPath), "0\n");
    EXPECT_EQ(fake.calls(), Lines{});
    EXPECT_EQ(printedAt(1, [] { EXPECT_EQ(build(""), -1); }),
              flagReset + "\nIP address not valid\n");
}

TEST_F(StartupFiles, AnyOtherHostTextIsHandedToTheLibrary)
{
    EXPECT_EQ(buildQuietly("no address"), 0);
    EXPECT_EQ(fake.calls()[0], "InitSystem(2, 0, no address, admin, secret)");
}

namespace {

// Something at a path where a file cannot be written.
enum class Obstacle { folder, symbolicLink, danglingLink, fifo };
constexpr const char *linkTarget = "/tmp/zantoUnitTest.target";

void plant(Obstacle obstacle, const char *path)
{
    if (obstacle == Obstacle::folder)
        ASSERT_EQ(mkdir(path, 0755), 0);
    else if (obstacle == Obstacle::fifo)
        ASSERT_EQ(mkfifo(path, 0666), 0);
    else
        ASSERT_EQ(symlink(linkTarget, path), 0);
    if (obstacle == Obstacle::symbolicLink)
        put(linkTarget, "precious");
}

} // namespace

TEST_F(StartupFiles, WhatStandsInTheWayOfAFileEndsTheBuildBeforeTheLogin)
{
    for (const auto &file : files) {
        for (const Obstacle obstacle :
             {Obstacle::folder, Obstacle::symbolicLink, Obstacle::danglingLink, Obstacle::fifo}) {
            SCOPED_TRACE(std::string(file.path) + " " + std::to_string(static_cast<int>(obstacle)));
            removeFiles();
            plant(obstacle, file.path);
            EXPECT_EQ(printedAt(0, [] { EXPECT_EQ(build(), -1); }), "");
            const bool flagWritten = file.path != std::string(liveInsertionPath);
            EXPECT_EQ(printedAt(1, [] { build(); }), (flagWritten ? flagReset : "") + file.message);
            if (obstacle == Obstacle::symbolicLink) {
                EXPECT_EQ(contents(linkTarget), "precious");
            }
            if (obstacle == Obstacle::danglingLink) {
                EXPECT_NE(access(linkTarget, F_OK), 0);
            }
            unlink(linkTarget);
        }
    }
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(StartupFiles, AFifoWithAReaderGetsNothing)
{
    ASSERT_EQ(mkfifo(databasePath, 0666), 0);
    const int reader = open(databasePath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(buildQuietly(), -1);
    char byte = 0;
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
}

TEST_F(StartupFiles, AFullDiskIsAFailedBuildAndLogsOut)
{
    FakeCrate crate = smallFakeCrate();
    crate.slots.assign(5, crate.slots[0]);
    fake.setCrate(crate);
    // The database has tens of kilobytes; the list, a tenth of it, would have room.
    ASSERT_EQ(buildQuietly(), 0);
    const auto databaseSize = contents(databasePath).size();
    const auto listSize = contents(pvListPath).size();
    ASSERT_GT(databaseSize, 4 * listSize);
    for (const rlim_t room : {databaseSize - 1, 2 * listSize, listSize - 1, size_t{5}}) {
        SCOPED_TRACE(room);
        NodePtr(systemNode).reset();
        systemNode = nullptr;
        fake.forgetCalls();
        beginNewLife();
        StdoutCapture quiet;
        {
            const FileSizeLimit limit(room);
            EXPECT_EQ(build(), -1);
        }
        EXPECT_EQ(fake.callsOf("DeinitSystem"), Lines{"DeinitSystem(7)"});
    }
}
