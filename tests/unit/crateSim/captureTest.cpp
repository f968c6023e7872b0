// A crate that is captured and simulated looks to a program as it did before.
#include <gmock/gmock.h>

#include "capture/describe.h"
#include "capture/guess.h"
#include "crateEquality.h"
#include "description/defaultcrate.h"
#include "model/problems.h"
#include "runningCrate.h"

using namespace sim;
using namespace sim::capture;
using crateTest::RunningCrate;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

SeenCrate surveyOf(const RunningCrate &crate)
{
    Session session(crate.address(), "admin", "admin", {});
    return survey(session);
}

Described captureOf(const RunningCrate &crate) { return describe(surveyOf(crate), "TEST"); }

std::string textOf(const Described &described)
{
    return writeCrate(described.file, described.comment);
}

CrateDescription readBack(const std::string &text)
{
    const auto reading = readCrate(text);
    for (const auto &finding : reading.findings)
        ADD_FAILURE() << findingText("captured", finding) << "\n" << text;
    return reading.file.crate;
}

// The built-in crate with four channels on each board: every call is one more
// there and back. The end-to-end tests capture the whole of it.
CrateDescription shortCrate()
{
    auto crate = defaultCrate();
    for (auto &slot : crate.slots)
        if (slot)
            slot->channels.resize(4);
    return crate;
}

CrateDescription oddCrate() { return readCrateFile(CRATES_DIR "/odd.yaml").file.crate; }

// Everything that can be seen but the boards' start values, which readBack() moves
// between model and board.
void expectSame(const SeenCrate &one, const SeenCrate &other)
{
    EXPECT_TRUE(one.properties == other.properties);
    EXPECT_EQ(one.commands, other.commands);
    ASSERT_EQ(one.slots.size(), other.slots.size());
    const auto sameLevel = [](const SeenLevel &a, const SeenLevel &b) {
        EXPECT_TRUE(a.parameters == b.parameters);
        EXPECT_TRUE(a.values == b.values);
    };
    for (size_t slot = 0; slot < one.slots.size(); ++slot) {
        SCOPED_TRACE(slot);
        ASSERT_EQ(one.slots[slot].has_value(), other.slots[slot].has_value());
        if (!one.slots[slot])
            continue;
        const auto &a = *one.slots[slot];
        const auto &b = *other.slots[slot];
        EXPECT_EQ(std::tie(a.slot.model, a.slot.description, a.slot.serialNumber,
                           a.slot.firmwareMajor, a.slot.firmwareMinor),
                  std::tie(b.slot.model, b.slot.description, b.slot.serialNumber,
                           b.slot.firmwareMajor, b.slot.firmwareMinor));
        sameLevel(a.level, b.level);
        ASSERT_EQ(a.channels.size(), b.channels.size());
        for (size_t index = 0; index < a.channels.size(); ++index) {
            EXPECT_EQ(a.channels[index].name, b.channels[index].name);
            sameLevel(a.channels[index].level, b.channels[index].level);
        }
    }
}

// Time next to stands still, so that no temperature moves between two looks however far apart.
sim::daemon::ServerSettings still()
{
    auto settings = RunningCrate::quick();
    settings.speed = 0.001;
    return settings;
}

void expectEquivalentCapture(const CrateDescription &original)
{
    std::string first;
    SeenCrate seen;
    {
        const RunningCrate crate(original, still());
        seen = surveyOf(crate);
        EXPECT_THAT(seen.leftOut, IsEmpty());
        first = textOf(describe(seen, "TEST"));
    }
    const RunningCrate again(readBack(first), still());
    expectSame(seen, surveyOf(again));
    EXPECT_EQ(textOf(captureOf(again)), first);
}

TEST(Capture, TheDefaultCrateComesBack) { expectEquivalentCapture(shortCrate()); }

TEST(Capture, TheOddCrateComesBack)
{
    auto odd = oddCrate();
    odd.users = {{"admin", "admin"}};
    expectEquivalentCapture(odd);
}

