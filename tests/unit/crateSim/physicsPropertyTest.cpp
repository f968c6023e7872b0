// What holds whatever anybody does to a crate, in any order.
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "model/crate.h"
#include "description/defaultcrate.h"

using namespace sim;
using namespace std::chrono_literals;

namespace {

// The same cases in every run, so that what fails once fails again. Others are looked at with
// RC_PARAMS="seed=... max_success=..." in the environment.
const int usualParameters = setenv("RC_PARAMS", "seed=1", 0);

// One thing done, then time passes in a number of steps.
struct Deed {
    uint32_t kind;
    uint32_t place;
    uint32_t amount; // 0 to 1000
    Duration time;
    int32_t cuts;
};

rc::Gen<std::vector<Deed>> deeds(uint32_t kinds)
{
    return rc::gen::container<std::vector<Deed>>(rc::gen::construct<Deed>(
        rc::gen::inRange(0u, kinds), rc::gen::inRange(0u, 1000u), rc::gen::inRange(0u, 1001u),
        rc::gen::map(rc::gen::inRange<int64_t>(0, 4000000000),
                     [](int64_t t) { return Duration(t); }),
        rc::gen::inRange(1, 20)));
}

template <class Advance> void inSteps(const Deed &deed, const Advance &advance)
{
    Duration rest = deed.time;
    for (int32_t step = 1; step < deed.cuts; ++step) {
        const Duration part = rest / (deed.place % 5 + 2);
        advance(part);
        rest -= part;
    }
    advance(rest);
}

// ---- One output

constexpr uint32_t outputKinds = 14;
constexpr uint32_t keptOff = channelbit::ExternalDisable | channelbit::Unplugged |
                             channelbit::PowerFail | channelbit::TemperatureError |
                             channelbit::OverVoltageProtection;

struct Subject {
    Output output;
    OutputSettings settings;
    uint32_t conditions = 0;

    void act(const Deed &deed)
    {
        const double amount = deed.amount;
        switch (deed.kind) {
        case 0: settings.voltage = amount; break;
        case 1: settings.currentLimit = amount * 1e-6; break;
        case 2: settings.hardLimit = amount; break;
        case 3: settings.rampUp = amount; break;
        case 4: settings.rampDown = amount; break;
        case 5: settings.tripTime = deed.amount > 900 ? Duration::max() : deed.amount * 7ms; break;
        case 6: settings.rampOff = deed.amount % 2 != 0; break;
        case 7:
        case 8:
        case 9: output.switchOn(); return;
        case 10: output.switchOff(); return;
        case 11: output.trip(channelbit::ExternalTrip); return;
        case 12: output.clearTrip(); return;
        default: conditions ^= channelbit::conditions & (1u << deed.place % 16); break;
        }
        output.setConditions(conditions);
        output.configure(settings);
    }
    double wanted() const
    {
        return output.isOn() ? std::min(settings.voltage, settings.hardLimit) : 0.0;
    }
};

Subject anySubject()
{
    constexpr double none = std::numeric_limits<double>::infinity();
    const double ohm = *rc::gen::element(1e5, 1e6, 1e7, none);
    const double farad = *rc::gen::element(0.0, 1e-8, 1e-6);
    return {Output(ohm, farad), {}, 0};
}

} // namespace

// The voltage never rises beyond set-point and hardware limit as they are; what
// was above when they were lowered only falls.
RC_GTEST_PROP(OutputProperty, NeverPassesItsLimits, ())
{
    Subject subject = anySubject();
    for (const Deed &deed : *deeds(outputKinds)) {
        const double before = subject.output.voltage();
        subject.act(deed);
        const double wanted = subject.wanted();
        inSteps(deed, [&](Duration time) {
            subject.output.advance(time);
            RC_ASSERT(subject.output.voltage() >= 0);
            RC_ASSERT(subject.output.voltage() <= std::max(before, wanted));
            RC_ASSERT(subject.output.current() >= 0);
            RC_ASSERT(subject.output.current() <= subject.settings.currentLimit);
        });
    }
}

RC_GTEST_PROP(OutputProperty, NothingComesFromNothing, ())
{
    Subject subject = anySubject();
    for (const Deed &deed : *deeds(outputKinds)) {
        subject.act(deed);
        subject.output.advance(deed.time);
        const Output &output = subject.output;
        RC_ASSERT(output.voltage() > 0 || output.current() == 0);
        RC_ASSERT(output.isOn() || !output.isSettled() || output.voltage() == 0);
        RC_ASSERT(!output.isOn() || (output.status() & (channelbit::trips | keptOff)) == 0);
    }
}

RC_GTEST_PROP(OutputProperty, StepsDoNotMatter, ())
{
    Subject once = anySubject();
    Subject often = once;
    for (const Deed &deed : *deeds(outputKinds)) {
        once.act(deed);
        often.act(deed);
        once.output.advance(Duration(0));
        once.output.advance(deed.time);
        inSteps(deed, [&](Duration time) { often.output.advance(time); });
        RC_ASSERT(once.output.voltage() == often.output.voltage());
        RC_ASSERT(once.output.current() == often.output.current());
        RC_ASSERT(once.output.status() == often.output.status());
    }
}

// ---- A crate

