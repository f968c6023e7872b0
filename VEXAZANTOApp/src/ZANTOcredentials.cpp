#include "ZANTOcredentials.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace {

constexpr size_t longestValue = 254; // as on the command line
constexpr size_t largestFile = 4096;

class Descriptor {
public:
    // A FIFO without a writer is opened at once, and then refused.
    explicit Descriptor(const char *path) : m_fd(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~Descriptor()
    {
        if (m_fd >= 0)
            close(m_fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    operator int() const { return m_fd; }

private:
    int m_fd;
};

// The bytes of the file, blanked at the end.
class Contents {
public:
    Contents() = default;
    ~Contents() { explicit_bzero(m_bytes.data(), m_bytes.size()); }
    Contents(const Contents &) = delete;
    Contents &operator=(const Contents &) = delete;

    // False, with errno, when the file cannot be read.
    bool readFrom(int fd)
    {
        ssize_t count = 1;
        while (count != 0 && m_size < m_bytes.size()) {
            count = read(fd, m_bytes.data() + m_size, m_bytes.size() - m_size);
            if (count < 0 && errno != EINTR)
                return false;
            m_size += count > 0 ? static_cast<size_t>(count) : 0;
        }
        return true;
    }
    bool isTooLarge() const { return m_size > largestFile; }
    std::string_view text() const { return {m_bytes.data(), m_size}; }

private:
    std::array<char, largestFile + 1> m_bytes = {};
    size_t m_size = 0;
};

std::string modeText(mode_t mode)
{
    std::array<char, 8> text = {};
    std::snprintf(text.data(), text.size(), "%04o", static_cast<unsigned>(mode & 07777U));
    return text.data();
}

// A service manager hands out files of root that an access control list opens for one user more.
// The permissions of the group then show the list's mask.
std::string complaintAbout(const struct stat &status, uid_t self)
{
    if (!S_ISREG(status.st_mode))
        return "not a regular file";
    if (status.st_uid != self && status.st_uid != 0)
        return "belongs to another user";
    const mode_t group = status.st_uid == 0 ? S_IWGRP : S_IRGRP | S_IWGRP;
    if ((status.st_mode & (group | S_IROTH | S_IWOTH)) != 0)
        return "others can read or write it (mode " + modeText(status.st_mode) + ", not 0600)";
    return "";
}

class Reader {
public:
    // What is wrong with the text, or nothing.
    std::string read(std::string_view text)
    {
        while (!text.empty()) {
            const size_t end = text.find('\n');
            ++m_line;
            const std::string complaint = readLine(text.substr(0, end));
            if (!complaint.empty())
                return "line " + std::to_string(m_line) + " " + complaint;
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        }
        return m_user && m_password ? "" : m_user ? "no password=" : "no user=";
    }

    ZANTOCredentials take() { return {std::move(*m_user), std::move(*m_password)}; }

private:
    std::string readLine(std::string_view line)
    {
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (line.find_first_not_of(" \t") == std::string_view::npos || line.front() == '#')
            return "";
        const size_t equals = line.find('=');
        const std::string_view key = line.substr(0, equals);
        if (equals == std::string_view::npos || (key != "user" && key != "password"))
            return "is neither user= nor password=";
        return store(key == "user" ? m_user : m_password, line.substr(equals + 1));
    }

    static std::string store(std::optional<std::string> &to, std::string_view value)
    {
        if (to)
            return "gives a second value";
        if (value.size() > longestValue)
            return "has a value of more than " + std::to_string(longestValue) + " characters";
        if (value.find('\0') != std::string_view::npos)
            return "has a value with a NUL character";
        to.emplace(value);
        return "";
    }

    std::optional<std::string> m_user;
    std::optional<std::string> m_password;
    int m_line = 0;
};

} // namespace

std::string ZANTOReadCredentials(const char *path, ZANTOCredentials &credentials, uid_t self)
{
    const Descriptor file(path);
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0)
        return std::strerror(errno);
    std::string complaint = complaintAbout(status, self);
    if (!complaint.empty())
        return complaint;
    Contents contents;
    if (!contents.readFrom(file))
        return std::strerror(errno);
    if (contents.isTooLarge())
        return "longer than " + std::to_string(largestFile) + " bytes";
    Reader reader;
    std::string wrong = reader.read(contents.text());
    if (wrong.empty())
        credentials = reader.take();
    return wrong;
}
