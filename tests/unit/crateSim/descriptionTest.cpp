#include "model/description.h"

#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <set>

#include "model/crate.h"
#include "model/defaultcrate.h"

using namespace sim;
using testing::Contains;
using testing::HasSubstr;

TEST(DefaultCrate, HasNoProblems)
{
    EXPECT_THAT(findProblems(defaultCrate()), testing::IsEmpty());
}

TEST(DefaultCrate, HoldsEverythingAServerCanMeet)
{
    const auto crate = defaultCrate();
    EXPECT_EQ(crate.slots.size(), 16u);
    std::set<std::string> models;
    size_t empty = 0;
    for (const auto &slot : crate.slots) {
        if (slot)
            models.insert(slot->model);
        empty += slot ? 0 : 1;
    }
    EXPECT_GE(models.size(), 3u);
    EXPECT_GT(empty, 0u);

    std::set<ParamType> types;
    std::set<Mode> modes;
    bool blank = false;
    for (const auto &model : crate.models) {
        for (const auto *level : {&model.board, &model.channel}) {
            for (const auto &parameter : *level) {
                types.insert(parameter.type);
                modes.insert(parameter.mode);
                blank = blank || parameter.name.find(' ') != std::string::npos;
            }
        }
    }
    EXPECT_EQ(types.size(), 7u);
    EXPECT_EQ(modes.size(), 4u);
    EXPECT_TRUE(blank);
}

TEST(DefaultCrate, HasPropertiesOfEveryTypeAndMode)
{
    std::set<PropertyType> types;
    std::set<Mode> modes;
    std::set<std::string> names;
    for (const auto &property : defaultCrate().properties) {
        types.insert(property.type);
        modes.insert(property.mode);
        names.insert(property.name);
    }
    EXPECT_EQ(types.size(), 7u);
    EXPECT_EQ(modes.size(), 4u);
    EXPECT_THAT(names, testing::IsSupersetOf({"ResFlag", "IPAddr"}));
}

namespace {

struct ProblemCase {
    const char *name;
    std::function<void(CrateDescription &)> spoil;
    const char *problem;
};

void PrintTo(const ProblemCase &problem, std::ostream *stream)
{
    *stream << problem.name;
}

struct DescriptionProblemTest : testing::TestWithParam<ProblemCase> {};

ParameterDescription &parameter(CrateDescription &crate)
{
    return crate.models[0].channel[0];
}

BoardDescription &board(CrateDescription &crate)
{
    return *crate.slots[0];
}

const ProblemCase problems[] = {
    {"longName", [](auto &c) { parameter(c).name = "TenLetters"; }, "longer than 9"},
    {"emptyName", [](auto &c) { parameter(c).name = ""; }, "name is empty"},
    {"colon", [](auto &c) { parameter(c).name = "a:b"; }, "colon"},
    {"twice", [](auto &c) { parameter(c).name = "ISet"; }, "used twice"},
    {"reserved", [](auto &c) { parameter(c).name = "Name"; }, "used twice"},
    {"limits", [](auto &c) { parameter(c).minimum = 5000; }, "limits are reversed"},
    {"start", [](auto &c) { parameter(c).start = 1u; }, "does not fit the type"},
    {"roleTwice", [](auto &c) { parameter(c).role = Role::Power; }, "role is used twice"},
    {"roleLevel", [](auto &c) { parameter(c).role = Role::BoardStatus; }, "other level"},
    {"property", [](auto &c) { c.properties[0].name = "TwentyCharactersLong"; }, "longer than 19"},
    {"propertyStart", [](auto &c) { c.properties[0].start = 1.0f; }, "does not fit the type"},
    {"command", [](auto &c) { c.commands[1].name = "Kill"; }, "used twice"},
    {"model", [](auto &c) { board(c).model = "None"; }, "not described"},
    {"channels", [](auto &c) { board(c).channels.clear(); }, "number of channels"},
    {"manyChannels", [](auto &c) { board(c).channels.resize(65536); }, "number of channels"},
    {"channelName", [](auto &c) { board(c).channels[0].name = "twelve chars"; }, "longer than 11"},
    {"load", [](auto &c) { board(c).channels[0].load.ohm = 0; }, "load"},
    {"noise", [](auto &c) { board(c).channels[0].load.noise = std::nan(""); }, "noise"},
};

} // namespace

TEST_P(DescriptionProblemTest, IsFoundAndKeepsTheCrateFromRunning)
{
    auto crate = defaultCrate();
    GetParam().spoil(crate);
    EXPECT_THAT(findProblems(crate), Contains(HasSubstr(GetParam().problem)));
    EXPECT_THROW(Crate running(crate), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(All, DescriptionProblemTest, testing::ValuesIn(problems),
                         [](const auto &each) { return std::string(each.param.name); });
