#include "ZANTOfile.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

// Another server that starts in the same moment can create the file between two steps here.
constexpr int mostAgain = 100;

constexpr int openFlags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

// Nobody but this user can have opened it for writing.
bool onlyWriterIs(uid_t user, const struct stat &status)
{
    return status.st_uid == user && status.st_nlink == 1 &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

int createFresh(const char *path) { return open(path, openFlags | O_CREAT | O_EXCL, 0644); }

// Whoever has the old file open, or another name for it, keeps that one.
int replace(const char *path)
{
    return unlink(path) == 0 || errno == ENOENT ? createFresh(path) : -1;
}

bool isRegularFile(const char *path)
{
    struct stat status = {};
    return lstat(path, &status) == 0 && S_ISREG(status.st_mode);
}

// Without O_CREAT, with which the system refuses files of others in a sticky folder, and without
// O_TRUNC, which would empty what is not ours.
int openEmpty(const char *path, uid_t user)
{
    const int fd = open(path, openFlags);
    if (fd < 0) {
        if (errno == ENOENT)
            return createFresh(path);
        const bool forbidden = errno == EACCES || errno == EPERM;
        return forbidden && isRegularFile(path) ? replace(path) : -1;
    }
    struct stat status = {};
    const bool regular = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    if (regular && onlyWriterIs(user, status) && ftruncate(fd, 0) == 0)
        return fd;
    ::close(fd);
    return regular ? replace(path) : -1;
}

} // namespace

ZANTOOutputFile::ZANTOOutputFile(const char *path, uid_t user)
{
    int fd = openEmpty(path, user);
    for (int again = 0; fd < 0 && errno == EEXIST && again < mostAgain; ++again) {
        // Two that take turns at the folder's lock would stay in step for ever.
        std::this_thread::sleep_for(std::chrono::microseconds(again));
        fd = openEmpty(path, user);
    }
    if (fd < 0)
        return;
    m_file.reset(fdopen(fd, "w"));
    if (m_file == nullptr)
        ::close(fd);
}

void ZANTOOutputFile::write(std::string_view text)
{
    if (m_file == nullptr || std::fwrite(text.data(), 1, text.size(), m_file.get()) != text.size())
        m_failed = true;
}

bool ZANTOOutputFile::close()
{
    if (m_file != nullptr && std::fclose(m_file.release()) != 0)
        m_failed = true;
    return !m_failed;
}

bool ZANTOWriteLiveInsertionFlag(const char *contents)
{
    ZANTOOutputFile file(ZANTOLiveInsertionPath);
    if (!file.isOpen())
        return false;
    file.write(contents);
    return file.close();
}
