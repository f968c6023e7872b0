// When the current time is taken: values that belong together have one timestamp.
#include "unitSupport.h"

#include "Installed.h"
#include "ZANTOclock.h"
#include "ZANTOconfig.h"
#include "ZANTOutils.h"

#include <atomic>
#include <ctime>

namespace {

std::atomic<time_t> nextTime{0};

// Goes on with every look at it.
const ZANTOClock ticking = {[] { return nextTime++; }, ZANTOSystemClock.steadyNow,
                            ZANTOSystemClock.pause};

class Timestamps : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        nextTime = begin;
    }

    // The mainframe takes its time to answer `get`, which has looked at the clock before.
    template <typename Get> void expectStampOfTheCall(const Get &get)
    {
        nextTime = begin;
        fake.setHook([](const std::string &) { nextTime = begin + answerTime; });
        const ZANTONodeValue value = get();
        fake.setHook(nullptr);
        EXPECT_GE(nextTime, begin + answerTime) << "no call was made";
        EXPECT_GE(value.ZANTOGetTimestamp(), begin);
        EXPECT_LT(value.ZANTOGetTimestamp(), begin + answerTime);
    }

    static constexpr time_t answerTime = 1000;
    static constexpr time_t begin = 1000000;

private:
    const Installed<ZANTOClock> m_installed{ZANTOPresentClock, ticking};
};

} // namespace

TEST_F(Timestamps, ALostConnectionMarksAllChildrenWithOne)
{
    for (const connStatus status : {connStatus_KO, connStatus_PENDING}) {
        const NodePtr root(bareNode("CRATE", nodeTypeSystemItem));
        std::vector<ZANTONode *> children;
        for (int board = 0; board < 3; ++board) {
            children.push_back(bareNode("Board", nodeTypeBoardItem));
            root->addChildNode(children.back());
            ZANTONode *parent = children.back();
            for (int channel = 0; channel < 3; ++channel) {
                children.push_back(bareNode("Chan", nodeTypeChannelItem));
                parent->addChildNode(children.back());
            }
        }
        nextTime = begin;
        root->setConnectionStatus(status);
        EXPECT_EQ(nextTime, begin + 1) << "looked at the clock once";
        for (const ZANTONode *child : children)
            EXPECT_EQ(child->getNodeValue().ZANTOGetTimestamp(), begin);
    }
}

TEST_F(Timestamps, TheServersOwnParametersHaveOne)
{
    const auto nodes = owned(ZANTOConfig::ZANTOConfigCreateSystemFurtherParams(connStatus_OK, 4));
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_GE(nodes[0]->getNodeValue().ZANTOGetTimestamp(), begin);
    EXPECT_EQ(nodes[1]->getNodeValue().ZANTOGetTimestamp(),
              nodes[0]->getNodeValue().ZANTOGetTimestamp());
}

TEST_F(Timestamps, AGetterTakesTheTimeBeforeItReads)
{
    fake.setCrate(smallFakeCrate());
    // Found and not found: a failure has a timestamp as well.
    for (const std::string &name : {std::string("ModelName"), std::string("Nope")})
        expectStampOfTheCall([&name] {
            return ZANTOUtils::ZANTOGetSystemPropertyChanged(crateHandle, name,
                                                             VEXAHV_SYSPROP_TEXT);
        });
    for (const std::string &name : {std::string("Temp"), std::string("Nope")})
        expectStampOfTheCall([&name] {
            return ZANTOUtils::ZANTOGetBoardParameterChanged(crateHandle, 0, name,
                                                             VEXAHV_PARAM_NUMERIC);
        });
    for (const std::string &name : {std::string("VSet"), std::string("Nope"), std::string("Name")})
        expectStampOfTheCall([&name] {
            return ZANTOUtils::ZANTOGetChannelParameterChanged(crateHandle, 0, name, 0,
                                                               VEXAHV_PARAM_NUMERIC);
        });
    // The fake's copy of the crate would be taken for a node that is left over.
    fake.setCrate({});
}
