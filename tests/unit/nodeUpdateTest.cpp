// How an event's value gets into a node that somebody else may hold.
#include "unitSupport.h"

#include "Contender.h"

#include "vexahvwrapper.h"

#include <atomic>
#include <thread>

namespace {

class NodeUpdate : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        node->setSysHandle(crateHandle);
        fake.setCrate(crate());
    }

    static FakeCrate crate()
    {
        const FakeParameter vset = fakeNumeric("VSet", VEXAHV_MODE_READWRITE, 0, 0, 100);
        FakeCrate crate;
        crate.slots = {fakeBoard("A1", 1, {}, {vset})};
        return crate;
    }

    static ZANTONodeValue good(float number)
    {
        return ZANTONodeValue(variantOf(number), nodeValueQualityGood, 1000);
    }
    void update(float number, uint64_t connection = 0)
    {
        node->updateValue(good(number), connection);
    }
    // On a thread of its own, which must come back while this one goes on waiting.
    void updateElsewhere(float number, uint64_t connection = 0)
    {
        std::thread([=] { update(number, connection); }).join();
    }
    float value() const { return node->getNodeValue().ZANTOGetValue().toFloat(); }

    const NodePtr node =
        makeItem("VSet", nodeTypeChannelParam, VEXAHV_PARAM_NUMERIC, nodeAccessReadWrite);
};

} // namespace

// ---- who holds the node ----

TEST_F(NodeUpdate, OfAFreeNodeIsInPlaceAtOnce)
{
    update(1.5F);
    EXPECT_EQ(value(), 1.5F);
    EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_EQ(node->getNodeValue().ZANTOGetTimestamp(), 1000);
}

TEST_F(NodeUpdate, DuringAWriteDoesNotWaitAndIsInPlaceWhenTheWriteReturns)
{
    for (const bool withRecord : {false, true}) {
        SCOPED_TRACE(withRecord);
        fake.setHook([this](const std::string &) {
            updateElsewhere(8.5F);
            updateElsewhere(9.5F);
        });
        if (withRecord)
            node->lockSem();
        EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), 0);
        if (withRecord) {
            EXPECT_EQ(value(), 2.5F) << "not under the record that wrote";
            node->unlockSem();
        }
        EXPECT_EQ(value(), 9.5F);
    }
}

TEST_F(NodeUpdate, DuringAWriteThatFailsIsInPlaceToo)
{
    fake.failCalls("SetChParam(", 5);
    fake.setHook([this](const std::string &) { updateElsewhere(9.5F); });
    EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), 5);
    EXPECT_EQ(value(), 9.5F);
    EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
}

// What the same thread sets inside its write must not let the value in before the write is over.
TEST_F(NodeUpdate, DuringAWriteIsNotOverwrittenByIt)
{
    fake.setHook([this](const std::string &) {
        updateElsewhere(9.5F);
        node->setExpUnit("V");
        const ZANTONode::SemGuard guard(*node);
        node->setNodeDecimals(1);
    });
    EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), 0);
    EXPECT_EQ(value(), 9.5F);
}

TEST_F(NodeUpdate, UnderTheRecordLockIsInPlaceWhenItIsReleasedAsOftenAsTaken)
{
    node->lockSem();
    node->lockSem();
    updateElsewhere(1.5F);
    EXPECT_EQ(value(), 0.0F);
    node->setNodeDecimals(1);
    node->unlockSem();
    EXPECT_EQ(value(), 0.0F);
    node->unlockSem();
    EXPECT_EQ(value(), 1.5F);
}

TEST_F(NodeUpdate, OfTheThreadThatHoldsTheNodeIsInPlaceAtOnce)
{
    const ZANTONode::SemGuard guard(*node);
    updateElsewhere(1.5F);
    update(2.5F);
    EXPECT_EQ(value(), 2.5F);
}

// Nobody could catch what is thrown when a node is let go.
TEST_F(NodeUpdate, ThatWasLeftIsAppliedWithoutFurtherMemory)
{
    const std::string text(200, 'x');
    const auto leave = [&](const std::string &longText) {
        const ZANTONodeValue value(variantOf(longText), nodeValueQualityGood, 1000);
        std::thread([&] { node->updateValue(value, 0); }).join();
    };
    node->lockSem();
    leave(text);
    {
        const AllocationFailure failure(100, 1000);
        const ZANTONode::SemGuard again(*node);
        node->unlockSem();
    }
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toString(), text);
    node->lockSem();
    leave(text + "y");
    {
        const AllocationFailure failure(100, 1000);
        node->unlockSem();
    }
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toString(), text + "y");
}