TEST(Capture, ModelsAreThoseOfTheCrate)
{
    const auto original = shortCrate();
    const RunningCrate crate(original);
    const auto captured = captureOf(crate).file.crate;
    ASSERT_EQ(captured.models.size(), original.models.size());
    for (size_t model = 0; model < original.models.size(); ++model) {
        EXPECT_EQ(captured.models[model].key, original.models[model].key);
        for (size_t index = 0; index < original.models[model].channel.size(); ++index)
            EXPECT_EQ(captured.models[model].channel[index].role,
                      original.models[model].channel[index].role)
                << original.models[model].channel[index].name;
    }
    for (size_t index = 0; index < original.properties.size(); ++index)
        EXPECT_EQ(captured.properties[index].role, original.properties[index].role);
    for (size_t index = 0; index < original.commands.size(); ++index)
        EXPECT_EQ(captured.commands[index].action, original.commands[index].action);
}

TEST(Capture, BoardsOfOneNameAndOtherParametersHaveModelsOfTheirOwn)
{
    auto odd = oddCrate();
    odd.users = {{"admin", "admin"}};
    const RunningCrate crate(odd);
    const auto captured = captureOf(crate).file.crate;
    const std::string name = odd.findModel("Everything")->name;
    EXPECT_EQ(captured.slots[1]->model, name);
    EXPECT_EQ(captured.slots[2]->model, name + " (2)");
    EXPECT_EQ(captured.slots[1]->channels[2].model, "") << "as most of its channels";
    EXPECT_EQ(captured.slots[1]->channels[0].model, name + " (3)");
    EXPECT_EQ(captured.slots[1]->channels[1].model, name + " (3)");
}

TEST(Capture, CommonValuesBelongToTheModel)
{
    auto original = shortCrate();
    for (auto &channel : original.slots[0]->channels)
        channel.start["VSet"] = 1200.0f;
    original.slots[0]->channels[3].start["VSet"] = 900.0f;
    original.slots[15].reset();
    const RunningCrate crate(original);
    const auto captured = captureOf(crate).file.crate;
    EXPECT_EQ(captured.findModel("ZA12P")->channel[0].start, Value(1200.0f));
    EXPECT_EQ(captured.slots[0]->channels[3].start, (StartValues{{"VSet", 900.0f}}));
    EXPECT_THAT(captured.slots[0]->channels[2].start, IsEmpty());
}

TEST(Capture, LoadsAreEstimatedFromWhatFlows)
{
    SeenCrate seen;
    seen.slots.resize(1);
    SeenBoard board;
    board.slot = {2, "M", "", 0, 0, 0};
    ParameterDescription volts;
    volts.name = "VMon";
    volts.maximum = 10;
    volts.exponent = 3;
    ParameterDescription amperes;
    amperes.name = "IMon";
    amperes.maximum = 1000;
    amperes.exponent = -6;
    const SeenLevel flowing{{volts, amperes}, {Value(1.5f), Value(300.0f)}};
    const SeenLevel resting{{volts, amperes}, {Value(1.5f), Value(0.0f)}};
    board.channels = {{"a", flowing}, {"b", resting}};
    seen.slots[0] = board;
    const auto described = describe(seen, "TEST");
    const auto &channels = described.file.crate.slots[0]->channels;
    EXPECT_DOUBLE_EQ(channels[0].load.ohm, 5e6);
    EXPECT_TRUE(std::isinf(channels[1].load.ohm));
    EXPECT_THAT(described.comment, Contains(HasSubstr("for 1 of 2 channels")));
    EXPECT_THAT(described.file.crate.slots[0]->channels[0].start, IsEmpty());
}

// ---- A library that cannot be trusted

