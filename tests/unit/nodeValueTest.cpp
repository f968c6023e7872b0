#include "unitSupport.h"

#include "ZANTOnodevalue.h"

TEST(NodeValue, DefaultIsZeroUninitializedAndStampedNow)
{
    const time_t before = std::time(nullptr);
    const ZANTONodeValue value;
    EXPECT_EQ(value.ZANTOGetValue().toInt(), 0);
    EXPECT_EQ(value.ZANTOGetValue().toString(), "");
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityUninitialized);
    EXPECT_GE(value.ZANTOGetTimestamp(), before);
    EXPECT_LE(value.ZANTOGetTimestamp(), std::time(nullptr));
}

TEST(NodeValue, TwoDefaultsOfOneSecondAreEqual)
{
    ZANTONodeValue first;
    ZANTONodeValue second;
    // The second may turn between the two, once.
    for (int i = 0; i < 2 && first.ZANTOGetTimestamp() != second.ZANTOGetTimestamp(); ++i)
        first = ZANTONodeValue(), second = ZANTONodeValue();
    EXPECT_EQ(first.ZANTOGetTimestamp(), second.ZANTOGetTimestamp());
    EXPECT_EQ(first.ZANTOGetQuality(), second.ZANTOGetQuality());
    EXPECT_EQ(first.ZANTOGetValue().toUInt(), second.ZANTOGetValue().toUInt());
}

TEST(NodeValue, TakesAndReplacesAllThreeParts)
{
    ZANTONodeValue value(variantOf(static_cast<int32_t>(3)), nodeValueQualityBad, 1000);
    EXPECT_EQ(value.ZANTOGetValue().toInt(), 3);
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityBad);
    EXPECT_EQ(value.ZANTOGetTimestamp(), 1000);

    value.ZANTOSetValueData(variantOf(std::string("x")), nodeValueQualityUnknown, 2000);
    EXPECT_EQ(value.ZANTOGetValue().toInt(), 0);
    EXPECT_EQ(value.ZANTOGetValue().toString(), "x");
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityUnknown);
    EXPECT_EQ(value.ZANTOGetTimestamp(), 2000);
}

TEST(NodeValue, ANewValueLeavesAWriteFailureMarked)
{
    ZANTONodeValue value(variant(), nodeValueQualityWriteFail, 1000);
    value.ZANTOSetValue(variantOf(static_cast<int32_t>(8)));
    EXPECT_EQ(value.ZANTOGetValue().toInt(), 8);
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityWriteFail);
    EXPECT_EQ(value.ZANTOGetTimestamp(), 1000);
}

TEST(NodeValue, QualityAndTimestampAreSetAlone)
{
    ZANTONodeValue value(variantOf(static_cast<int32_t>(3)), nodeValueQualityBad, 1000);
    value.ZANTOSetQuality(nodeValueQualityGood);
    EXPECT_EQ(value.ZANTOGetTimestamp(), 1000);
    value.ZANTOSetTimestamp(5);
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_EQ(value.ZANTOGetTimestamp(), 5);
    EXPECT_EQ(value.ZANTOGetValue().toInt(), 3);
}

TEST(NodeValue, CopiesTakeAllThreeParts)
{
    const ZANTONodeValue value(variantOf(static_cast<int32_t>(3)), nodeValueQualityBad, 1000);
    ZANTONodeValue assigned;
    assigned = value;
    const ZANTONodeValue copy(assigned);
    EXPECT_EQ(copy.ZANTOGetValue().toInt(), 3);
    EXPECT_EQ(copy.ZANTOGetQuality(), nodeValueQualityBad);
    EXPECT_EQ(copy.ZANTOGetTimestamp(), 1000);
}
