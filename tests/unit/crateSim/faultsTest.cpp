// Orders of misbehaviour: which call or byte they hit, and what is left of them.
#include <gtest/gtest.h>

#include "faults/stream.h"

using namespace sim;
using sim::wire::Operation;

namespace {

FaultOrder order(const FaultFields &fields)
{
    std::vector<FaultProblem> problems;
    const auto read = readFaultOrder(fields, problems);
    EXPECT_TRUE(read);
    return read.value_or(FaultOrder());
}

struct FaultsTest : testing::Test {
    FaultCounts counts;
    Faults faults{counts};
    StreamFaults stream{counts};
    uint64_t number = 0;

    void add(const FaultFields &fields) { faults.add({++number, order(fields)}); }
    void addToStream(const FaultFields &fields) { stream.add({++number, order(fields)}); }
    std::optional<int32_t> codeOf(Operation operation) { return faults.takeCall(operation).code; }
};

} // namespace

TEST_F(FaultsTest, NthCallOfANameFails)
{
    add({{"kind", "fail"}, {"operation", "ExecComm"}, {"code", -42}, {"count", 2}, {"after", 1}});
    EXPECT_FALSE(codeOf(Operation::ExecComm));
    EXPECT_FALSE(codeOf(Operation::GetChParam));
    EXPECT_EQ(codeOf(Operation::ExecComm), -42);
    EXPECT_EQ(codeOf(Operation::ExecComm), -42);
    EXPECT_FALSE(codeOf(Operation::ExecComm));
    EXPECT_TRUE(faults.none());
    EXPECT_EQ(counts.of(FaultKind::Fail), 2u);
}

TEST_F(FaultsTest, ForGoodEndsWithTheClearing)
{
    add({{"kind", "fail"}, {"operation", "any"}, {"count", 0}});
    for (int call = 0; call < 100; ++call)
        EXPECT_EQ(codeOf(Operation::GetSysProp), 1);
    faults.clear(FaultKind::Hang);
    EXPECT_FALSE(faults.none());
    faults.clear(FaultKind::Fail);
    EXPECT_FALSE(codeOf(Operation::GetSysProp));
}

TEST_F(FaultsTest, OrdersOfAKindHappenOneAfterTheOther)
{
    add({{"kind", "fail"}, {"operation", "any"}, {"code", 5}});
    add({{"kind", "fail"}, {"operation", "any"}, {"code", 6}});
    EXPECT_EQ(codeOf(Operation::ExecComm), 5);
    EXPECT_EQ(codeOf(Operation::ExecComm), 6);
}

TEST_F(FaultsTest, KindsMeetInOneCall)
{
    add({{"kind", "fail"}, {"operation", "any"}});
    add({{"kind", "delay"}, {"operation", "any"}, {"milliseconds", 30}});
    add({{"kind", "hang"}, {"operation", "any"}});
    const CallFault fault = faults.takeCall(Operation::ExecComm);
    EXPECT_EQ(fault.code, 1);
    EXPECT_TRUE(fault.hangs);
    EXPECT_EQ(fault.delay.count(), 30);
    EXPECT_TRUE(faults.none());
}

TEST_F(FaultsTest, AnswersThatCannotBeCorruptPass)
{
    add({{"kind", "answer"}, {"operation", "GetChParamProp"}, {"answer", "nan-limits"}});
    const auto ask = [&](std::string_view property) {
        return faults.takeCorruption(Operation::GetChParamProp,
                                     answerForm(Operation::GetChParamProp, property, false));
    };
    EXPECT_FALSE(ask("Type"));
    EXPECT_FALSE(ask("Onstate"));
    EXPECT_EQ(ask("Minval"), Corruption::NanLimits);
    EXPECT_FALSE(ask("Maxval"));
}

TEST_F(FaultsTest, ConnectionsTakeWhatWaitsForThem)
{
    add({{"kind", "drop-events"}, {"offset", 8}});
    add({{"kind", "split-events"}});
    add({{"kind", "refuse-logins"}});
    EXPECT_EQ(faults.takeForConnection().size(), 2u);
    // The split is for good, and so for every connection.
    const ActiveFaults again = faults.takeForConnection();
    ASSERT_EQ(again.size(), 1u);
    EXPECT_EQ(again[0].order.kind, FaultKind::SplitEvents);
    EXPECT_TRUE(faults.takeRefusal());
    EXPECT_FALSE(faults.takeRefusal());
}

TEST_F(FaultsTest, EndComesAtItsByte)
{
    addToStream({{"kind", "reset-events"}, {"offset", 10}});
    addToStream({{"kind", "drop-events"}, {"offset", 12}});
    EXPECT_EQ(stream.piece(100), 10u);
    EXPECT_FALSE(stream.takeEnd());
    stream.noteSent(9);
    EXPECT_FALSE(stream.takeEnd());
    EXPECT_EQ(stream.piece(100), 1u);
    stream.noteSent(1);
    EXPECT_EQ(counts.of(FaultKind::ResetEvents), 0u);
    EXPECT_EQ(stream.takeEnd(), FaultKind::ResetEvents);
    EXPECT_EQ(counts.of(FaultKind::ResetEvents), 1u);
    EXPECT_EQ(stream.piece(1), 1u);
    EXPECT_EQ(stream.piece(100), 2u);
}

TEST_F(FaultsTest, SplitLastsForItsBatches)
{
    addToStream({{"kind", "split-events"}, {"chunk", 3}, {"count", 2}});
    for (int batch = 0; batch < 2; ++batch) {
        EXPECT_TRUE(stream.isSplit());
        EXPECT_EQ(stream.piece(100), 3u);
        EXPECT_EQ(stream.piece(2), 2u);
        stream.noteBatchSent();
    }
    EXPECT_FALSE(stream.isSplit());
    EXPECT_EQ(stream.piece(100), 100u);
    EXPECT_EQ(counts.of(FaultKind::SplitEvents), 2u);
}

TEST_F(FaultsTest, OrderReachesAConnectionOnce)
{
    const ActiveFault fault{7, order({{"kind", "unknown-events"}})};
    stream.add(fault);
    stream.add(fault);
    EXPECT_TRUE(stream.takeMalformedEvents());
    EXPECT_FALSE(stream.takeMalformedEvents());
    addToStream({{"kind", "garbage-events"}, {"bytes", 7}});
    EXPECT_EQ(stream.takeGarbage(), 7u);
    EXPECT_EQ(stream.takeGarbage(), 0u);
}
