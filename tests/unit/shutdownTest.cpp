#include "unitSupport.h"

#include "ZANTO.h"
#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"

#include <drvSup.h>
#include <epicsExit.h>
#include <epicsThread.h>

#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <netinet/in.h>
#include <stdio_ext.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::ExitedWithCode;
using ::testing::IsEmpty;
using ::testing::KilledBySignal;

extern "C" {
// As the IOC's registration finds the driver.
extern drvet *pvar_drvet_drvVEXAZANTO;
}

// ---- time: what the server sleeps is told to the test and takes none ----

namespace {
std::function<void(unsigned seconds)> onSleep;
}

extern "C" {

unsigned sleep(unsigned seconds)
{
    if (onSleep)
        onSleep(seconds);
    return 0;
}

// EPICS pauses before each exit.
void epicsThreadSleep(double) {}
}

namespace {

/// The ends of a process, each in a child: what it prints comes back as standard error, with
/// the calls to the library, in order.
class ShutdownDeathTest : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }

    // In the child, before anything else.
    void prepare(int16_t level)
    {
        DEBUG = level;
        __fpurge(stdout); // what the test program has printed itself
        dup2(STDERR_FILENO, STDOUT_FILENO);
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        fake.setHook([this](const std::string &call) {
            dprintf(STDERR_FILENO, "%s\n", call.c_str());
            if (m_onCall)
                m_onCall(call);
        });
        alarm(20); // watchdog
    }

    // A system with a command and a property, an empty slot, a board with one channel.
    static void plantTree()
    {
        systemNode = bareNode("CRATE", nodeTypeSystemItem);
        add(systemNode, "Cmd", nodeTypeSystemCmd, nodeAccessWrite);
        add(systemNode, "Prop", nodeTypeSystemProp, nodeAccessRead);
        systemNode->addChildNode(bareNode("", nodeTypeEmptyNode));
        ZANTONode *board = bareNode("Board01", nodeTypeBoardItem);
        systemNode->addChildNode(board);
        add(board, "Temp", nodeTypeBoardParam, nodeAccessRead);
        ZANTONode *channel = bareNode("Chan000", nodeTypeChannelItem);
        board->addChildNode(channel);
        add(channel, "VSet", nodeTypeChannelParam, nodeAccessReadWrite);
        systemNode->setSysHandle(crateHandle);
    }

    static void add(ZANTONode *holder, const char *name, nodeType type, nodeAccessRights access)
    {
        holder->addParameter(makeItem(name, type, 0, access).release());
    }

    [[noreturn]] void shutDown(int16_t level)
    {
        prepare(level);
        plantTree();
        ZANTOOpenTree();
        Shutdown();
    }

    void catchSignals()
    {
        SetSigShutdownHandler();
        ZANTOStartSignalThread();
    }

    // The driver's init of a server that listens on a port of the kernel's choosing, which
    // must not be printed.
    void initDriver(int16_t level)
    {
        prepare(level);
        fake.setHook(nullptr);
        plantTree();
        ZANTOOpenTree();
        tcpPort = 0;
        epicsThreadCreate("server", epicsThreadPriorityMedium,
                          epicsThreadGetStackSize(epicsThreadStackBig), tcpServer_Thread,
                          nullptr);
        if (runInit() != 0)
            _exit(1);
    }

    static long runInit() { return pvar_drvet_drvVEXAZANTO->init(); }

    [[noreturn]] static void waitForTheEnd()
    {
        while (true)
            pause();
    }

    std::function<void(const std::string &call)> m_onCall;
};

constexpr const char *loggedOut = "UnSubscribeSystemParams(7, 5180, :Prop, 1)\n"
                                  "UnSubscribeBoardParams(7, 5180, 1, Temp, 1)\n"
                                  "UnSubscribeChannelParams(7, 5180, 1, 0, VSet, 1)\n"
                                  "DeinitSystem(7)\n";

Lines subscriptionsAt(int32_t port)
{
    const std::string text = std::to_string(static_cast<int16_t>(port));
    return {"SubscribeSystemParams(7, " + text + ", :Prop, 1)",
            "SubscribeBoardParams(7, " + text + ", 1, Temp, 1)",
            "SubscribeChannelParams(7, " + text + ", 1, 0, VSet, 1)"};
}

void limit(__rlimit_resource_t resource, rlim_t most)
{
    const rlimit limits = {most, most};
    setrlimit(resource, &limits);
}

std::string withMessages(const std::string &calls)
{
    return "\nShutting down crate\n" + calls + "\nCrate disconnected\n";
}

bool startsWith(const std::string &text, const char *start) { return text.rfind(start, 0) == 0; }

} // namespace

// ---- shutdown ----

