#include "fileSupport.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <list>
#include <sched.h>
#include <set>
#include <sstream>
#include <sys/file.h>
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

// The first folder below /tmp on the way to `path`, or an empty text.
std::string folderInTmp(const std::string &path)
{
    return path.compare(0, 5, "/tmp/") == 0 ? path.substr(0, path.find('/', 5)) : "";
}

std::string linkTarget(const char *link)
{
    char path[4096];
    const ssize_t length = readlink(link, path, sizeof(path));
    return std::string(path, length > 0 ? static_cast<size_t>(length) : 0);
}

// What the program needs of the real /tmp: the checkout and EPICS base may lie there, and death
// tests start the program again.
std::set<std::string> foldersInUse()
{
    std::set<std::string> folders = {folderInTmp(linkTarget("/proc/self/cwd")),
                                     folderInTmp(linkTarget("/proc/self/exe"))};
    std::ifstream mappings("/proc/self/maps"); // the libraries among them
    for (std::string line; std::getline(mappings, line);)
        folders.insert(folderInTmp(line.substr(std::min(line.find('/'), line.size()))));
    folders.erase("");
    return folders;
}

// A folder of the real /tmp that stays visible in the new one.
class KeptFolder {
public:
    explicit KeptFolder(const std::string &folder)
        : m_folder(folder), m_fd(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))
    {
    }
    ~KeptFolder()
    {
        if (m_fd >= 0)
            close(m_fd);
    }
    KeptFolder(const KeptFolder &) = delete;
    KeptFolder &operator=(const KeptFolder &) = delete;

    bool putBack() const
    {
        if (m_fd < 0)
            return true;
        mkdir(m_folder.c_str(), 0755);
        const std::string source = "/proc/self/fd/" + std::to_string(m_fd);
        return mount(source.c_str(), m_folder.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
    }

private:
    std::string m_folder;
    int m_fd;
};

bool mountTmp()
{
    std::list<KeptFolder> kept;
    for (const std::string &folder : foldersInUse())
        kept.emplace_back(folder);
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") == 0 &&
           std::all_of(kept.begin(), kept.end(),
                       [](const KeptFolder &folder) { return folder.putBack(); });
}

// Without a /tmp of its own one program runs after the other; what death tests start belongs to
// the program that starts it.
void waitForOtherPrograms()
{
    constexpr const char *isHad = "ZANTO_UNIT_TEST_HAS_TMP";
    if (getenv(isHad) != nullptr)
        return;
    const int lock =
        open("/tmp/zantoUnitTest.lock", O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    flock(lock, LOCK_EX); // until the process ends
    setenv(isHad, "1", 1);
}

// Runs before the first test, while the process has one thread, as namespaces demand.
class PrivateTmp : public ::testing::Environment {
public:
    void SetUp() override
    {
        tmpIsPrivate = enterNamespaces() && mountTmp();
        if (!tmpIsPrivate)
            waitForOtherPrograms();
    }
};

::testing::Environment *const privateTmp =
    ::testing::AddGlobalTestEnvironment(std::make_unique<PrivateTmp>().release());

} // namespace

void StartupFilesTest::SetUp()
{
    ZantoTest::SetUp();
    for (const char *path : startupFiles) {
        if (!tmpIsPrivate && access(path, F_OK) == 0)
            FAIL() << "there is no /tmp of this process's own, and " << path
                   << " exists and may belong to a server that runs";
    }
    m_mayRemove = true;
    removeFiles();
}

void StartupFilesTest::TearDown()
{
    if (m_mayRemove)
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
