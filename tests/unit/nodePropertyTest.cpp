#include "unitSupport.h"

#include "ZANTOnodeproperty.h"

namespace {

constexpr time_t longAgo = 1000;

ZANTONodeProperty badProperty()
{
    ZANTONodeProperty property;
    property.setPropVal(
        ZANTONodeValue(variantOf(static_cast<int32_t>(3)), nodeValueQualityBad, longAgo));
    return property;
}

} // namespace

TEST(NodeProperty, DefaultHasNoHandleNoNameAndIsAnUninitializedInteger)
{
    const ZANTONodeProperty property;
    EXPECT_EQ(property.getHandle(), -1);
    EXPECT_EQ(property.getDataType(), nodeDataTypeInt);
    EXPECT_EQ(property.getPropName(), "");
    EXPECT_EQ(property.getPropVal().ZANTOGetQuality(), nodeValueQualityUninitialized);
    EXPECT_EQ(property.getPropVal().ZANTOGetValue().toInt(), 0);
}

TEST(NodeProperty, AWholeValueKeepsItsQualityAndItsTimeInThePast)
{
    const ZANTONodeProperty property = badProperty();
    EXPECT_EQ(property.getPropVal().ZANTOGetValue().toInt(), 3);
    EXPECT_EQ(property.getPropVal().ZANTOGetQuality(), nodeValueQualityBad);
    EXPECT_EQ(property.getPropVal().ZANTOGetTimestamp(), longAgo);
}

TEST(NodeProperty, ABareVariantMakesABadPropertyGoodAndStampsIt)
{
    ZANTONodeProperty property = badProperty();
    const time_t before = std::time(nullptr);
    property.setPropVal(variantOf(static_cast<int32_t>(4)));
    EXPECT_EQ(property.getPropVal().ZANTOGetValue().toInt(), 4);
    EXPECT_EQ(property.getPropVal().ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_GE(property.getPropVal().ZANTOGetTimestamp(), before);
}

TEST(NodeProperty, AVariantWithAQualityKeepsTheQualityAndStampsIt)
{
    ZANTONodeProperty property = badProperty();
    const time_t before = std::time(nullptr);
    property.setPropVal(variantOf(static_cast<int32_t>(4)), nodeValueQualityUnknown);
    EXPECT_EQ(property.getPropVal().ZANTOGetQuality(), nodeValueQualityUnknown);
    EXPECT_GE(property.getPropVal().ZANTOGetTimestamp(), before);
}

TEST(NodeProperty, NameHandleAndTypeAreReplaced)
{
    ZANTONodeProperty property;
    property.setPropName("Unit");
    property.setHandle(9);
    property.setDataType(nodeDataTypeString);
    EXPECT_EQ(property.getPropName(), "Unit");
    EXPECT_EQ(property.getHandle(), 9);
    EXPECT_EQ(property.getDataType(), nodeDataTypeString);
}