TEST_F(ShutdownDeathTest, UnsubscribesLogsOutAndEndsWithStatus0)
{
    EXPECT_EXIT(shutDown(0), ExitedWithCode(0), Eq(loggedOut));
}

TEST_F(ShutdownDeathTest, TellsItsBeginAndEndFromLevel1On)
{
    EXPECT_EXIT(shutDown(1), ExitedWithCode(0), Eq(withMessages(loggedOut)));
}

TEST_F(ShutdownDeathTest, WithoutATreeCallsNothing)
{
    EXPECT_EXIT(
        {
            prepare(0);
            Shutdown();
        },
        ExitedWithCode(0), Eq(""));
    EXPECT_EXIT(
        {
            prepare(1);
            Shutdown();
        },
        ExitedWithCode(0), Eq(withMessages("")));
}

TEST_F(ShutdownDeathTest, OfATreeThatIsNotCompleteOnlyLogsOut)
{
    EXPECT_EXIT(
        {
            prepare(0);
            ZANTOBeginTree();
            plantTree();
            Shutdown();
        },
        ExitedWithCode(0), Eq("DeinitSystem(7)\n"));
}

TEST_F(ShutdownDeathTest, IgnoresWhatUnsubscribeAndLogoutReturn)
{
    fake.failCalls("UnSubscribe", 5);
    fake.failCalls("DeinitSystem", 6);
    EXPECT_EXIT(shutDown(0), ExitedWithCode(0), Eq(loggedOut));
}

TEST_F(ShutdownDeathTest, DeletesTheTree)
{
    EXPECT_EXIT(
        {
            std::atexit([] {
                dprintf(STDERR_FILENO, "%d nodes, root %s\n", liveNodes(),
                        systemNode == nullptr ? "gone" : "there");
            });
            shutDown(0);
        },
        ExitedWithCode(0), Eq(std::string(loggedOut) + "0 nodes, root gone\n"));
}

TEST_F(ShutdownDeathTest, FromManyThreadsHappensOnce)
{
    EXPECT_EXIT(
        {
            prepare(1);
            plantTree();
            ZANTOOpenTree();
            std::thread(Shutdown).detach();
            std::thread(Shutdown).detach();
            Shutdown();
        },
        ExitedWithCode(0), Eq(withMessages(loggedOut)));
}

// Exit hooks would take apart what the script is putting together.
TEST_F(ShutdownDeathTest, InsideTheScriptRunsNoExitHooksButLosesNoOutput)
{
    EXPECT_EXIT(
        {
            prepare(0);
            std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
            std::printf("buffered\n");
            std::atexit([] { dprintf(STDERR_FILENO, "exit hook\n"); });
            ZANTOSetScriptRunning(true);
            Shutdown();
        },
        ExitedWithCode(0), Eq("buffered\n"));
}

TEST_F(ShutdownDeathTest, WaitsForStartupWorkToReachACheckpoint)
{
    EXPECT_EXIT(
        {
            prepare(0);
            ZANTOBeginTree();
            const ZANTOStartupWork work;
            plantTree();
            m_onCall = [](const std::string &call) {
                if (startsWith(call, "GetSysPropList"))
                    std::thread(Shutdown).detach();
            };
            uint16_t count = 0;
            char *list = nullptr;
            VEXAHV_GetSysPropList(crateHandle, &count, &list);
            while (true)
                ZANTOStartupCheckpoint();
        },
        ExitedWithCode(0), Eq("GetSysPropList(7)\nDeinitSystem(7)\n"));
}

// ---- signals ----

TEST_F(ShutdownDeathTest, EachTerminationSignalIsToldAndShutsDown)
{
    const struct {
        int number;
        int16_t level;
        const char *message;
    } cases[] = {{SIGHUP, 2, "\nCaught a termination signal (Hangup).\n"},
                 {SIGINT, 2, "\nCaught a termination signal (Interrupt).\n"},
                 {SIGQUIT, 2, "\nCaught a termination signal (Quit).\n"},
                 {SIGTERM, 2, "\nCaught a termination signal (Terminated).\n"},
                 {SIGINT, 1, ""}};
    for (const auto &c : cases) {
        SCOPED_TRACE(::testing::Message() << c.number << " at level " << c.level);
        EXPECT_EXIT(
            {
                catchSignals();
                prepare(c.level);
                plantTree();
                ZANTOOpenTree();
                raise(c.number);
                waitForTheEnd();
            },
            ExitedWithCode(0), Eq(c.message + withMessages(loggedOut)));
    }
}

