#include "ZANTOfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

ZANTOOutputFile::ZANTOOutputFile(const char *path)
{
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                        0644);
    if (fd < 0)
        return;
    struct stat status = {};
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
        m_file.reset(fdopen(fd, "w"));
    if (m_file == nullptr)
        ::close(fd);
}

void ZANTOOutputFile::write(const std::string &text)
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
