#include "fileSupport.h"

#include "ZANTOfile.h"

#include <atomic>
#include <cstdlib>
#include <thread>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class OutputFile : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        char name[] = "/tmp/zantoFileTest.XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        m_folder = name;
    }

    void TearDown() override
    {
        for (const std::string &path : m_paths)
            unlink(path.c_str());
        rmdir(m_folder.c_str());
        ZantoTest::TearDown();
    }

    static ino_t fileAt(const std::string &path)
    {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_ino;
    }

    static mode_t modeOf(const std::string &path)
    {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }

    // Writes to the file at `name` and expects that one whom `old` reached is left behind.
    static void expectReplaced(const std::string &name, int old, uid_t user = geteuid())
    {
        ZANTOOutputFile file(name.c_str(), user);
        ASSERT_TRUE(file.isOpen());
        struct stat before = {};
        ASSERT_EQ(fstat(old, &before), 0);
        EXPECT_NE(fileAt(name), before.st_ino);
        EXPECT_EQ(before.st_size, 3) << "what is not ours is not emptied";
        EXPECT_EQ(write(old, "planted", 7), 7);
        file.write("ours");
        EXPECT_TRUE(file.close());
        EXPECT_EQ(contents(name), "ours");
        EXPECT_EQ(modeOf(name) & ~0644U, 0U);
    }

    // What this process makes is not that user's.
    static uid_t someOtherUser() { return geteuid() + 1; }

    std::string path(const std::string &name)
    {
        m_paths.push_back(m_folder + "/" + name);
        return m_paths.back();
    }

private:
    std::string m_folder;
    Lines m_paths;
};

} // namespace

TEST_F(OutputFile, CreatesAFileWithWhatIsWritten)
{
    const std::string name = path("new");
    ZANTOOutputFile file(name.c_str());
    ASSERT_TRUE(file.isOpen());
    file.write("one\n");
    file.write("");
    file.write("two\n");
    EXPECT_TRUE(file.close());
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(contents(name), "one\ntwo\n");
}

TEST_F(OutputFile, KeepsBytesThatAreNoText)
{
    const std::string name = path("bytes");
    const std::string bytes("a\0b\xFF", 4);
    ZANTOOutputFile file(name.c_str());
    file.write(bytes);
    EXPECT_TRUE(file.close());
    EXPECT_EQ(contents(name), bytes);
}

TEST_F(OutputFile, EmptiesAFileThatExists)
{
    const std::string name = path("old");
    put(name, "something longer than the new contents");
    ZANTOOutputFile file(name.c_str());
    EXPECT_EQ(contents(name), "");
    file.write("new");
    EXPECT_TRUE(file.close());
    EXPECT_EQ(contents(name), "new");
}

TEST_F(OutputFile, MayBeReadByEverybodyButWrittenByItsOwnerAlone)
{
    const std::string name = path("mode");
    const mode_t before = umask(0);
    {
        const ZANTOOutputFile file(name.c_str());
    }
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
}

TEST_F(OutputFile, IsClosedByItsDestructor)
{
    const std::string name = path("scope");
    {
        ZANTOOutputFile file(name.c_str());
        file.write("kept");
    }
    EXPECT_EQ(contents(name), "kept");
}

TEST_F(OutputFile, DoesNotFollowASymbolicLink)
{
    const std::string target = path("target");
    const std::string link = path("link");
    put(target, "precious");
    ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
    EXPECT_FALSE(ZANTOOutputFile(link.c_str()).isOpen());
    EXPECT_EQ(contents(target), "precious");
}

TEST_F(OutputFile, DoesNotCreateWhatADanglingLinkNames)
{
    const std::string target = path("target");
    const std::string link = path("link");
    ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
    EXPECT_FALSE(ZANTOOutputFile(link.c_str()).isOpen());
    EXPECT_NE(access(target.c_str(), F_OK), 0);
}

TEST_F(OutputFile, NeverWaitsForTheReaderOfAFifo)
{
    const std::string fifo = path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_FALSE(ZANTOOutputFile(fifo.c_str()).isOpen());
}

TEST_F(OutputFile, WritesNothingToTheReaderOfAFifo)
{
    const std::string fifo = path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ZANTOOutputFile file(fifo.c_str());
    EXPECT_FALSE(file.isOpen());
    file.write("secret");
    EXPECT_FALSE(file.close());
    char byte = 0;
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
}

TEST_F(OutputFile, TakesNeitherAFolderNorADevice)
{
    EXPECT_FALSE(ZANTOOutputFile("/tmp").isOpen());
    EXPECT_FALSE(ZANTOOutputFile("/dev/null").isOpen());
    EXPECT_FALSE(ZANTOOutputFile("/nowhere/at/all").isOpen());
}

TEST_F(OutputFile, WhatCannotBeOpenedCannotBeWritten)
{
    ZANTOOutputFile file("/nowhere/at/all");
    file.write("lost");
    EXPECT_FALSE(file.close());
}

