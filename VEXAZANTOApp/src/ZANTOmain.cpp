#include "ZANTO.h"
#include "ZANTOcommandline.h"
#include "ZANTOcredentials.h"
#include "ZANTOend.h"
#include "ZANTOeventsthread.h"
#include "ZANTOhealth.h"
#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOscriptoutput.h"
#include "ZANTOsignals.h"
#include "ZANTOterminal.h"
#include "ZANTOthreads.h"

#include <envDefs.h>
#include <epicsThread.h>
#include <iocsh.h>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

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

[[noreturn]] void endWithoutCrate(const std::string &message)
{
    ZANTOBeginEnd(ZANTOHappening::startFailed);
    ZANTOCloseCrate();
    ZANTOPrintLine(message.c_str());
    ZANTOExit();
}

constexpr const char *nothingToServe = "No crates to monitor.  Shutting down.";

// The file stands in for the two options only where neither is given.
void takeCredentials(ZANTOCommandLine &line)
{
    const char *path = std::getenv("ZANTO_CREDENTIALS");
    if (line.credentials || path == nullptr || *path == '\0')
        return;
    ZANTOCredentials credentials;
    const std::string complaint = ZANTOReadCredentials(path, credentials);
    if (!complaint.empty())
        endWithoutCrate("Credentials file " + std::string(path) + ": " + complaint +
                        ". Shutting down.");
    line.user = std::move(credentials.user);
    line.password = std::move(credentials.password);
}

void connectCrate(const ZANTOCommandLine &line)
{
    ZANTOPrintLine("Waiting for firmware to start..\n");
    tryToConnectLoop(line.host.c_str());
    ZANTOPrint("Connecting to crate %s at %s\n", line.crateName.c_str(), line.host.c_str());
    if (createSystemTree(line.crateName, line.host, line.user, line.password) != 0)
        endWithoutCrate("Error connecting to " + line.host + ". Shutting down.");
}

void runScript(const std::string &script)
{
    ZANTOParkIfEnding(); // not even the file is opened then
    {
        const ZANTOScriptOutput output;
        iocsh(script.c_str());
    }
    ZANTOAdvance(ZANTOHappening::scriptEnded);
}

} // namespace

int main(int argc, char *argv[])
{
    fillStandardDescriptors();
    ZANTOBeginLife();
    ZANTONoteStart();
    SetSigShutdownHandler();
    ZANTO_HOOK_THREADS();
    // A supervisor that reads a pipe sees each line when it is printed.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (argc < 2) {
        printUsage();
        return 0;
    }
    ZANTOStartSignalAnswer();
    tcpServerThread =
        ZANTOStartThread("ZANTOTcpServerThread", 55, epicsThreadStackBig, tcpServer_Thread);
    if (argc == 2)
        endWithoutCrate(nothingToServe);
    ZANTOCommandLine line = ZANTOParseCommandLine(argc, argv);
    if (line.version)
        endWithoutCrate("EPICS ioc VEXA ZANTO version 1.2.0");
    if (line.crateCount == 0)
        endWithoutCrate(nothingToServe);
    takeCredentials(line);
    connectCrate(line);
    ZANTOWatchEpics();
    // For scripts that load records of their own.
    epicsEnvSet("ZANTO_CRATE", line.crateName.c_str());
    if (!line.daemon)
        ZANTOSaveTerminal();
    runScript(line.script);
    if (line.daemon) {
        while (true)
            epicsThreadSleep(1.0);
    }
    iocsh(nullptr);
    Shutdown();
}
