// A first site file is accepted as it is.
#include "sitefile.h"

#include <gmock/gmock.h>

#include "description/cratefile.h"
#include "inputs.h"
#include "pvlist/pvlist.h"

namespace {

using namespace site;
using testing::ElementsAre;

// The files that are made with the first site file of the crates.
OutputFiles filesOf(const std::vector<Crate> &crates)
{
    Messages messages;
    const auto reading = readSite(newSite(crates));
    EXPECT_TRUE(reading.findings.empty())
        << sim::findingText("site.yaml", reading.findings.front()) << "\n"
        << newSite(crates);
    const auto files = makeFiles(reading.file, "site.yaml", crates, false, messages);
    EXPECT_THAT(messages.errors, ElementsAre());
    return files;
}

class SiteNew : public testing::TestWithParam<const char *> {};

TEST_P(SiteNew, IsMadeUnchanged)
{
    const auto reading = sim::readCrateFile(std::string(CRATES_DIR "/") + GetParam() + ".yaml");
    ASSERT_TRUE(reading.findings.empty());
    const auto files = filesOf({describedCrate(reading.file.crate, "HV")});
    ASSERT_FALSE(files.empty());
    for (const auto &file : files) {
        EXPECT_NE('/', file.path.front()) << file.path;
        if (file.path == "site.db") {
            EXPECT_NE(std::string::npos, file.text.find("OPERATE"));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, SiteNew, testing::Values("default", "detector", "full", "odd", "small"));

TEST(SiteNewOfSeveral, EachCrateHasItsEntriesAndRecords)
{
    std::vector<Crate> crates;
    for (const char *name : {"default", "full", "odd"}) {
        const auto reading = sim::readCrateFile(std::string(CRATES_DIR "/") + name + ".yaml");
        crates.push_back(describedCrate(reading.file.crate, "HV" + std::to_string(crates.size())));
    }
    std::vector<std::string> databases;
    for (const auto &file : filesOf(crates))
        if (file.path.find("site.db") != std::string::npos)
            databases.push_back(file.path);
    EXPECT_THAT(databases, ElementsAre("HV0/site.db", "HV1/site.db", "HV2/site.db"));
}

TEST(SiteNewNames, ACrateCalledLikeAWordOfYamlKeepsItsName)
{
    for (const char *name : {"null", "Null", "yes", "no",  "on",  "true", "-",  "---",  "1",  "15",
                             "0x10", "~",    "a,b", "{a}", "*a",  "&a",   "!a", "%a",   "@a", "#a",
                             "a#",   ">",    "|",   "?",   "[a]", "=",    "<<", "größe"}) {
        Crate crate;
        crate.name = name;
        EXPECT_FALSE(filesOf({crate}).empty()) << name;
    }
}

} // namespace