TEST_F(NodeUpdate, DuringASubscriptionDoesNotWait)
{
    fake.setHook([this](const std::string &) { updateElsewhere(1.5F); });
    node->ZANTOSubscribeNode();
    EXPECT_EQ(value(), 1.5F);
}

TEST_F(NodeUpdate, WithoutMemoryToKeepItWaits)
{
    node->lockSem();
    Contender other([&] {
        const ZANTONodeValue brought = good(1.5F);
        const AllocationFailure shortage(1, 1000);
        node->updateValue(brought, 0);
    });
    EXPECT_TRUE(other.waits());
    node->unlockSem();
    other.join();
    EXPECT_EQ(value(), 1.5F);
}

// ---- connections ----

TEST_F(NodeUpdate, OfAnOlderConnectionIsNotTaken)
{
    update(1.5F, 3);
    update(2.5F, 2);
    EXPECT_EQ(value(), 1.5F);
    update(3.5F, 3);
    EXPECT_EQ(value(), 3.5F);
    update(4.5F, 4);
    EXPECT_EQ(value(), 4.5F);
    update(5.5F, 3);
    EXPECT_EQ(value(), 4.5F);
}

TEST_F(NodeUpdate, OfAnOlderConnectionIsNotTakenFromAHeldNodeEither)
{
    const struct {
        std::vector<uint64_t> connections;
        float expected;
    } cases[] = {{{5, 4}, 0}, {{4, 5}, 1}, {{4, 4}, 1}, {{5, 4, 4}, 0}, {{4, 6, 5}, 1}, {{4}, 0}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        const uint64_t earlier = 10 * i; // the node remembers those of the case before
        node->lockSem();
        for (std::size_t n = 0; n < cases[i].connections.size(); ++n)
            updateElsewhere(static_cast<float>(n), earlier + cases[i].connections[n]);
        node->unlockSem();
        EXPECT_EQ(value(), cases[i].expected);
    }
    node->lockSem();
    updateElsewhere(77.5F, 1);
    node->unlockSem();
    EXPECT_NE(value(), 77.5F) << "older than what the node holds";
}

TEST_F(NodeUpdate, OfNoConnectionIsTakenAndChangesNoNumber)
{
    update(1.5F, 3);
    update(2.5F);
    EXPECT_EQ(value(), 2.5F);
    update(3.5F, 2);
    EXPECT_EQ(value(), 2.5F);
    update(4.5F, 3);
    EXPECT_EQ(value(), 4.5F);
}

TEST_F(NodeUpdate, AWriteIsNoConnection)
{
    update(1.5F, 3);
    EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), 0);
    EXPECT_EQ(value(), 2.5F);
    update(3.5F, 3);
    EXPECT_EQ(value(), 3.5F);
}

// ---- nothing is lost ----

// Whoever takes the node's lock after an update returned sees it, and at the end the last one is
// in place without anybody taking the lock once more.
TEST_F(NodeUpdate, IsNeitherMissedNorStrandedBetweenThreads)
{
    for (int round = 0; round < 50; ++round) {
        ZANTONode busy;
        busy.updateValue(good(0.0F), 2);
        std::atomic<int> published{0};
        std::atomic<bool> stop{false};
        std::vector<std::thread> holders;
        for (int i = 0; i < 2; ++i) {
            holders.emplace_back([&] {
                while (!stop) {
                    const auto least = static_cast<float>(published);
                    const ZANTONode::SemGuard guard(busy);
                    EXPECT_GE(busy.getNodeValue().ZANTOGetValue().toFloat(), least);
                }
            });
        }
        holders.emplace_back([&] {
            while (!stop)
                busy.setNodeDecimals(2); // takes m_serializer alone
        });
        std::thread older([&] {
            for (int i = 0; i < 300; ++i)
                busy.updateValue(good(-1.0F), 1);
        });
        for (int i = 1; i <= 300; ++i) {
            busy.updateValue(good(static_cast<float>(i)), 2);
            published = i;
        }
        older.join();
        stop = true;
        for (std::thread &holder : holders)
            holder.join();
        ASSERT_EQ(busy.getNodeValue().ZANTOGetValue().toFloat(), 300.0F) << round;
    }
}
