#include "folder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <unistd.h>

namespace site {

namespace {

namespace fs = std::filesystem;

// Tells the next run which files are ours.
constexpr const char *manifest = "zantosite.files";
constexpr const char *unfinished = ".zantosite-new";

[[noreturn]] void fail(const fs::path &path, int error)
{
    throw FolderError(path.string() + ": " + std::strerror(error));
}

// A file that was not there. What is renamed over an older file must be on the disk before it.
void writeNew(const fs::path &path, const std::string &text)
{
    std::FILE *file = std::fopen(path.c_str(), "wbxe");
    if (file == nullptr)
        fail(path, errno);
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), file) == text.size() &&
                           std::fflush(file) == 0 && (fsync(fileno(file)) == 0 || errno == EINVAL);
    const int error = errno;
    const bool isClosed = std::fclose(file) == 0;
    if (!isWritten || !isClosed)
        fail(path, isWritten ? errno : error);
}

// A link to one is none.
bool isFolder(const fs::path &path) { return fs::is_directory(fs::symlink_status(path)); }

// Files beside their places; those that are not put in place are removed.
class Unfinished {
public:
    explicit Unfinished(fs::path folder) : m_folder(std::move(folder)) {}
    Unfinished(const Unfinished &) = delete;
    Unfinished &operator=(const Unfinished &) = delete;
    ~Unfinished()
    {
        std::error_code ignored;
        for (const auto &path : m_waiting)
            fs::remove(beside(path), ignored);
        // Only those are removed that nothing was put into.
        for (auto folder = m_made.rbegin(); folder != m_made.rend(); ++folder)
            fs::remove(*folder, ignored);
    }

    void makeFolder(const fs::path &path)
    {
        const fs::path above = path.parent_path();
        if (!above.empty() && !fs::exists(above))
            makeFolder(above);
        if (fs::create_directories(path))
            m_made.push_back(path);
    }

    void write(const OutputFile &file)
    {
        if (isFolder(m_folder / file.path))
            fail(m_folder / file.path, EISDIR);
        const fs::path path = beside(file.path);
        makeFolder(path.parent_path());
        // What a killed run left behind.
        std::error_code ignored;
        fs::remove(path, ignored);
        m_waiting.insert(file.path);
        writeNew(path, file.text);
    }

    void putInPlace()
    {
        while (!m_waiting.empty()) {
            const std::string path = *m_waiting.begin();
            if (std::rename(beside(path).c_str(), (m_folder / path).c_str()) != 0)
                fail((m_folder / path).string() + ": not put in place, while others may have been",
                     errno);
            m_waiting.erase(m_waiting.begin());
        }
    }

private:
    fs::path beside(const std::string &path) const { return m_folder / (path + unfinished); }

    const fs::path m_folder;
    std::set<std::string> m_waiting;
    std::vector<fs::path> m_made;
};

// A path that a run of ours can have written below the folder.
bool isBelow(const std::string &path)
{
    const fs::path parts(path);
    return !path.empty() && parts.is_relative() &&
           std::none_of(parts.begin(), parts.end(),
                        [](const fs::path &each) { return each == ".."; });
}

// Paths of an earlier run that are not written again.
std::vector<fs::path> oldFiles(const fs::path &folder, const std::set<std::string> &kept)
{
    std::vector<fs::path> old;
    std::ifstream list(folder / manifest);
    for (std::string path; std::getline(list, path);)
        if (isBelow(path) && kept.count(path) == 0 && !isFolder(folder / path))
            old.push_back(folder / path);
    return old;
}

} // namespace

void writeFolder(const std::string &folder, const OutputFiles &files)
{
    try {
        OutputFiles all = files;
        std::string names;
        std::set<std::string> kept{manifest};
        for (const auto &file : files) {
            names += file.path + "\n";
            kept.insert(file.path);
        }
        all.push_back({manifest, names});
        Unfinished unfinishedFiles(folder);
        unfinishedFiles.makeFolder(folder);
        for (const auto &file : all)
            unfinishedFiles.write(file);
        const auto old = oldFiles(folder, kept);
        unfinishedFiles.putInPlace();
        std::error_code ignored;
        for (const auto &path : old)
            fs::remove(path, ignored);
    } catch (const fs::filesystem_error &error) {
        throw FolderError(error.path1().string() + ": " + error.code().message());
    }
}

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        fail(path, errno);
    try {
        return {std::istreambuf_iterator<char>(file), {}};
    } catch (const std::ios_base::failure &error) {
        fail(path, error.code().value());
    }
}

} // namespace site
