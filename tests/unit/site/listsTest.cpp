#include "outputs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "siteSupport.h"

namespace {

using namespace site;
using namespace siteTest;
using nlohmann::json;

TEST(SiteLists, TheArchiverIsToldTheReadBackItsPeriodAndWay)
{
    const Planned planned(
        siteOf("channels:\n"
               "  - {channels: all, archive: {VMon: scan 60, VSet: monitor 0.5}}\n"
               "  - {channels: \"0:1\", name: W}\n"),
        {crateOf("HV", {2})});
    ASSERT_TRUE(planned.errors.empty());
    const auto list = json::parse(archiveText(planned.plan));
    const json set{
        {"pv", "HV:00:000:VSet:RBV"}, {"samplingperiod", "0.5"}, {"samplingmethod", "MONITOR"}};
    const json read{{"pv", "W:VMon"}, {"samplingperiod", "60.0"}, {"samplingmethod", "SCAN"}};
    ASSERT_EQ(4U, list.size());
    EXPECT_EQ(set, list[0]);
    EXPECT_EQ(read, list[3]);
    EXPECT_EQ(json::array(),
              json::parse(archiveText(Planned(siteOf(""), {crateOf("HV", {1})}).plan)));
}

std::map<std::string, std::string> propertiesOf(const json &list, const std::string &name)
{
    std::map<std::string, std::string> found;
    for (const auto &item : list)
        if (item.at("name") == name)
            for (const auto &property : item.at("properties"))
                found[property.at("name")] = property.at("value");
    return found;
}

TEST(SiteLists, TheDirectoryHasEachRecordAndEachName)
{
    Crate crate = crateOf("HV", {2});
    crate.boards[0].channels[1].parameters[0].unit = "V";
    const Planned planned(
        siteOf("channels:\n  - {channels: \"0:1\", name: W, description: Wire}\n"), {crate});
    const auto list = json::parse(channelFinderText(planned.plan));
    EXPECT_EQ(3U + 1U + 3U * std::size(channelLines), list.size());
    const std::map<std::string, std::string> wanted{{"iocName", "HV"},
                                                    {"recordType", "ao"},
                                                    {"parameter", "VSet"},
                                                    {"crate", "HV"},
                                                    {"slot", "0"},
                                                    {"channel", "1"},
                                                    {"element", "W"},
                                                    {"description", "Wire VSet"},
                                                    {"record", "HV:00:001:VSet"},
                                                    {"engineeringUnit", "V"}};
    EXPECT_EQ(wanted, propertiesOf(list, "W:VSet"));
    EXPECT_EQ(0U, propertiesOf(list, "HV:00:001:VSet").count("record"));
    EXPECT_EQ(0U, propertiesOf(list, "HV:00:Temp").count("channel"));
    EXPECT_EQ(0U, propertiesOf(list, "HV:ModelName").count("slot"));
}

TEST(SiteLists, NamesThatAreNoTextAreJsonAllTheSame)
{
    Crate crate = crateOf("HV", {1});
    crate.parameters[0].record = "HV:\xff\xfe{}[],:";
    crate.parameters[0].unit = "\xc3";
    const Planned planned(siteOf("system: [{archive: monitor}]\n"), {crate});
    ASSERT_TRUE(planned.errors.empty());
    EXPECT_TRUE(json::accept(archiveText(planned.plan)));
    EXPECT_TRUE(json::accept(channelFinderText(planned.plan)));
    // One line for each, for whoever compares two of them
    const auto text = channelFinderText(planned.plan);
    EXPECT_EQ(static_cast<long>(json::parse(text).size()) + 2,
              std::count(text.begin(), text.end(), '\n'));
}

} // namespace
