// The control port, and connections to the crate that are no library's.
#include <arpa/inet.h>
#include <fstream>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "controller.h"

using namespace crateTest;
using sim::control::Json;

namespace {

struct ControlTest : testing::Test {
    RunningCrate crate{controlled()};
    Controller control{temporaryPath()};
};

} // namespace

TEST_F(ControlTest, SetsAndGetsAsTheFrontPanel)
{
    EXPECT_EQ(
        control.ask(
            {{"cmd", "set"}, {"slot", 0}, {"channel", 1}, {"name", "VSet"}, {"value", 12.1}})["ok"],
        true);
    EXPECT_EQ(control.ask({{"cmd", "get"}, {"slot", 0}, {"channel", 1}, {"name", "VSet"}})["value"],
              12.1);
    EXPECT_EQ(control.ask({{"cmd", "set"}, {"slot", 0}, {"name", "Jumpers"}, {"value", 9}})["ok"],
              true);
    EXPECT_EQ(control.ask({{"cmd", "get"}, {"name", "Location"}})["value"], "Test stand");
}

TEST_F(ControlTest, ErrorsSayWhatIsWrong)
{
    using testing::HasSubstr;
    EXPECT_THAT(control.errorOf("nonsense"), HasSubstr("JSON"));
    EXPECT_THAT(control.errorOf("[1]"), HasSubstr("object"));
    EXPECT_THAT(control.errorOf("{}"), HasSubstr("cmd"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"dance"})"), HasSubstr("dance"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"get","name":"Nothing"})"), HasSubstr("no such item"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"get","slot":-1,"name":"x"})"), HasSubstr("slot"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"get","slot":1,"name":"x"})"), HasSubstr("no board"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"set","name":"Location","value":1})"), HasSubstr("text"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"set","name":"FanTrim","value":1e300})"),
                HasSubstr("range"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"set","name":"PowerLimit","value":1e300})"),
                HasSubstr("range"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"fault","kind":"fail","operation":"Dance"})"),
                HasSubstr("Dance"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"fault","kind":"fail","operation":"any","code":0})"),
                HasSubstr("code"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"fault","kind":"drop-events","colour":"red"})"),
                HasSubstr("colour"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"fault","kind":"drop-events","offset":[1]})"),
                HasSubstr("offset"));
    EXPECT_THAT(control.errorOf(
                    R"({"cmd":"fault","kind":"answer","operation":"ExecComm","answer":"no-nul"})"),
                HasSubstr("ExecComm"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"clear-faults","kind":"weather"})"),
                HasSubstr("weather"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"condition","slot":0,"channel":0,"bit":1})"),
                HasSubstr("bit"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"wait","slot":0,"channel":0,"name":"VSet"})"),
                HasSubstr("value"));
}

TEST_F(ControlTest, StatisticsCountAndLogCalls)
{
    {
        const Login login(crate);
        VEXAHV_ExecComm(login.handle, "Kill");
        VEXAHV_ExecComm(login.handle, "Nothing");
    }
    control.ask({{"cmd", "wait"}, {"call", "VEXAHV_DeinitSystem"}});
    const Json answer = control.ask({{"cmd", "statistics"}, {"log", 2}, {"clear", true}});
    EXPECT_EQ(answer["calls"]["VEXAHV_ExecComm"], 2);
    EXPECT_EQ(answer["failures"]["VEXAHV_ExecComm"], 1);
    EXPECT_THAT(answer["log"],
                testing::ElementsAre("VEXAHV_ExecComm(\"Nothing\")", "VEXAHV_DeinitSystem()"));
    EXPECT_EQ(control.ask({{"cmd", "statistics"}})["calls"], Json::object());
}

