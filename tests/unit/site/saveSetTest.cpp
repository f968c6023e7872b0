#include "outputs.h"

#include <gmock/gmock.h>
#include <sstream>

#include "siteSupport.h"

namespace {

using namespace site;
using namespace siteTest;
using testing::ElementsAre;

std::vector<std::string> linesOf(const Planned &planned)
{
    EXPECT_TRUE(planned.errors.empty());
    std::vector<std::string> lines;
    std::istringstream text(saveSetText(planned.plan));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

TEST(SiteSaveSet, LimitsAndRatesComeBeforeVoltagesAndSwitchesNever)
{
    const Planned planned(siteOf("channels: [{channels: \"0:1\", name: W}]\n"),
                          {crateOf("HV", {2})});
    EXPECT_THAT(linesOf(planned),
                ElementsAre("PV,READBACK,READ_ONLY",                 //
                            "HV:00:000:SVMax,HV:00:000:SVMax:RBV,0", //
                            "W:SVMax,W:SVMax:RBV,0",                 //
                            "HV:00:000:ISet,HV:00:000:ISet:RBV,0",   //
                            "W:ISet,W:ISet:RBV,0",                   //
                            "HV:00:000:RUp,HV:00:000:RUp:RBV,0",     //
                            "W:RUp,W:RUp:RBV,0",                     //
                            "HV:OutputLevel,HV:OutputLevel:RBV,0",   //
                            "HV:00:000:VSet,HV:00:000:VSet:RBV,0",   //
                            "W:VSet,W:VSet:RBV,0"));
}

TEST(SiteSaveSet, NamesWithCommasAreQuoted)
{
    Crate crate = crateOf("HV", {});
    crate.parameters[1].record = "HV:Level,2";
    EXPECT_THAT(linesOf({siteOf(""), {crate}}),
                ElementsAre("PV,READBACK,READ_ONLY", "\"HV:Level,2\",\"HV:Level,2:RBV\",0"));
}

// Whatever the site takes for its power.
TEST(SiteSaveSet, NoRoleMakesASwitchASetPoint)
{
    const Planned planned(
        siteOf("parameters: {voltage-set: Pw, ramp-up: Label, trip-time: VSet}\n"),
        {crateOf("HV", {1})});
    const auto lines = linesOf(planned);
    for (const auto &line : lines)
        EXPECT_TRUE(line.find(":Pw") == std::string::npos &&
                    line.find(":Label") == std::string::npos)
            << line;
    EXPECT_EQ("HV:00:000:VSet,HV:00:000:VSet:RBV,0", lines.at(3));
}

} // namespace
