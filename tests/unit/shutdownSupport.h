// Shared by the tests of how the process ends.
#pragma once

#include "unitSupport.h"

#include "ZANTO.h"
#include "ZANTOend.h"
#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"
#include "ZANTOsignals.h"

#include <drvSup.h>
#include <epicsThread.h>

#include <csignal>
#include <cstdio>
#include <stdio_ext.h>
#include <sys/resource.h>
#include <unistd.h>

extern "C" {
// As the IOC's registration finds the driver.
extern drvet *pvar_drvet_drvVEXAZANTO;
}

// The ends of a process, each in a child: what it prints comes back as standard error, with
// the calls to the library, in order.
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

    // Takes the process to that phase, logged in from `building` on.
    static void reach(ZANTOPhase phase)
    {
        if (phase >= ZANTOPhase::loggingIn)
            ZANTOAdvance(ZANTOHappening::loginBegins);
        if (phase >= ZANTOPhase::building)
            ZANTOLoggedIn(crateHandle);
        if (phase >= ZANTOPhase::script)
            ZANTOAdvance(ZANTOHappening::treeComplete);
        if (phase >= ZANTOPhase::running)
            ZANTOAdvance(ZANTOHappening::scriptEnded);
    }

    // A server that runs with a system with a command and a property, an empty slot, a board
    // with one channel.
    static void plantTree(ZANTOPhase phase = ZANTOPhase::running)
    {
        reach(phase);
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
        ZANTOStartSignalAnswer();
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
                          epicsThreadGetStackSize(epicsThreadStackBig), tcpServer_Thread, nullptr);
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

inline constexpr const char *loggedOut = "UnSubscribeSystemParams(7, 5180, :Prop, 1)\n"
                                         "UnSubscribeBoardParams(7, 5180, 1, Temp, 1)\n"
                                         "UnSubscribeChannelParams(7, 5180, 1, 0, VSet, 1)\n"
                                         "DeinitSystem(7)\n";

inline Lines subscriptionsAt(int32_t port)
{
    const std::string text = std::to_string(static_cast<int16_t>(port));
    return {"SubscribeSystemParams(7, " + text + ", :Prop, 1)",
            "SubscribeBoardParams(7, " + text + ", 1, Temp, 1)",
            "SubscribeChannelParams(7, " + text + ", 1, 0, VSet, 1)"};
}

inline void limit(__rlimit_resource_t resource, rlim_t most)
{
    const rlimit limits = {most, most};
    setrlimit(resource, &limits);
}

inline std::string withMessages(const std::string &calls)
{
    return "\nShutting down crate\n" + calls + "\nCrate disconnected\n";
}

inline bool startsWith(const std::string &text, const char *start)
{
    return text.rfind(start, 0) == 0;
}