TEST(Capture, WhatFailsIsLeftOutAndTold)
{
    RunningCrate crate(shortCrate());
    crate.order({{"kind", "fail"}, {"operation", "GetBdParam"}, {"code", int64_t{17}}});
    const auto seen = surveyOf(crate);
    ASSERT_EQ(seen.leftOut.size(), 1u);
    EXPECT_EQ(seen.leftOut[0], "VEXAHV_GetBdParam (slot 0, \"BdStatus\") failed with code 17");
    const auto described = describe(seen, "TEST");
    EXPECT_THAT(described.comment, Contains("- " + seen.leftOut[0]));
    readBack(textOf(described));
}

TEST(Capture, ACrateThatFailsAllTheTimeIsGivenUp)
{
    RunningCrate crate;
    crate.order({{"kind", "fail"}, {"operation", "GetChParam"}, {"count", int64_t{0}}});
    EXPECT_THROW(surveyOf(crate), TooMuchFails);
}

TEST(Capture, WithoutACrateMapThereIsNothing)
{
    RunningCrate crate(shortCrate());
    crate.order({{"kind", "fail"}, {"operation", "GetCrateMap"}, {"code", int64_t{-5}}});
    EXPECT_THROW(surveyOf(crate), CallFailed);
}

TEST(Capture, ItLogsOutHoweverItEnds)
{
    RunningCrate crate(shortCrate());
    struct Stop {};
    int calls = 0;
    const CallHook hook = [&](const char *operation) {
        if (operation != nullptr && ++calls == 20)
            throw Stop();
    };
    EXPECT_THROW(
        {
            Session session(crate.address(), "admin", "admin", hook);
            survey(session);
        },
        Stop);
    EXPECT_EQ(calls, 20);
    EXPECT_EQ(crate.on([](auto &state) {
        return state.statistics.calls.count(wire::Operation::DeinitSystem);
    }),
              1u);
}

class BrokenAnswer : public testing::TestWithParam<std::string> {};

TEST_P(BrokenAnswer, LeavesADescriptionInOrder)
{
    RunningCrate crate(readCrateFile(CRATES_DIR "/small.yaml").file.crate);
    crate.order(
        {{"kind", "answer"}, {"operation", "any"}, {"answer", GetParam()}, {"count", int64_t{0}}});
    try {
        const auto described = captureOf(crate);
        EXPECT_THAT(findProblems(described.file.crate), IsEmpty());
        readBack(textOf(described));
    } catch (const CallFailed &) {
        // As good: it has been said.
    } catch (const TooMuchFails &) {
    }
    EXPECT_GT(crate.applied(FaultKind::Answer), 0u);
}

INSTANTIATE_TEST_SUITE_P(All, BrokenAnswer,
                         testing::Values("no-nul", "no-end", "long-count", "empty-list",
                                         "nan-limits", "infinite-limits", "long-text", "bad-utf8",
                                         "quoted-text"),
                         [](const auto &info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(Capture, LimitsThatAreNoneAreReplacedAndTold)
{
    RunningCrate crate(shortCrate());
    crate.order({{"kind", "answer"}, {"operation", "GetBdParamProp"}, {"answer", "nan-limits"}});
    const auto seen = surveyOf(crate);
    EXPECT_THAT(seen.leftOut, Contains(HasSubstr("is not a finite number, replaced")));
}

TEST(Capture, TextsEndWithTheirSlot)
{
    EXPECT_EQ(slotText("abcdef", 3), "abc");
    EXPECT_EQ(slotText("ab\0def", 6), "ab");
    EXPECT_EQ(slotText("a\xff\xc3z", 4), "a??z");
    EXPECT_EQ(slotText("\xc2\xb5", 1), "?") << "half a letter";
}

TEST(Capture, MeaningsGoByNameAndType)
{
    ParameterDescription parameter;
    parameter.name = "V0Set";
    EXPECT_EQ(guessRole(parameter, true), Role::VoltageSet);
    EXPECT_EQ(guessRole(parameter, false), Role::None);
    parameter.type = ParamType::Integer;
    EXPECT_EQ(guessRole(parameter, true), Role::None);
    EXPECT_EQ(guessAction("Clear Alarm"), Action::ClearAlarms);
    EXPECT_EQ(guessAction("Reboot"), Action::None);
}

} // namespace
