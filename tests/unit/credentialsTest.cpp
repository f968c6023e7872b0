#include "fileSupport.h"

#include "ZANTOcredentials.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const std::string good = "user=operator\npassword=secret\n";
constexpr uid_t somebody = 12345;

class Credentials : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        char name[] = "/tmp/zantoCredentialsTest.XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        m_folder = name;
        m_file = m_folder + "/credentials";
    }

    void TearDown() override
    {
        unlink(m_file.c_str());
        unlink((m_folder + "/link").c_str());
        rmdir(m_folder.c_str());
        ZantoTest::TearDown();
    }

    void write(const std::string &text, mode_t mode = 0600) const
    {
        put(m_file, text);
        ASSERT_EQ(chmod(m_file.c_str(), mode), 0);
    }

    // What is wrong with the file; then nothing may have been taken from it.
    std::string refusal(uid_t self = geteuid()) const
    {
        ZANTOCredentials before{"before", "before"};
        std::string complaint = ZANTOReadCredentials(m_file.c_str(), before, self);
        if (!complaint.empty()) {
            EXPECT_EQ(before.user, "before");
            EXPECT_EQ(before.password, "before");
        }
        return complaint;
    }

    void expectRead(const std::string &text, const std::string &user,
                    const std::string &password) const
    {
        SCOPED_TRACE(text);
        write(text);
        ZANTOCredentials credentials;
        EXPECT_EQ(ZANTOReadCredentials(m_file.c_str(), credentials), "");
        EXPECT_EQ(credentials.user, user);
        EXPECT_EQ(credentials.password, password);
    }

    void expectRefused(const std::string &text, const std::string &complaint) const
    {
        SCOPED_TRACE(text);
        write(text);
        EXPECT_EQ(refusal(), complaint);
    }

    std::string m_folder;
    std::string m_file;
};

} // namespace

TEST_F(Credentials, AreTwoLinesInEitherOrder)
{
    expectRead(good, "operator", "secret");
    expectRead("password=secret\nuser=operator", "operator", "secret");
}

TEST_F(Credentials, EmptyLinesAndCommentsMeanNothing)
{
    expectRead("\n# of the crate\n#user=old\n \t\nuser=operator\n\npassword=secret\n\n", "operator",
               "secret");
}

TEST_F(Credentials, AreTakenByteForByte)
{
    expectRead("user= me \npassword=a=b #c\"'\\$\t\n", " me ", "a=b #c\"'\\$\t");
    expectRead("user=\npassword=\n", "", "");
    expectRead("user=J\xc3\xbcrgen\npassword=\xff\n", "J\xc3\xbcrgen", "\xff");
}

TEST_F(Credentials, LinesMayEndAsOnOtherSystems)
{
    expectRead("user=operator\r\n\r\npassword=secret\r\n", "operator", "secret");
}

TEST_F(Credentials, AreAsLongAsOnTheCommandLine)
{
    const std::string text = repeated("x", 254);
    expectRead("user=" + text + "\npassword=" + text, text, text);
    expectRefused("user=a\npassword=" + text + "y",
                  "line 2 has a value of more than 254 characters");
    expectRefused("user=" + text + "y\npassword=b",
                  "line 1 has a value of more than 254 characters");
}

TEST_F(Credentials, WhatIsNoneOfTheTwoIsRefusedByItsLineAndNotShown)
{
    for (const char *line : {"secret", "pasword=secret", "User=operator", "=secret", " user=secret",
                             "user =secret", "password:secret", "export user=secret"})
        expectRefused("# one\n" + std::string(line) + "\n" + good,
                      "line 2 is neither user= nor password=");
}

TEST_F(Credentials, EachIsGivenOnce)
{
    expectRefused(good + "user=other\n", "line 3 gives a second value");
    expectRefused(good + "password=secret\n", "line 3 gives a second value");
    expectRefused("user=operator\n", "no password=");
    expectRefused("password=secret\n", "no user=");
    expectRefused("", "no user=");
    expectRefused("# nothing yet\n", "no user=");
}

TEST_F(Credentials, ANulCharacterWouldCutThePassword)
{
    expectRefused("user=a\npassword=se" + std::string(1, '\0') + "cret\n",
                  "line 2 has a value with a NUL character");
}

TEST_F(Credentials, AFileOfAnotherKindIsNotReadToItsEnd)
{
    expectRead(good + "#" + repeated("x", 4096 - good.size() - 1), "operator", "secret");
    expectRefused(good + "#" + repeated("x", 4096 - good.size()), "longer than 4096 bytes");
}

TEST_F(Credentials, AFileThatOthersCanReadOrWriteIsRefused)
{
    for (const mode_t mode : {0604U, 0602U, 0620U, 0666U, 0777U}) {
        write(good, mode);
        EXPECT_THAT(refusal(), testing::StartsWith("others can read or write it (mode 0"));
    }
    for (const mode_t mode : {0600U, 0400U, 0700U}) {
        write(good, mode);
        EXPECT_EQ(refusal(), "");
    }
    write(good, 0644);
    EXPECT_EQ(refusal(), "others can read or write it (mode 0644, not 0600)");
}

// What can be seen of it depends on who runs the tests and so owns the file.
TEST_F(Credentials, TheGroupMayReadAFileOfRootAlone)
{
    write(good, 0440);
    EXPECT_EQ(refusal() == "", geteuid() == 0);
    if (geteuid() != 0)
        return;
    EXPECT_EQ(refusal(somebody), "") << "as handed out by a service manager";
    ASSERT_EQ(chown(m_file.c_str(), somebody, somebody), 0);
    EXPECT_EQ(refusal(somebody), "others can read or write it (mode 0440, not 0600)");
}

TEST_F(Credentials, AFileOfSomebodyElseIsRefused)
{
    write(good);
    if (geteuid() == 0) {
        EXPECT_EQ(refusal(somebody), "") << "of root";
        ASSERT_EQ(chown(m_file.c_str(), somebody, somebody), 0);
        EXPECT_EQ(refusal(somebody), "");
        EXPECT_EQ(refusal(), "belongs to another user");
    }
    EXPECT_EQ(refusal(somebody + 1), "belongs to another user");
}

TEST_F(Credentials, AFileThatIsMissingIsRefused)
{
    EXPECT_EQ(refusal(), "No such file or directory");
}

TEST_F(Credentials, ALinkCountsAsWhatItLeadsTo)
{
    write(good);
    const std::string link = m_folder + "/link";
    ASSERT_EQ(symlink(m_file.c_str(), link.c_str()), 0);
    ZANTOCredentials credentials;
    EXPECT_EQ(ZANTOReadCredentials(link.c_str(), credentials), "");
    EXPECT_EQ(credentials.user, "operator");
    ASSERT_EQ(chmod(m_file.c_str(), 0644), 0);
    EXPECT_NE(ZANTOReadCredentials(link.c_str(), credentials), "");
}

TEST_F(Credentials, WhatIsNotARegularFileIsRefusedWithoutAWait)
{
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_EQ(refusal(), "not a regular file");
    ZANTOCredentials credentials;
    EXPECT_EQ(ZANTOReadCredentials("/dev/null", credentials), "not a regular file");
    EXPECT_EQ(ZANTOReadCredentials(m_folder.c_str(), credentials), "not a regular file");
}
