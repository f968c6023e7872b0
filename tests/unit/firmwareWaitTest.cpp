#include "shutdownSupport.h"

#include "Installed.h"
#include "ZANTOclock.h"
#include "ZANTOsocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::ExitedWithCode;
using ::testing::IsEmpty;

// ---- time: what the server pauses is told to the test and takes none ----

namespace {

std::function<void(milliseconds time)> onPause;

const ZANTOClock withoutPauses = {ZANTOSystemClock.now, ZANTOSystemClock.steadyNow,
                                  [](milliseconds time) { onPause(time); }};

constexpr milliseconds second{1000};

std::vector<int> connectErrors; // of the next attempts, from the last to the first

int failingConnect(int socket, const sockaddr_in &address)
{
    if (connectErrors.empty())
        return ZANTOSystemSockets.connect(socket, address);
    errno = connectErrors.back();
    connectErrors.pop_back();
    return -1;
}

// The firmware's port on an address of the loopback network that nobody else uses.
class Firmware : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        const auto process = static_cast<unsigned>(getpid());
        m_host = "127." + std::to_string(1 + process / 65536 % 250) + "." +
                 std::to_string(process / 256 % 256) + "." + std::to_string(process % 256);
        onPause = [this](milliseconds time) {
            m_pauses.push_back(time);
            if (m_pauses.size() == m_failures)
                listenNow();
        };
    }

    void TearDown() override
    {
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
        m_pauses.clear();
        m_failures = failures;
        stopListening();
        if (failures == 0)
            listenNow();
        return printedAt(level, [this] { EXPECT_EQ(tryToConnectLoop(m_host.c_str()), 0); });
    }

    std::string m_host;
    std::vector<milliseconds> m_pauses;
    std::size_t m_failures = 0;
    int m_listener = -1;
    const Installed<ZANTOClock> m_installed{ZANTOPresentClock, withoutPauses};
};

class FirmwareDeathTest : public ShutdownDeathTest {
    const Installed<ZANTOClock> m_installed{ZANTOPresentClock, withoutPauses};
};

} // namespace

TEST_F(Firmware, ThatListensIsConnectedToAtOnce)
{
    EXPECT_EQ(printedBy(0, 0), "");
    EXPECT_EQ(printedBy(1, 0), "Attempt to connect to firmware..\n");
    EXPECT_THAT(m_pauses, IsEmpty());
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
    EXPECT_THAT(m_pauses, ElementsAre(second, second, second));
    EXPECT_EQ(printedBy(1, 3), "Attempt to connect to firmware..\nerror\nerror\nerror\n");
    EXPECT_THAT(m_pauses, ElementsAre(second, second, second));
}

TEST_F(Firmware, IsAskedAgainWhateverAnAttemptFailedOf)
{
    ZANTOSocketCalls sockets = ZANTOSystemSockets;
    sockets.connect = failingConnect;
    const Installed<ZANTOSocketCalls> installed(ZANTOPresentSockets, sockets);
    connectErrors = {EINTR, ETIMEDOUT, ENETUNREACH, EADDRNOTAVAIL};
    EXPECT_EQ(printedBy(1, 0), "Attempt to connect to firmware..\nerror\nerror\nerror\nerror\n");
    EXPECT_THAT(m_pauses, ElementsAre(second, second, second, second));
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
            onPause = [count = 0](milliseconds) mutable {
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
            onPause = [](milliseconds) {
                raise(SIGTERM);
                waitForTheEnd();
            };
            tryToConnectLoop("no.address");
        },
        ExitedWithCode(0), Eq(""));
}
