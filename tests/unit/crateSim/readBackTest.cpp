#include "model/readback.h"

#include <gmock/gmock.h>

#include "model/crate.h"
#include "description/defaultcrate.h"

using namespace sim;
using namespace std::chrono_literals;

namespace {

// Milliamperes, shown to a hundredth.
ParameterDescription current()
{
    ParameterDescription parameter;
    parameter.name = "IMon";
    parameter.maximum = 20;
    parameter.exponent = -3;
    parameter.decimals = 2;
    return parameter;
}

struct ReadBackTest : testing::Test {
    const ParameterDescription parameter = current();
    ItemStore items;
    const ItemId id =
        items.add({{0, 0}, parameter.name, parameter.mode, Shape::Real, &parameter, nullptr}, 0.0f);
    const ReadBack readBack{id, parameter};

    float shown() const { return std::get<float>(items.value(id)); }
};

} // namespace

TEST_F(ReadBackTest, FollowsInWholeSteps)
{
    readBack.follow(items, 0.0099e-3);
    EXPECT_EQ(shown(), 0);
    readBack.follow(items, 0.01e-3);
    EXPECT_FLOAT_EQ(shown(), 0.01f);
    readBack.follow(items, 0.0199e-3);
    EXPECT_FLOAT_EQ(shown(), 0.01f);
    readBack.follow(items, 0.0001e-3);
    EXPECT_FLOAT_EQ(shown(), 0.01f);
    readBack.follow(items, 0);
    EXPECT_EQ(shown(), 0);
}

TEST_F(ReadBackTest, NoiseDoesNotToggleBetweenNeighbours)
{
    readBack.follow(items, 5.004e-3);
    items.takeChanges();
    for (int round = 0; round < 10; ++round) {
        readBack.follow(items, 4.996e-3);
        readBack.follow(items, 5.006e-3);
    }
    EXPECT_THAT(items.takeChanges(), testing::IsEmpty());
}

TEST_F(ReadBackTest, SettlesOnTheNearestStep)
{
    readBack.follow(items, 4.99e-3);
    readBack.settle(items, 4.9951e-3);
    EXPECT_FLOAT_EQ(shown(), 5.0f);
}

TEST_F(ReadBackTest, StaysWithinTheLimitsOfTheParameter)
{
    readBack.settle(items, 1);
    EXPECT_EQ(shown(), 20);
    readBack.follow(items, -1);
    EXPECT_EQ(shown(), 0);
}

TEST(ReadBackOfIntegers, StaysWithinTheType)
{
    ParameterDescription parameter;
    parameter.type = ParamType::Integer;
    parameter.minimum = -1e12f;
    parameter.maximum = 1e12f;
    ItemStore items;
    const ItemId id =
        items.add({{0, 0}, "Any", Mode::Read, Shape::Signed, &parameter, nullptr}, int32_t{0});
    ReadBack(id, parameter).settle(items, 1e11);
    EXPECT_EQ(std::get<int32_t>(items.value(id)), INT32_MAX);
}

TEST(ReadBackOfAProperty, HasTheDeadbandToo)
{
    const PropertyDescription property{"OutPower", PropertyType::Real, Mode::Read,
                                       PropertyRole::OutputPower, 0.0f};
    ItemStore items;
    const ItemId id = items.add({{}, property.name, property.mode, Shape::Real, nullptr, &property},
                                property.start);
    const ReadBack readBack(id, property, 0.01);
    readBack.follow(items, 0.0099);
    EXPECT_EQ(std::get<float>(items.value(id)), 0);
    readBack.follow(items, 0.0101);
    EXPECT_FLOAT_EQ(std::get<float>(items.value(id)), 0.01f);
}

namespace {

// The texts that an item had in the course of some steps, each once in a row.
std::vector<std::string> history(Crate &crate, Address at, const char *name, int steps)
{
    ItemId id = 0;
    EXPECT_EQ(crate.find(at, name, id), Result::Ok);
    std::vector<std::string> texts{toText(crate.items().value(id))};
    crate.takeChanges();
    for (int step = 0; step < steps; ++step) {
        crate.step(50ms);
        for (const ItemId changed : crate.takeChanges().items)
            if (changed == id)
                texts.push_back(toText(crate.items().value(id)));
    }
    return texts;
}

CrateDescription withNoise(double steps)
{
    CrateDescription crate = defaultCrate();
    crate.slots[0]->channels[0].load.noise = steps;
    return crate;
}

void rampFully(Crate &crate)
{
    ASSERT_EQ(crate.write({0, 0}, "VSet", 3000.0f, Origin::Network), Result::Ok);
    ASSERT_EQ(crate.write({0, 0}, "Pw", 1u, Origin::Network), Result::Ok);
    crate.step(1h);
}

} // namespace

TEST(Noise, BelowAStepShowsNothing)
{
    Crate crate(withNoise(0.9));
    rampFully(crate);
    EXPECT_THAT(history(crate, {0, 0}, "IMon", 500), testing::ElementsAre("400"));
}

TEST(Noise, BeyondAStepShowsWithinItsAmplitude)
{
    Crate crate(withNoise(3));
    rampFully(crate);
    const auto seen = history(crate, {0, 0}, "IMon", 500);
    EXPECT_GT(seen.size(), 100u);
    for (const auto &text : seen)
        EXPECT_NEAR(std::stod(text), 400, 0.0301) << text;
    EXPECT_EQ(history(crate, {0, 0}, "VMon", 10).size(), 1u);
}

TEST(Noise, EndsWithTheVoltage)
{
    Crate crate(withNoise(3));
    rampFully(crate);
    ASSERT_EQ(crate.execute("Kill"), Result::Ok);
    EXPECT_THAT(history(crate, {0, 0}, "IMon", 20), testing::ElementsAre("0"));
}
