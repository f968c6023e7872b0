#include "fileSupport.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

std::string contents(const std::string &path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

void put(const std::string &path, const std::string &text) { std::ofstream(path) << text; }

// ---- a disk that is full ----

FileSizeLimit::FileSizeLimit(rlim_t bytes) : m_handler(signal(SIGXFSZ, SIG_IGN))
{
    getrlimit(RLIMIT_FSIZE, &m_before);
    const rlimit limited = {bytes, m_before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limited);
}

FileSizeLimit::~FileSizeLimit()
{
    setrlimit(RLIMIT_FSIZE, &m_before);
    signal(SIGXFSZ, m_handler);
}

// ---- a /tmp of this process's own ----

namespace {

const char *const startupFiles[] = {databasePath, pvListPath, liveInsertionPath};

bool tmpIsPrivate = false;

// With a user namespace of its own the process may mount things without being root; it keeps
// its identity in there.
bool enterNamespaces()
{
    if (unshare(CLONE_NEWNS) == 0)
        return true;
    const std::string user = std::to_string(getuid());
    const std::string group = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    put("/proc/self/setgroups", "deny");
    put("/proc/self/uid_map", user + " " + user + " 1");
    put("/proc/self/gid_map", group + " " + group + " 1");
    return true;
}

// The first folder below /tmp on the way to where the tests run, or an empty text.
std::string ownFolderInTmp()
{
    char folder[4096];
    if (getcwd(folder, sizeof(folder)) == nullptr)
        return "";
    const std::string here = folder;
    return here.compare(0, 5, "/tmp/") == 0 ? here.substr(0, here.find('/', 5)) : "";
}

bool mountTmp()
{
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return false;
    const std::string kept = ownFolderInTmp();
    const int keptFd = kept.empty() ? -1 : open(kept.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") != 0)
        return false;
    if (kept.empty())
        return true;
    // A checkout that lies in /tmp stays visible.
    const std::string source = "/proc/self/fd/" + std::to_string(keptFd);
    mkdir(kept.c_str(), 0755);
    const bool bound =
        mount(source.c_str(), kept.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
    close(keptFd);
    return bound;
}

/// Runs before the first test, while the process has one thread, as namespaces demand.
class PrivateTmp : public ::testing::Environment {
public:
    void SetUp() override { tmpIsPrivate = enterNamespaces() && mountTmp(); }
};

::testing::Environment *const privateTmp =
    ::testing::AddGlobalTestEnvironment(std::make_unique<PrivateTmp>().release());

} // namespace

void StartupFilesTest::SetUp()
{
    ZantoTest::SetUp();
    for (const char *path : startupFiles) {
        if (!tmpIsPrivate && access(path, F_OK) == 0)
            GTEST_SKIP() << path << " exists and may belong to a server that runs";
    }
    removeFiles();
}

void StartupFilesTest::TearDown()
{
    if (!IsSkipped())
        removeFiles();
    ZantoTest::TearDown();
}

void StartupFilesTest::removeFiles()
{
    for (const char *path : startupFiles) {
        if (unlink(path) != 0)
            rmdir(path);
    }
}
