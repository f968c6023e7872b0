// The files that the tool is given.
#include "inputs.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "siteSupport.h"

namespace {

using namespace site;
using namespace siteTest;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class SiteInputs : public testing::Test {
protected:
    SiteInputs()
    {
        std::string pattern = (fs::temp_directory_path() / "zantosite-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
    }
    ~SiteInputs() override { fs::remove_all(m_folder); }

    std::string put(const std::string &name, const std::string &text) const
    {
        std::ofstream(m_folder / name) << text;
        return m_folder / name;
    }

    fs::path m_folder;
    Messages m_messages;
};

TEST_F(SiteInputs, ADescriptionIsKnownByTheEndOfItsName)
{
    const auto crates = readCrates({CRATES_DIR "/small.yaml"}, m_messages);
    EXPECT_THAT(m_messages.errors, ElementsAre());
    EXPECT_THAT(m_messages.notes, ElementsAre());
    EXPECT_EQ(CRATES_DIR "/small.yaml", crates.at(0).file);
    EXPECT_FALSE(crates.at(0).boards.empty());
}

TEST_F(SiteInputs, ACrateWhoseNameNoRecordCanHaveIsRefused)
{
    readCrates({CRATES_DIR "/odd.yaml"}, m_messages);
    EXPECT_THAT(
        m_messages.errors,
        ElementsAre(HasSubstr("odd.yaml: \"Odd \"crate\"\" cannot be the name of a crate")));
}

TEST_F(SiteInputs, ACratesNameThatIsAPathIsRefused)
{
    readCrates({put("list", listOf("/etc", {1}))}, m_messages);
    EXPECT_THAT(m_messages.errors,
                ElementsAre(HasSubstr("list: \"/etc\" cannot be the name of a crate")));
}

TEST_F(SiteInputs, AListWithoutItsDatabaseIsTakenWithANote)
{
    const auto path = put("list", listOf("HV", {2}));
    EXPECT_EQ("HV", readCrates({path}, m_messages).at(0).name);
    put("ZANTO.db", "record( ai, \"XX:Temp\")\n{\n}\n");
    readCrates({path}, m_messages);
    EXPECT_THAT(m_messages.errors, ElementsAre());
    EXPECT_THAT(m_messages.notes, ElementsAre(HasSubstr(path + ": no ZANTO.db of this crate"),
                                              HasSubstr(path + ": no ZANTO.db of this crate")));
}

TEST_F(SiteInputs, EachFileThatIsWrongIsTold)
{
    const auto path = put("list", "-, -, HV:A,  ai, x,  ");
    readCrates({path, m_folder / "none", m_folder}, m_messages);
    readSiteFile(m_folder / "none.yaml", m_messages);
    readSiteFile(put("site.yaml", "site: 5\nsites: 6\n"), m_messages);
    EXPECT_THAT(m_messages.errors,
                ElementsAre(HasSubstr("list:1: ends in the middle of a line"),
                            HasSubstr("none: No such file"), HasSubstr("Is a directory"),
                            HasSubstr("none.yaml: No such file"),
                            HasSubstr("site.yaml:1: \"crates\" is missing"),
                            HasSubstr("site.yaml:2: the site has no key \"sites\"")));
}

TEST_F(SiteInputs, NothingIsMadeOfAFileWithErrors)
{
    const std::vector<Crate> crates{crateOf("HV", {1})};
    const auto reading = readSite(siteOf("channels: [{channels: \"0:7\"}]\n"));
    EXPECT_TRUE(makeFiles(reading.file, "site.yaml", crates, false, m_messages).empty());
    EXPECT_THAT(m_messages.errors,
                ElementsAre("site.yaml:3: crate \"HV\" has no channel HV:00:007"));
}

} // namespace