TEST_F(ControlTest, WaitsForAValue)
{
    Controller waiter(temporaryPath());
    waiter.send(R"({"cmd":"wait","slot":0,"channel":0,"name":"VSet","value":5,"timeout":20})");
    control.ask({{"cmd", "set"}, {"slot", 0}, {"channel", 0}, {"name", "VSet"}, {"value", 5}});
    EXPECT_EQ(waiter.receive()["ok"], true);
    EXPECT_THAT(control.errorOf(R"({"cmd":"wait","slot":0,"channel":0,"name":"VSet",)"
                                R"("value":6,"timeout":0.01})"),
                testing::HasSubstr("timed out"));
}

TEST_F(ControlTest, WaitsForACallAndAnEventConnection)
{
    const Login login(crate);
    EventReceiver receiver;
    Controller first(temporaryPath());
    Controller second(temporaryPath());
    first.send(R"({"cmd":"wait","call":"VEXAHV_SubscribeBoardParams"})");
    second.send(R"({"cmd":"wait","eventConnections":1})");
    char result = 0x55;
    ASSERT_EQ(VEXAHV_SubscribeBoardParams(login.handle, receiver.port(), 0, "Temp", 1, &result), 0);
    EXPECT_EQ(first.receive()["ok"], true);
    EXPECT_EQ(second.receive()["ok"], true);
    const Json subscribers = control.ask({{"cmd", "subscriptions"}})["subscribers"];
    EXPECT_EQ(subscribers[0]["port"], static_cast<uint16_t>(receiver.port()));
    EXPECT_EQ(subscribers[0]["items"], Json::parse(R"([{"slot":0,"channel":-1,"name":"Temp"}])"));
    control.ask({{"cmd", "fault"}, {"kind", "drop-events"}});
    EXPECT_EQ(control.ask({{"cmd", "statistics"}})["faults"], Json({{"drop-events", 1}}));
}

TEST_F(ControlTest, TripsConditionsAndBoards)
{
    const Json wait = {{"cmd", "wait"}, {"slot", 0}, {"channel", 2}, {"name", "Status"}};
    control.ask({{"cmd", "trip"}, {"slot", 0}, {"channel", 2}});
    Json tripped = wait;
    tripped["bits"] = sim::channelbit::InternalTrip;
    EXPECT_EQ(control.ask(tripped)["ok"], true);
    tripped["name"] = "VMon";
    EXPECT_EQ(control.ask(tripped)["error"], "\"VMon\" has no bits");
    control.ask({{"cmd", "execute"}, {"name", "ClearAlarm"}});
    control.ask({{"cmd", "condition"}, {"slot", 0}, {"channel", 2}, {"bit", 12}});
    Json condition = wait;
    condition["value"] = sim::channelbit::UnderCurrent;
    EXPECT_EQ(control.ask(condition)["ok"], true);
    const auto present = [this] { return control.ask({{"cmd", "show"}})["slots"][0]["present"]; };
    EXPECT_EQ(present(), true);
    EXPECT_EQ(control.ask({{"cmd", "remove"}, {"slot", 0}})["ok"], true);
    EXPECT_EQ(present(), false);
    EXPECT_EQ(control.ask({{"cmd", "insert"}, {"slot", 0}})["ok"], true);
    EXPECT_EQ(present(), true);
}

TEST_F(ControlTest, RefusesAndFailsAndHangs)
{
    control.ask({{"cmd", "fault"}, {"kind", "refuse-logins"}});
    EXPECT_NE(Login(crate).result, 0);
    const Login login(crate);
    ASSERT_EQ(login.result, 0);
    control.ask(
        {{"cmd", "fault"}, {"kind", "fail"}, {"operation", "VEXAHV_ExecComm"}, {"code", -8}});
    EXPECT_EQ(VEXAHV_ExecComm(login.handle, "Kill"), -8);
    control.ask({{"cmd", "fault"}, {"kind", "hang"}, {"operation", "any"}});
    auto call =
        std::async(std::launch::async, [&] { return VEXAHV_ExecComm(login.handle, "Kill"); });
    EXPECT_EQ(control.ask({{"cmd", "wait"}, {"fault", "hang"}})["ok"], true);
    control.ask({{"cmd", "clear-faults"}});
    EXPECT_EQ(call.get(), 0);
    const Json answer = control.ask({{"cmd", "faults"}});
    EXPECT_EQ(answer["active"], Json::array());
    EXPECT_EQ(answer["counts"], Json({{"refuse-logins", 1}, {"fail", 1}, {"hang", 1}}));
}