TEST_F(OutputFile, ReportsADiskThatIsFullWhenItIsClosed)
{
    const std::string name = path("full");
    ZANTOOutputFile file(name.c_str());
    const FileSizeLimit limit(10);
    file.write("a few bytes more than there is room for");
    EXPECT_FALSE(file.close());
}

TEST_F(OutputFile, RemembersAWriteThatFailedBeforeTheLastOne)
{
    const std::string name = path("full");
    ZANTOOutputFile file(name.c_str());
    {
        const FileSizeLimit limit(10);
        file.write(repeated("x", 1 << 20)); // more than any buffer holds
    }
    file.write("end");
    EXPECT_FALSE(file.close());
}

TEST_F(OutputFile, LeavesNoDescriptorOpen)
{
    const std::string name = path("many");
    const std::string fifo = path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    const int before = dup(0);
    close(before);
    for (int i = 0; i < 10; ++i) {
        const ZANTOOutputFile first(name.c_str());
        const ZANTOOutputFile refused(fifo.c_str());
    }
    const int after = dup(0);
    EXPECT_EQ(after, before);
    close(after);
    close(reader);
}

TEST_F(OutputFile, IsNotInheritedByProgramsThatAreStarted)
{
    const int next = dup(0);
    close(next);
    const ZANTOOutputFile file(path("private").c_str());
    EXPECT_EQ(fcntl(next, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

// ---- files that others can hold open for writing ----

TEST_F(OutputFile, KeepsAFileOfItsOwn)
{
    const std::string name = path("own");
    put(name, "old");
    ASSERT_EQ(chmod(name.c_str(), 0600), 0);
    const int old = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    ZANTOOutputFile file(name.c_str());
    file.write("new");
    EXPECT_TRUE(file.close());
    char text[4] = {};
    EXPECT_EQ(read(old, text, 3), 3) << "whoever watches the file keeps it";
    EXPECT_STREQ(text, "new");
    EXPECT_EQ(modeOf(name), 0600U);
    close(old);
}

TEST_F(OutputFile, ReplacesAFileOfAnotherUser)
{
    const std::string name = path("foreign");
    put(name, "old");
    ASSERT_EQ(chmod(name.c_str(), 0644), 0);
    const int old = open(name.c_str(), O_RDWR | O_CLOEXEC);
    expectReplaced(name, old, someOtherUser());
    close(old);
}

TEST_F(OutputFile, ReplacesAFileWithAnotherName)
{
    const std::string name = path("linked");
    const std::string other = path("other");
    put(name, "old");
    ASSERT_EQ(chmod(name.c_str(), 0644), 0);
    ASSERT_EQ(link(name.c_str(), other.c_str()), 0);
    const int old = open(other.c_str(), O_RDWR | O_CLOEXEC);
    expectReplaced(name, old);
    EXPECT_EQ(contents(other), "planted");
    close(old);
}

TEST_F(OutputFile, ReplacesAFileThatOthersMayWrite)
{
    const std::string name = path("open");
    for (const mode_t mode : {0666U, 0664U, 0646U}) {
        unlink(name.c_str());
        put(name, "old");
        ASSERT_EQ(chmod(name.c_str(), mode), 0);
        const int old = open(name.c_str(), O_RDWR | O_CLOEXEC);
        expectReplaced(name, old);
        close(old);
    }
}

TEST_F(OutputFile, TakesTheNameOfAFileThatItMayNotWrite)
{
    const std::string name = path("readOnly");
    put(name, "old");
    ASSERT_EQ(chmod(name.c_str(), 0444), 0);
    ZANTOOutputFile file(name.c_str());
    file.write("new");
    EXPECT_TRUE(file.close());
    EXPECT_EQ(contents(name), "new");
}

// As the files of servers that start in the same moment do.
TEST_F(OutputFile, IsOpenedWhileTheFileComesAndGoes)
{
    const std::string name = path("comesAndGoes");
    std::atomic<bool> goesOn{true};
    std::thread other([&] {
        while (goesOn) {
            close(open(name.c_str(), O_WRONLY | O_CREAT, 0644));
            unlink(name.c_str());
        }
    });
    int refused = 0;
    for (int round = 0; round < 20000; ++round)
        refused += ZANTOOutputFile(name.c_str()).isOpen() ? 0 : 1;
    goesOn = false;
    other.join();
    EXPECT_EQ(refused, 0);
}

TEST_F(OutputFile, RefusesAFileThatItCannotReplace)
{
    // Regular and writable, and nobody can remove it.
    const char *name = "/proc/self/comm";
    const std::string before = contents(name);
    ZANTOOutputFile file(name, someOtherUser());
    EXPECT_FALSE(file.isOpen());
    file.write("new");
    EXPECT_FALSE(file.close());
    EXPECT_EQ(contents(name), before);
}
