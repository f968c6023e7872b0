#include "model/description.h"

#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <set>

#include "model/crate.h"
#include "description/defaultcrate.h"
#include "model/problems.h"

using namespace sim;
using testing::AllOf;
using testing::Contains;
using testing::Field;
using testing::HasSubstr;

TEST(DefaultCrate, HasNoProblems) { EXPECT_THAT(findProblems(defaultCrate()), testing::IsEmpty()); }

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
    const char *path;
};

void PrintTo(const ProblemCase &problem, std::ostream *stream) { *stream << problem.name; }

struct DescriptionProblemTest : testing::TestWithParam<ProblemCase> {};

ParameterDescription &parameter(CrateDescription &crate) { return crate.models[0].channel[0]; }

BoardDescription &board(CrateDescription &crate) { return *crate.slots[0]; }

const ProblemCase problems[] = {
    {"longName", [](auto &c) { parameter(c).name = "TenLetters"; }, "longer than 9",
     "models/0/channel/0/name"},
    {"emptyName", [](auto &c) { parameter(c).name = ""; }, "name is empty",
     "models/0/channel/0/name"},
    {"colon", [](auto &c) { parameter(c).name = "a:b"; }, "colon", "models/0/channel/0/name"},
    {"twice", [](auto &c) { parameter(c).name = "ISet"; }, "used twice", "models/0/channel/1/name"},
    {"reserved", [](auto &c) { parameter(c).name = "Name"; }, "used twice",
     "models/0/channel/0/name"},
    {"limits", [](auto &c) { parameter(c).minimum = 5000; }, "limits are reversed",
     "models/0/channel/0/minimum"},
    {"endlessLimit", [](auto &c) { parameter(c).maximum = INFINITY; }, "not a finite number",
     "models/0/channel/0/maximum"},
    {"notANumber", [](auto &c) { parameter(c).minimum = NAN; }, "not a finite number",
     "models/0/channel/0/minimum"},
    {"start", [](auto &c) { parameter(c).start = 1u; }, "does not fit the type",
     "models/0/channel/0/start"},
    {"startRange", [](auto &c) { parameter(c).start = 3001.0f; }, "out of range",
     "models/0/channel/0/start"},
    {"label", [](auto &c) { c.models[0].board[4].onLabel = std::string(1024, 'x'); },
     "longer than 1023", "models/0/board/4/on-label"},
    {"roleTwice", [](auto &c) { parameter(c).role = Role::Power; }, "role is used twice",
     "models/0/channel/8/role"},
    {"roleLevel", [](auto &c) { parameter(c).role = Role::BoardStatus; }, "other level",
     "models/0/channel/0/role"},
    {"roleType", [](auto &c) { c.models[0].channel[18].role = Role::CurrentMinimum; },
     "role does not fit the type", "models/0/channel/18/role"},
    {"modelTwice", [](auto &c) { c.models[1].key = "ZA12P"; }, "key is used twice", "models/1/key"},
    {"property", [](auto &c) { c.properties[0].name = "TwentyCharactersLong"; }, "longer than 19",
     "properties/0/name"},
    {"propertyStart", [](auto &c) { c.properties[0].start = 1.0f; }, "does not fit the type",
     "properties/0/start"},
    {"propertyRange", [](auto &c) { c.properties[6].start = 65536u; }, "out of range",
     "properties/6/start"},
    {"command", [](auto &c) { c.commands[1].name = "Kill"; }, "used twice", "commands/1/name"},
    {"user", [](auto &c) { c.users.push_back(c.users[0]); }, "used twice", "users/1/name"},
    {"model", [](auto &c) { board(c).model = "None"; }, "not described", "slots/0/model"},
    {"channels", [](auto &c) { board(c).channels.clear(); }, "number of channels",
     "slots/0/channels"},
    {"manyChannels", [](auto &c) { board(c).channels.resize(65536); }, "number of channels",
     "slots/0/channels"},
    {"channelName", [](auto &c) { board(c).channels[0].name = "twelve chars"; }, "longer than 11",
     "slots/0/channels/0/name"},
    {"channelModel", [](auto &c) { board(c).channels[3].model = "None"; }, "not described",
     "slots/0/channels/3/model"},
    {"boardStart", [](auto &c) { board(c).start["Speed"] = 1.0f; }, "no such parameter",
     "slots/0/start/Speed"},
    {"channelStart", [](auto &c) { board(c).channels[2].start["VSet"] = -1.0f; }, "out of range",
     "slots/0/channels/2/start/VSet"},
    {"load", [](auto &c) { board(c).channels[0].load.ohm = 0; }, "load",
     "slots/0/channels/0/load/ohm"},
    {"capacitance", [](auto &c) { board(c).channels[0].load.farad = -1; }, "capacitance",
     "slots/0/channels/0/load/farad"},
    {"noise", [](auto &c) { board(c).channels[0].load.noise = std::nan(""); }, "noise",
     "slots/0/channels/0/load/noise"},
};

} // namespace

TEST_P(DescriptionProblemTest, IsFoundAndKeepsTheCrateFromRunning)
{
    auto crate = defaultCrate();
    GetParam().spoil(crate);
    EXPECT_THAT(findProblems(crate),
                Contains(AllOf(Field(&Problem::text, HasSubstr(GetParam().problem)),
                               Field(&Problem::path, GetParam().path))));
    EXPECT_THROW(Crate running(crate), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(All, DescriptionProblemTest, testing::ValuesIn(problems),
                         [](const auto &each) { return std::string(each.param.name); });