TEST_F(ControlTest, SocketFileOfARunningCrateIsKept)
{
    EXPECT_THROW(sim::daemon::Server(sim::CrateDescription(), controlled()), std::system_error);
    EXPECT_EQ(control.ask({{"cmd", "show"}})["ok"], true);
}

TEST(ControlSocket, LeftOverFileIsTakenOver)
{
    const std::string path = temporaryPath();
    unlink(path.c_str());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int stale = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(stale, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(stale);
    {
        RunningCrate crate(controlled());
        EXPECT_EQ(Controller(path).ask({{"cmd", "show"}})["ok"], true);
    }
    EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST(ControlSocket, OtherFilesAreLeftAlone)
{
    const std::string path = temporaryPath();
    std::ofstream(path) << "precious";
    EXPECT_THROW(sim::daemon::Server(sim::CrateDescription(), controlled()), std::system_error);
    std::string text;
    std::ifstream(path) >> text;
    EXPECT_EQ(text, "precious");
    unlink(path.c_str());
}

// ---- The port of the library

namespace {

int connectTo(const RunningCrate &crate)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(crate.port());
    inet_pton(AF_INET, crate.address().c_str(), &address.sin_addr);
    EXPECT_EQ(connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    return descriptor;
}

// What the crate answers to the bytes before it closes.
std::string answerTo(const RunningCrate &crate, const std::string &bytes)
{
    const int descriptor = connectTo(crate);
    EXPECT_EQ(write(descriptor, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    std::string answer;
    char part[256];
    for (ssize_t size = 0; (size = ::read(descriptor, part, sizeof part)) > 0;)
        answer.append(part, static_cast<size_t>(size));
    close(descriptor);
    return answer;
}

} // namespace

TEST(CratePort, ConnectionWithoutDataIsFine)
{
    const RunningCrate crate;
    close(connectTo(crate));
    EXPECT_EQ(Login(crate).result, 0);
}

TEST(CratePort, StrangersAreTurnedAway)
{
    const RunningCrate crate;
    EXPECT_EQ(answerTo(crate, "GET / HTTP/1.0\r\n\r\n"), "");
    EXPECT_EQ(answerTo(crate, std::string("ZCF1\xff\xff\xff\xff", 8)), "");
    EXPECT_EQ(answerTo(crate, sim::wire::makeFrame("rubbish", 7)), "");
    EXPECT_EQ(Login(crate).result, 0);
}

TEST(CratePort, NothingWithoutALogin)
{
    RunningCrate crate;
    const int descriptor = connectTo(crate);
    const auto frame = sim::wire::makeCall(sim::wire::Operation::GetCrateMap, sim::wire::Nothing());
    ASSERT_EQ(write(descriptor, frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
    sim::wire::Header header{};
    ASSERT_EQ(recv(descriptor, header.data(), header.size(), MSG_WAITALL), 8);
    std::string payload(sim::wire::payloadLength(header), '\0');
    recv(descriptor, payload.data(), payload.size(), MSG_WAITALL);
    const auto unpacked = sim::wire::unpackPayload(payload);
    EXPECT_EQ(sim::wire::readAnswer(unpacked).result,
              static_cast<int32_t>(sim::Result::NotLoggedIn));
    close(descriptor);
}

TEST(CratePort, TakenPortIsSaid)
{
    const RunningCrate crate;
    auto settings = RunningCrate::quick();
    settings.port = crate.port();
    try {
        sim::daemon::Server second(sim::CrateDescription(), settings);
        FAIL() << "listens twice";
    } catch (const std::system_error &error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("cannot listen on 127.61.80.1:"));
    }
}
