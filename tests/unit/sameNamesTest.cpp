// Items of one record name in the files that the tree build writes.
#include "fileSupport.h"

#include "ZANTO.h"

#include <algorithm>
#include <set>

namespace {

FakeCrate crateOfOneChannel(const std::vector<FakeParameter> &parameters)
{
    FakeCrate crate;
    crate.slots = {fakeBoard("A1", 1, {}, parameters)};
    return crate;
}

FakeCrate withCommandNamedAsAProperty()
{
    FakeCrate crate = crateOfOneChannel({});
    crate.commands = {"Same"};
    crate.properties = {
        fakeSysProp("Same", VEXAHV_SYSPROP_REAL, VEXAHV_MODE_READ, FakeBytes::of(1.0F))};
    return crate;
}

FakeParameter numeric(const std::string &name, uint32_t mode)
{
    return fakeNumeric(name, mode, 0, 0, 100);
}

FakeParameter onOff(const std::string &name) { return fakeOnOff(name, VEXAHV_MODE_READ, 0); }

constexpr uint32_t rw = VEXAHV_MODE_READWRITE;
const FakeParameter blank = numeric("V Set", rw);
const FakeParameter pw = onOff("Pw");

// Two items of one record name and two types: which goes without, and which stays.
const struct {
    FakeCrate crate;
    const char *told; // in the message
    const char *lostLine;
    const char *keptLine;
    const char *keptRecord;
} sameNameCases[] = {
    // Of two names the one with a blank gives way, wherever it stands.
    {crateOfOneChannel({blank, onOff("VSet"), pw}), "VSet", "0, 0, CRATE:00:000:VSet,  ao, x, x\n",
     "0, 0, CRATE:00:000:VSet,  bi, x,  \n", "bi CRATE:00:000:VSet"},
    {crateOfOneChannel({onOff("VSet"), blank, pw}), "VSet", "0, 0, CRATE:00:000:VSet,  ao, x, x\n",
     "0, 0, CRATE:00:000:VSet,  bi, x,  \n", "bi CRATE:00:000:VSet"},
    {crateOfOneChannel({onOff("V Set"), numeric("VSet", rw), pw}), "VSet",
     "0, 0, CRATE:00:000:VSet,  bi, x,  \n", "0, 0, CRATE:00:000:VSet,  ao, x, x\n",
     "ai CRATE:00:000:VSet:RBV"},
    // A companion's name is one of the node's names.
    {crateOfOneChannel({blank, onOff("VSet:RBV"), pw}), "VSet",
     "0, 0, CRATE:00:000:VSet,  ao, x, x\n", "0, 0, CRATE:00:000:VSet:RBV,  bi, x,  \n",
     "bi CRATE:00:000:VSet:RBV"},
    {crateOfOneChannel({onOff("VSet:Sync"), blank, pw}), "VSet",
     "0, 0, CRATE:00:000:VSet,  ao, x, x\n", "0, 0, CRATE:00:000:VSet:Sync,  bi, x,  \n",
     "bi CRATE:00:000:VSet:Sync"},
    // Among equals the later one gives way.
    {crateOfOneChannel({numeric("VSet", rw), onOff("VSet:RBV"), pw}), "VSet:RBV",
     "0, 0, CRATE:00:000:VSet:RBV,  bi, x,  \n", "0, 0, CRATE:00:000:VSet,  ao, x, x\n",
     "ai CRATE:00:000:VSet:RBV"},
    {crateOfOneChannel({onOff("VSet:RBV"), numeric("VSet", rw), pw}), "VSet",
     "0, 0, CRATE:00:000:VSet,  ao, x, x\n", "0, 0, CRATE:00:000:VSet:RBV,  bi, x,  \n",
     "bi CRATE:00:000:VSet:RBV"},
    {crateOfOneChannel({onOff("V Set"), numeric("VS et", rw), pw}), "VSet",
     "0, 0, CRATE:00:000:VSet,  ao, x, x\n", "0, 0, CRATE:00:000:VSet,  bi, x,  \n",
     "bi CRATE:00:000:VSet"},
    {crateOfOneChannel({numeric("Name", VEXAHV_MODE_READ), pw}), "Name",
     "0, 0, CRATE:00:000:Name,  ai, x,  \n", "0, 0, CRATE:00:000:Name,  stringout, x, x\n",
     "stringout CRATE:00:000:Name"},
    {withCommandNamedAsAProperty(), "Same", "-, -, CRATE:Same,  ai, x,  \n",
     "-, -, CRATE:Same,  stringout,  , x\n", "stringout CRATE:Same"},
};

std::size_t occurrences(const std::string &text, const std::string &part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

class SameNames : public StartupFilesTest {
protected:
    // The fake's copy of a crate would be taken for a node that is left over.
    void TearDown() override
    {
        fake.setCrate({});
        StartupFilesTest::TearDown();
    }

    std::string buildsAt(int16_t level, const FakeCrate &crate)
    {
        NodePtr(systemNode).reset();
        systemNode = nullptr;
        fake.setCrate(crate);
        return printedAt(
            level, [] { EXPECT_EQ(createSystemTree("CRATE", "10.0.0.9", "admin", "secret"), 0); });
    }
};

} // namespace

TEST_F(SameNames, OfTwoRecordTypesOneItemIsLeftOutOfBothFilesWhole)
{
    for (const auto &c : sameNameCases) {
        SCOPED_TRACE(std::string(c.keptRecord) + ", not " + c.lostLine);
        buildsAt(0, c.crate);
        const Lines records = recordsIn(contents(databasePath));
        EXPECT_EQ(std::count(records.begin(), records.end(), c.keptRecord), 1);
        std::set<std::string> names;
        for (const std::string &record : records)
            EXPECT_TRUE(names.insert(record.substr(record.find(' '))).second) << record;
        const std::string list = contents(pvListPath);
        EXPECT_EQ(occurrences(list, c.keptLine), 1U) << list;
        EXPECT_EQ(occurrences(list, c.lostLine), 0U) << list;
        if (c.crate.commands.empty()) {
            EXPECT_EQ(records.back(), "bi CRATE:00:000:Pw") << "the items that follow have theirs";
            EXPECT_EQ(occurrences(list, "CRATE:00:000:Pw,"), 1U);
        }
    }
}

TEST_F(SameNames, TheItemThatIsLeftOutIsToldOnceFromLevelOneOnAndStaysInTheTree)
{
    for (const auto &c : sameNameCases) {
        SCOPED_TRACE(std::string(c.keptRecord) + ", not " + c.lostLine);
        EXPECT_EQ(occurrences(buildsAt(0, c.crate), "Error creating"), 0U);
        const std::string printed = buildsAt(1, c.crate);
        EXPECT_EQ(occurrences(printed, "Error creating"), 1U);
        EXPECT_EQ(occurrences(printed,
                              std::string("Error creating string for [") + c.told + "] record\n"),
                  1U);
        if (c.crate.commands.empty()) {
            const ZANTONode *channel = systemNode->getChildren().at(0)->getChildren().at(0);
            EXPECT_EQ(channel->getParameters().size(),
                      c.crate.slots[0].channels[0].parameters.size() + 1);
        }
    }
}

TEST_F(SameNames, OfOneRecordTypeBothItemsAreWrittenInTheirOrder)
{
    const std::string printed = buildsAt(
        1,
        crateOfOneChannel({blank, numeric("VSet", VEXAHV_MODE_WRITE), pw, numeric("VS et", rw)}));
    EXPECT_EQ(occurrences(printed, "Error creating"), 0U);
    const std::string vset = "CRATE:00:000:VSet";
    Lines records = recordsIn(contents(databasePath));
    records.erase(records.begin(), records.begin() + 3); // the channel's name
    EXPECT_EQ(records, (Lines{"ao " + vset, "ai " + vset + ":RBV", "ao " + vset + ":Sync",
                              "ao " + vset, "bi CRATE:00:000:Pw", "ao " + vset,
                              "ai " + vset + ":RBV", "ao " + vset + ":Sync"}));
    const std::string list = contents(pvListPath);
    EXPECT_EQ(occurrences(list, "0, 0, " + vset + ",  ao, x, x\n"), 2U);
    EXPECT_EQ(occurrences(list, "0, 0, " + vset + ",  ao,  , x\n"), 1U);
}

TEST_F(SameNames, OfDifferentBoardsAndChannelsAreNotTheSame)
{
    FakeCrate crate;
    crate.slots.assign(2, fakeBoard("A1", 2, {pw}, {pw, blank}));
    EXPECT_EQ(occurrences(buildsAt(1, crate), "Error creating string"), 0U);
    EXPECT_EQ(recordsIn(contents(databasePath)).size(), 2U * (1 + 2 * (3 + 1 + 3)));
}