TEST_F(ShutdownDeathTest, ASignalShutsDownInSilenceAtLevel0)
{
    EXPECT_EXIT(
        {
            catchSignals();
            prepare(0);
            plantTree();
            ZANTOOpenTree();
            raise(SIGTERM);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(loggedOut));
}

TEST_F(ShutdownDeathTest, ASignalBeforeItsThreadIsNotLost)
{
    EXPECT_EXIT(
        {
            prepare(1);
            SetSigShutdownHandler();
            raise(SIGTERM);
            ZANTOStartSignalThread();
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(withMessages("")));
}

TEST_F(ShutdownDeathTest, ASecondSignalEndsTheProcessByItsDefaultAction)
{
    for (const int second : {SIGINT, SIGHUP, SIGQUIT, SIGTERM}) {
        SCOPED_TRACE(second);
        EXPECT_EXIT(
            {
                prepare(0);
                limit(RLIMIT_CORE, 0);
                plantTree();
                catchSignals();
                m_onCall = [second](const std::string &) {
                    kill(getpid(), second);
                    waitForTheEnd();
                };
                raise(SIGINT);
                waitForTheEnd();
            },
            KilledBySignal(second), "");
    }
}

TEST_F(ShutdownDeathTest, ASignalWhileTheShellIsLeftDoesNotShutDownTwice)
{
    EXPECT_EXIT(
        {
            m_onCall = [](const std::string &call) {
                if (startsWith(call, "DeinitSystem"))
                    raise(SIGTERM);
            };
            catchSignals();
            shutDown(1);
        },
        ExitedWithCode(0), Eq(withMessages(loggedOut)));
}

TEST_F(ShutdownDeathTest, TheHandlerIgnoresNumbersFrom260On)
{
    EXPECT_EXIT(
        {
            prepare(2);
            catchSignals();
            SigShutdownHandler(260);
            SigShutdownHandler(1000);
            // Had one of them been taken, the default action would follow now.
            raise(SIGINT);
            waitForTheEnd();
        },
        ExitedWithCode(0),
        Eq("\nCaught a termination signal (Interrupt).\n" + withMessages("")));
}

TEST_F(ShutdownDeathTest, TheHandlerTakesAnyNumberBelow260)
{
    EXPECT_EXIT(
        {
            prepare(2);
            catchSignals();
            SigShutdownHandler(259);
            waitForTheEnd();
        },
        ExitedWithCode(0),
        Eq("\nCaught a termination signal (Unknown signal 259).\n" + withMessages("")));
}

TEST_F(ShutdownDeathTest, TheHandlersAreResetOnDelivery)
{
    EXPECT_EXIT(
        {
            SetSigShutdownHandler();
            bool well = true;
            for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
                struct sigaction action = {};
                sigaction(number, nullptr, &action);
                well = well && action.sa_handler == SigShutdownHandler &&
                       (action.sa_flags & SA_RESETHAND) != 0 &&
                       (action.sa_flags & SA_NOCLDSTOP) != 0 &&
                       sigisemptyset(&action.sa_mask) == 1;
            }
            _exit(well ? 0 : 1);
        },
        ExitedWithCode(0), "");
}

TEST_F(ShutdownDeathTest, AWriteToAPeerThatHasGoneDoesNotKill)
{
    EXPECT_EXIT(
        {
            SetSigShutdownHandler();
            raise(SIGPIPE);
            _exit(0);
        },
        ExitedWithCode(0), "");
}

// ---- driver ----

TEST_F(ShutdownDeathTest, TheDriverHasTwoEntriesAndNoReport)
{
    EXPECT_EQ(pvar_drvet_drvVEXAZANTO->number, 2);
    EXPECT_EQ(pvar_drvet_drvVEXAZANTO->report, nullptr);
    EXPECT_NE(pvar_drvet_drvVEXAZANTO->init, nullptr);
}

TEST_F(ShutdownDeathTest, TheDriversInitTellsItsStartAtEveryLevel)
{
    EXPECT_EXIT(
        {
            initDriver(0);
            _exit(0);
        },
        ExitedWithCode(0), Eq("Starting VEXA ZANTO driver\n"));
    EXPECT_EXIT(
        {
            initDriver(1);
            _exit(0);
        },
        ExitedWithCode(0), Eq("Starting VEXA ZANTO driver\n\nVEXA ZANTO driver ready\n"));
}

TEST_F(ShutdownDeathTest, TheDriversInitIgnoresRefusedSubscriptions)
{
    fake.failCalls("Subscribe", 5);
    EXPECT_EXIT(
        {
            initDriver(0); // ends with status 1 unless init returns 0
            _exit(0);
        },
        ExitedWithCode(0), Eq("Starting VEXA ZANTO driver\n"));
}

TEST_F(ShutdownDeathTest, TheDriversInitSubscribesWithThePortReallyBound)
{
    EXPECT_EXIT(
        {
            initDriver(0);
            const bool chosen = tcpPort != 0;
            _exit(chosen && fake.calls() == subscriptionsAt(tcpPort) ? 0 : 1);
        },
        ExitedWithCode(0), "");
}

TEST_F(ShutdownDeathTest, AnExitOfTheIocLogsOut)
{
    EXPECT_EXIT(
        {
            initDriver(0);
            fake.setHook([](const std::string &call) {
                if (startsWith(call, "DeinitSystem"))
                    dprintf(STDERR_FILENO, "%s\n", call.c_str());
            });
            epicsExit(0);
        },
        ExitedWithCode(0), Eq("Starting VEXA ZANTO driver\nDeinitSystem(7)\n"));
}

// ---- firmware wait ----

namespace {

/// The firmware's port on an address of the loopback network that nobody else uses.
class Firmware : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        const auto process = static_cast<unsigned>(getpid());
        m_host = "127." + std::to_string(1 + process / 65536 % 250) + "." +
                 std::to_string(process / 256 % 256) + "." + std::to_string(process % 256);
        onSleep = [this](unsigned seconds) {
            m_sleeps.push_back(seconds);
            if (m_sleeps.size() == m_failures)
                listenNow();
        };
    }

    void TearDown() override
    {
        onSleep = nullptr;
        stopListening();
        ZantoTest::TearDown();
    }

    void listenNow()
    {
        m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int on = 1;
        setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(3180);
        inet_pton(AF_INET, m_host.c_str(), &address.sin_addr);
        ASSERT_EQ(bind(m_listener, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
        ASSERT_EQ(listen(m_listener, 8), 0);
    }

    void stopListening()
    {
        if (m_listener >= 0)
            close(m_listener);
        m_listener = -1;
    }

    // Waits for firmware that comes up after this many failures.
    std::string printedBy(int16_t level, std::size_t failures)
    {
        m_sleeps.clear();
        m_failures = failures;
        stopListening();
        if (failures == 0)
            listenNow();
        return printedAt(level, [this] { EXPECT_EQ(tryToConnectLoop(m_host.c_str()), 0); });
    }

    std::string m_host;
    std::vector<unsigned> m_sleeps;
    std::size_t m_failures = 0;
    int m_listener = -1;
};

class FirmwareDeathTest : public ShutdownDeathTest {};

} // namespace

TEST_F(Firmware, ThatListensIsConnectedToAtOnce)
{
    EXPECT_EQ(printedBy(0, 0), "");
    EXPECT_EQ(printedBy(1, 0), "Attempt to connect to firmware..\n");
    EXPECT_THAT(m_sleeps, IsEmpty());
}

TEST_F(Firmware, GetsNothingButAConnectionThatIsClosed)
{
    printedBy(0, 0);
    const int peer = accept(m_listener, nullptr, nullptr);
    ASSERT_GE(peer, 0);
    char byte = 0;
    EXPECT_EQ(recv(peer, &byte, 1, 0), 0);
    close(peer);
}

TEST_F(Firmware, IsAskedOnceASecondUntilItListens)
{
    EXPECT_EQ(printedBy(0, 3), "");
    EXPECT_THAT(m_sleeps, ElementsAre(1, 1, 1));
    EXPECT_EQ(printedBy(1, 3), "Attempt to connect to firmware..\nerror\nerror\nerror\n");
    EXPECT_THAT(m_sleeps, ElementsAre(1, 1, 1));
}

TEST_F(Firmware, LeavesNoDescriptorOpen)
{
    const int before = dup(0);
    close(before);
    printedBy(0, 1);
    stopListening();
    const int after = dup(0);
    close(after);
    EXPECT_EQ(after, before);
}

TEST_F(FirmwareDeathTest, IsSoughtForEverAtAHostThatIsNoAddress)
{
    EXPECT_EXIT(
        {
            prepare(1);
            onSleep = [count = 0](unsigned) mutable {
                if (++count == 50)
                    _exit(0);
            };
            tryToConnectLoop("no.address");
        },
        ExitedWithCode(0), Eq("Attempt to connect to firmware..\n" + repeated("error\n", 50)));
}

TEST_F(FirmwareDeathTest, WithoutASocketThereIsAMessageAtEveryLevel)
{
    EXPECT_EXIT(
        {
            prepare(0);
            limit(RLIMIT_NOFILE, 3);
            _exit(tryToConnectLoop("127.0.0.1") == 1 ? 0 : 1);
        },
        ExitedWithCode(0), Eq("\nUnable to create socket for connection\n"));
}

TEST_F(FirmwareDeathTest, ASignalEndsTheWait)
{
    EXPECT_EXIT(
        {
            prepare(0);
            catchSignals();
            onSleep = [](unsigned) {
                raise(SIGTERM);
                waitForTheEnd();
            };
            tryToConnectLoop("no.address");
        },
        ExitedWithCode(0), Eq(""));
}
