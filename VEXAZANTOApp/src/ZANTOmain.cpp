#include "ZANTO.h"
#include "ZANTOcommandline.h"
#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"
#include "ZANTOterminal.h"

#include <epicsExit.h>
#include <epicsThread.h>
#include <iocsh.h>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// EPICS' threads run with all signals blocked: a sanitizer sees their crashes only unblocked.
void unblockCrashSignals(epicsThreadId)
{
    sigset_t crashes;
    sigemptyset(&crashes);
    for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        sigaddset(&crashes, number);
    pthread_sigmask(SIG_UNBLOCK, &crashes, nullptr);
}
#define ZANTO_HOOK_THREADS() epicsThreadHookAdd(unblockCrashSignals)
#else
#define ZANTO_HOOK_THREADS() static_cast<void>(0)
#endif

// Without one of the three standard descriptors the next file opened would take its number, and
// printing or reading the shell's input would go there.
void fillStandardDescriptors()
{
    int fd = open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO)
        fd = open("/dev/null", O_RDWR);
    if (fd > STDERR_FILENO)
        close(fd);
}

void printUsage()
{
    static const char *const lines[] = {
        ("Syntax: zantoioc <st.cmd> [-c <name>@<hostname>] [-u username] [-p password] [-d] "
         "[-D <debuglevel>] [-v]"),
        "              -v = version",
        "              -c, -u, -p are mandatory",
        "              -d = run in daemon mode",
        "              <debuglevel> = 0 no messages",
        "              <debuglevel> = 10 all available messages"};
    for (const char *line : lines)
        std::puts(line);
}

[[noreturn]] void endWithoutCrate(const char *message)
{
    std::puts(message);
    ZANTOLeaveMain();
}

constexpr const char *nothingToServe = "No crates to monitor.  Shutting down.";

bool connectCrate(const ZANTOCommandLine &line)
{
    std::puts("Waiting for firmware to start..\n");
    tryToConnectLoop(line.host.c_str());
    std::printf("Connecting to crate %s at %s\n", line.crateName.c_str(), line.host.c_str());
    if (createSystemTree(line.crateName, line.host, line.user, line.password) == 0)
        return true;
    std::printf("Error connecting to %s. Shutting down.\n", line.host.c_str());
    return false;
}

void runScript(const std::string &script)
{
    ZANTOSetScriptRunning(true);
    iocsh(script.c_str());
    ZANTOSetScriptRunning(false);
}

} // namespace

int main(int argc, char *argv[])
{
    fillStandardDescriptors();
    SetSigShutdownHandler();
    ZANTO_HOOK_THREADS();
    // A supervisor that reads a pipe sees each line when it is printed.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (argc < 2) {
        printUsage();
        return 0;
    }
    ZANTOStartSignalThread();
    tcpServerThread = epicsThreadCreate("ZANTOTcpServerThread", 55,
                                        epicsThreadGetStackSize(epicsThreadStackBig),
                                        tcpServer_Thread, nullptr);
    if (argc == 2)
        endWithoutCrate(nothingToServe);
    const ZANTOCommandLine line = ZANTOParseCommandLine(argc, argv);
    if (line.version)
        endWithoutCrate("EPICS ioc VEXA ZANTO version 1.2.0");
    if (line.crateCount == 0)
        endWithoutCrate(nothingToServe);
    if (!connectCrate(line))
        ZANTOLeaveMain();
    if (!line.daemon)
        ZANTOSaveTerminal();
    runScript(line.script);
    if (line.daemon) {
        while (true)
            epicsThreadSleep(1.0);
    }
    iocsh(nullptr);
    Shutdown();
    epicsExit(0);
}