namespace {

constexpr uint32_t crateKinds = 18;
constexpr int32_t channels = 6;

// One board with every sort of load.
CrateDescription smallCrate(double noise)
{
    CrateDescription crate = defaultCrate();
    for (size_t slot = 1; slot < crate.slots.size(); ++slot)
        crate.slots[slot].reset();
    auto &list = crate.slots[0]->channels;
    list.resize(channels);
    for (size_t index = 0; index < list.size(); ++index)
        list[index].load.farad = index % 2 == 0 ? 1e-6 : 0;
    list[1].load.ohm = std::numeric_limits<double>::infinity();
    for (auto &channel : list)
        channel.load.noise = noise;
    return crate;
}

// Most of what anybody may do is refused now and then, which is no matter.
void act(Crate &crate, const Deed &deed)
{
    const Address channel{0, static_cast<int32_t>(deed.place) % channels};
    const Address board{0, -1};
    const auto amount = static_cast<float>(deed.amount);
    const uint32_t bit = deed.place / channels % 16;
    const bool odd = deed.amount % 2 != 0;
    const auto write = [&](Address at, const char *name, const Value &value) {
        crate.write(at, name, value, Origin::FrontPanel);
    };
    switch (deed.kind) {
    case 0: write(channel, "VSet", amount); break;
    case 1: write(channel, "ISet", amount); break;
    case 2: write(channel, "SVMax", amount); break;
    case 3: write(channel, "RUp", amount); break;
    case 4: write(channel, "RDwn", amount); break;
    case 5: write(channel, "Trip", amount / 100); break;
    case 6: write(channel, "PDwn", uint32_t{odd}); break;
    case 7:
    case 8:
    case 9: write(channel, "Pw", 1u); break;
    case 10: write(channel, "Pw", 0u); break;
    case 11: write(board, "HVMax", amount); break;
    case 12: write(board, "BdEnable", uint32_t{odd}); break;
    case 13: write(board, "Temp", amount / 10); break;
    case 14: crate.setChannelCondition(channel, 1u << bit, odd); break;
    case 15: crate.setBoardCondition(0, 1u << bit % 6, odd); break;
    case 16: odd ? crate.removeBoard(0) : crate.insertBoard(0); break;
    default: crate.execute(odd ? "ClearAlarm" : "AllOff"); break;
    }
}

bool withinLimits(const Crate &crate, ItemId id)
{
    const ParameterDescription *parameter = crate.items().item(id).parameter;
    if (parameter == nullptr || parameter->type != ParamType::Numeric)
        return true;
    const double number = toNumber(crate.items().value(id));
    return number >= static_cast<double>(parameter->minimum) &&
           number <= static_cast<double>(parameter->maximum);
}

double number(const Crate &crate, int32_t channel, const char *name)
{
    ItemId id = 0;
    return crate.find({0, channel}, name, id) == Result::Ok ? toNumber(crate.items().value(id)) : 0;
}

} // namespace

RC_GTEST_PROP(CrateProperty, ReadBacksStayWithinTheirLimits, ())
{
    constexpr double noise = 2;
    constexpr double allowed = (noise + 1) * 0.01; // and the deadband, in microamperes
    Crate crate(smallCrate(noise), *rc::gen::arbitrary<uint64_t>());
    for (const Deed &deed : *deeds(crateKinds)) {
        act(crate, deed);
        inSteps(deed, [&](Duration time) { crate.step(time); });
        for (ItemId id = 0; id < crate.items().size(); ++id)
            RC_ASSERT(withinLimits(crate, id));
        for (int32_t channel = 0; channel < channels; ++channel)
            RC_ASSERT(number(crate, channel, "IMon") <=
                      number(crate, channel, "ISet") + allowed + 1e-4);
    }
}

RC_GTEST_PROP(CrateProperty, SameSeedAndStepsGiveTheSameState, ())
{
    const auto seed = *rc::gen::arbitrary<uint64_t>();
    Crate one(smallCrate(2), seed);
    Crate other(smallCrate(2), seed);
    for (const Deed &deed : *deeds(crateKinds)) {
        for (Crate *crate : {&one, &other}) {
            act(*crate, deed);
            inSteps(deed, [&](Duration time) { crate->step(time); });
        }
        RC_ASSERT(one.takeChanges().items == other.takeChanges().items);
        for (ItemId id = 0; id < one.items().size(); ++id)
            RC_ASSERT(one.items().value(id) == other.items().value(id));
    }
}

// On the way the deadband may leave read-backs a step apart; not so in the end.
RC_GTEST_PROP(CrateProperty, StepsDoNotMatterWithoutNoise, ())
{
    Crate once(smallCrate(0));
    Crate often(smallCrate(0));
    for (const Deed &deed : *deeds(crateKinds)) {
        act(once, deed);
        act(often, deed);
        once.step(deed.time);
        inSteps(deed, [&](Duration time) { often.step(time); });
        for (int32_t channel = 0; channel < channels; ++channel)
            RC_ASSERT(number(once, channel, "Status") == number(often, channel, "Status"));
    }
    once.step(24h);
    often.step(12h);
    often.step(12h);
    for (ItemId id = 0; id < once.items().size(); ++id)
        RC_ASSERT(once.items().value(id) == often.items().value(id));
}
