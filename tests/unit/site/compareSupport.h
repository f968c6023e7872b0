// Two crates, what became different, and a site file that speaks of them.
#pragma once

#include <algorithm>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "comparefiles.h"
#include "comparison/compare.h"
#include "description/cratefile.h"

namespace siteTest {

using namespace sim;
using namespace site;
using Lines = std::vector<std::string>;

inline std::string crateFile(const std::string &name) { return CRATES_DIR "/" + name + ".yaml"; }

inline sim::CrateDescription described(const std::string &name)
{
    const auto reading = sim::readCrateFile(crateFile(name));
    EXPECT_THAT(reading.findings, testing::IsEmpty());
    return reading.file.crate;
}

// The detector twice, and what became different. Slots 0 to 2 have 12 channels of ZA12P, 5 and 6
// have 48 of ZA48L, 10 and 11 have 24 of ZA24N.
class SiteCompare : public testing::Test {
protected:
    static sim::ParameterDescription &channelParameter(sim::CrateDescription &crate, size_t model,
                                                       const std::string &name)
    {
        auto &channel = crate.models.at(model).channel;
        const auto found = std::find_if(channel.begin(), channel.end(),
                                        [&](const auto &each) { return each.name == name; });
        EXPECT_NE(found, channel.end()) << name;
        return *found;
    }
    sim::ParameterDescription &channelParameter(const std::string &name)
    {
        return channelParameter(after, 0, name);
    }
    static void remove(std::vector<sim::ParameterDescription> &parameters, const std::string &name)
    {
        const auto *found = sim::findParameter(parameters, name);
        ASSERT_NE(found, nullptr) << name;
        parameters.erase(parameters.begin() + (found - parameters.data()));
    }
    sim::BoardDescription &board(size_t slot) { return *after.slots.at(slot); }
    static void insert(sim::CrateDescription &crate, size_t slot,
                       const std::optional<sim::BoardDescription> &board)
    {
        crate.slots.at(slot) = board;
    }

    Differences differences() const { return compareCrates(before, after); }
    Lines lines() const { return differenceLines(differences()); }
    Lines valueLines() const { return differenceLines(compareValues(before, after)); }

    sim::CrateDescription before = described("detector");
    sim::CrateDescription after = before;
};

template <class Value> Placed<Value> placed(Value value, int line) { return {value, line}; }

class SiteAttention : public SiteCompare {
protected:
    SiteAttention()
    {
        file.crates = {{1, "HV", ""}};
        file.entries.resize(1);
        entry().kind = EntryKind::Channels;
        entry().line = 12;
        entry().ranges = placed(std::vector<Range>{{0, 1, 0, 11}}, 12);
    }

    Entry &entry() { return file.entries.front(); }
    Lines attentionLines(const std::string &crate = "HV") const
    {
        Lines found;
        for (const auto &[line, text] : attention(file, crate, differences()))
            found.push_back(std::to_string(line) + ' ' + text);
        return found;
    }

    SiteFile file;
};

} // namespace siteTest
