#include "pvlist/crate.h"

#include <gtest/gtest.h>

namespace {

using namespace pvlist;

Parameter parameter(const std::string &type, bool readable, bool writable)
{
    Parameter made;
    made.record = "HV:03:007:X";
    made.type = type;
    made.readable = readable;
    made.writable = writable;
    return made;
}

TEST(SiteCrate, TheReadBackOfWhatCanBeWrittenIsARecordOfItsOwn)
{
    EXPECT_EQ("HV:03:007:X:RBV", parameter("ao", true, true).readBack());
    EXPECT_EQ("HV:03:007:X", parameter("ai", true, false).readBack());
    EXPECT_EQ("", parameter("bo", false, true).readBack());
}

TEST(SiteCrate, AReadBackHasTheInputRecordsType)
{
    EXPECT_EQ("ai", parameter("ao", true, true).readBackType());
    EXPECT_EQ("bi", parameter("bo", true, true).readBackType());
    EXPECT_EQ("mbbiDirect", parameter("mbboDirect", true, true).readBackType());
    EXPECT_EQ("stringin", parameter("stringout", true, true).readBackType());
    EXPECT_EQ("ai", parameter("ai", true, false).readBackType());
}

TEST(SiteCrate, RecordNamesArePaddedAsTheServerPadsThem)
{
    Crate crate;
    crate.name = "HV";
    EXPECT_EQ("HV:03", crate.recordOf(3));
    EXPECT_EQ("HV:12:345", crate.recordOf(12, 345));
    EXPECT_EQ("HV:100:1000", crate.recordOf(100, 1000));
}

} // namespace
