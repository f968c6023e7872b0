// The folder that is written: all of it or nothing.
#include "folder.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <sys/stat.h>

namespace {

using namespace site;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

class SiteFolder : public testing::Test {
protected:
    SiteFolder()
    {
        std::string pattern = (fs::temp_directory_path() / "zantosite-XXXXXX").string();
        m_top = mkdtemp(pattern.data());
        m_folder = m_top / "out";
    }
    ~SiteFolder() override { fs::remove_all(m_top); }

    static void put(const fs::path &path, const std::string &text)
    {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    void write(const OutputFiles &files) const { writeFolder(m_folder.string(), files); }

    // The reason why it cannot be written; empty when it can.
    std::string refusal(const OutputFiles &files) const
    {
        try {
            write(files);
        } catch (const FolderError &error) {
            return error.what();
        }
        return "";
    }

    // All files below the folder with their texts, but for the list of them.
    std::map<std::string, std::string> files() const
    {
        std::map<std::string, std::string> found;
        for (const auto &entry : fs::recursive_directory_iterator(m_folder))
            if (!entry.is_directory() && entry.path().filename() != "zantosite.files")
                found[entry.path().lexically_relative(m_folder).string()] =
                    entry.is_regular_file() ? readFile(entry.path().string()) : "";
        return found;
    }

    using Files = std::map<std::string, std::string>;

    fs::path m_top;
    fs::path m_folder;
};

TEST_F(SiteFolder, IsMadeWithItsFolders)
{
    m_folder /= "deeper";
    write({{"site.db", "records"}, {"HV1/site.db", ""}});
    EXPECT_EQ((Files{{"site.db", "records"}, {"HV1/site.db", ""}}), files());
    EXPECT_EQ("site.db\nHV1/site.db\n", readFile(m_folder / "zantosite.files"));
}

TEST_F(SiteFolder, FilesOfAnEarlierRunGoAndOthersStay)
{
    put(m_folder / "notes.txt", "mine");
    write({{"a", "1"}, {"sub/b", "1"}, {"c", "1"}});
    put(m_folder / "sub/notes.txt", "mine");
    write({{"a", "2"}, {"d", "2"}});
    EXPECT_EQ((Files{{"a", "2"}, {"d", "2"}, {"notes.txt", "mine"}, {"sub/notes.txt", "mine"}}),
              files());
}

TEST_F(SiteFolder, NothingOutsideIsRemovedWhateverTheListSays)
{
    put(m_top / "precious", "x");
    put(m_folder / "sub/a", "x");
    fs::create_directories(m_folder / "empty");
    put(m_folder / "zantosite.files", "../precious\nsub/../../precious\n/etc/hostname\n" +
                                          (m_top / "precious").string() +
                                          "\n\n.\n..\nempty\nsub\n\n");
    write({{"a", "2"}});
    EXPECT_TRUE(fs::exists(m_top / "precious"));
    EXPECT_TRUE(fs::is_directory(m_folder / "empty"));
    EXPECT_EQ((Files{{"a", "2"}, {"sub/a", "x"}}), files());
}

TEST_F(SiteFolder, LinksAreReplacedAndNotFollowed)
{
    put(m_top / "precious", "x");
    fs::create_directories(m_folder);
    fs::create_symlink(m_top / "precious", m_folder / "a");
    fs::create_symlink(m_top / "precious", m_folder / "b.zantosite-new");
    fs::create_symlink(m_top / "precious", m_folder / "old");
    put(m_folder / "zantosite.files", "old\n");
    write({{"a", "2"}, {"b", "2"}});
    EXPECT_EQ("x", readFile(m_top / "precious"));
    EXPECT_EQ((Files{{"a", "2"}, {"b", "2"}}), files());
    EXPECT_FALSE(fs::is_symlink(m_folder / "a"));
}

TEST_F(SiteFolder, AFailureLeavesTheOldFolderAsItWas)
{
    write({{"a", "1"}, {"b", "1"}});
    const Files before = files();
    fs::create_directories(m_folder / "place");
    EXPECT_THAT(refusal({{"a", "2"}, {"place", "2"}}), HasSubstr("place: Is a directory"));
    EXPECT_EQ(before, files());
    put(m_folder / "file", "mine");
    EXPECT_THAT(refusal({{"a", "2"}, {"file/b", "2"}}), HasSubstr("file: Not a directory"));
    EXPECT_EQ("mine", readFile(m_folder / "file"));
    EXPECT_EQ("1", readFile(m_folder / "a"));
    EXPECT_EQ("a\nb\n", readFile(m_folder / "zantosite.files"));
    // What stands in the way of the new file beside its place
    put(m_folder / "b.zantosite-new/mine", "mine");
    EXPECT_THAT(refusal({{"a", "2"}, {"b", "2"}}), HasSubstr("b.zantosite-new: File exists"));
    EXPECT_EQ("1", readFile(m_folder / "a"));
    EXPECT_FALSE(fs::exists(m_folder / "a.zantosite-new"));
}

TEST_F(SiteFolder, AFailureLeavesNoFolderThatItMade)
{
    fs::create_directory(m_folder);
    put(m_folder / "file", "old");
    EXPECT_NE("", refusal({{"a/b/c/new", "x"}, {"file/new", "x"}}));
    EXPECT_FALSE(fs::exists(m_folder / "a"));
    EXPECT_EQ((Files{{"file", "old"}}), files());
}

TEST_F(SiteFolder, WhatIsNoFolderIsRefused)
{
    put(m_folder, "a file");
    EXPECT_THAT(refusal({{"a", "1"}}), HasSubstr("out: Not a directory"));
    EXPECT_EQ("a file", readFile(m_folder));
    m_folder = "/proc/zantosite";
    EXPECT_THAT(refusal({{"a", "1"}}), HasSubstr("/proc/zantosite: "));
    m_folder = "";
    EXPECT_NE("", refusal({{"a", "1"}}));
}

TEST_F(SiteFolder, TheRemainsOfAKilledRunAreReplaced)
{
    put(m_folder / "a.zantosite-new", "half");
    write({{"a", "1"}});
    EXPECT_EQ((Files{{"a", "1"}}), files());
}

TEST_F(SiteFolder, FilesAreReadWhole)
{
    put(m_top / "empty", "");
    EXPECT_EQ("", readFile(m_top / "empty"));
    const std::string bytes("a\0\r\n\xff", 5);
    put(m_top / "bytes", bytes);
    EXPECT_EQ(bytes, readFile(m_top / "bytes"));
    const std::string large(1 << 20, 'x');
    put(m_top / "large", large);
    EXPECT_EQ(large, readFile(m_top / "large"));
}

TEST_F(SiteFolder, WhatCannotBeReadIsNotTakenForEmpty)
{
    const auto refusalOf = [](const fs::path &path) -> std::string {
        try {
            readFile(path);
        } catch (const FolderError &error) {
            return error.what();
        }
        return "";
    };
    EXPECT_THAT(refusalOf(m_top), HasSubstr("Is a directory"));
    EXPECT_THAT(refusalOf(m_top / "none"), HasSubstr("none: No such file"));
    // Nothing can be read at its beginning, which is no address of ours.
    EXPECT_THAT(refusalOf("/proc/self/mem"), HasSubstr("/proc/self/mem: Input/output error"));
}

} // namespace
