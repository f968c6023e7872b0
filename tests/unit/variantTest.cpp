#include "unitSupport.h"

#include <limits>

namespace {

void expectFresh(const variant &v)
{
    EXPECT_EQ(v.toInt(), 0);
    EXPECT_EQ(v.toShort(), 0);
    EXPECT_EQ(v.toLong(), 0);
    EXPECT_EQ(v.toUInt(), 0U);
    EXPECT_EQ(v.toUShort(), 0U);
    EXPECT_EQ(v.toULong(), 0U);
    EXPECT_EQ(v.toFloat(), 0.0F);
    EXPECT_FALSE(v.toBool());
    EXPECT_EQ(v.toString(), "");
}

// All bits set, so that what a setter leaves alone shows.
variant allOnes() { return variantOf(static_cast<int32_t>(-1)); }

} // namespace

TEST(Variant, DefaultReadsZeroThroughEveryGetterAndAnEmptyText) { expectFresh(variant()); }

TEST(Variant, ASetterOfTheTextLeavesTheNumberAlone)
{
    variant v;
    v.setValue(static_cast<int32_t>(5));
    v.setValue(std::string("abc"));
    EXPECT_EQ(v.toInt(), 5);
    EXPECT_EQ(v.toString(), "abc");
}

TEST(Variant, ASetterOfANumberLeavesTheTextAlone)
{
    variant v = variantOf(std::string("abc"));
    v.setValue(1.5F);
    v.setValue(true);
    EXPECT_EQ(v.toString(), "abc");
}

TEST(Variant, ALiteralIsATextAndNoBool)
{
    variant v;
    v.setValue("abc");
    EXPECT_EQ(v.toString(), "abc");
    EXPECT_EQ(v.toInt(), 0);
}

TEST(Variant, AShortWritesTheLowTwoBytesOnly)
{
    variant v = variantOf(static_cast<int32_t>(0x12345678));
    v.setValue(static_cast<int16_t>(1));
    EXPECT_EQ(v.toInt(), 0x12340001);
    EXPECT_EQ(v.toShort(), 1);
}

TEST(Variant, EverySetterWritesItsOwnWidth)
{
    const struct {
        const char *type;
        void (*set)(variant &);
        uint32_t slot;
    } cases[] = {
        {"int", [](variant &v) { v.setValue(static_cast<int32_t>(0)); }, 0},
        {"short", [](variant &v) { v.setValue(static_cast<int16_t>(0)); }, 0xFFFF0000},
        {"long", [](variant &v) { v.setValue(0L); }, 0},
        {"unsigned int", [](variant &v) { v.setValue(static_cast<uint32_t>(0)); }, 0},
        {"unsigned short", [](variant &v) { v.setValue(static_cast<uint16_t>(0)); }, 0xFFFF0000},
        {"unsigned long", [](variant &v) { v.setValue(0UL); }, 0},
        {"bool", [](variant &v) { v.setValue(false); }, 0xFFFFFF00},
        {"float", [](variant &v) { v.setValue(0.0F); }, 0},
        {"text", [](variant &v) { v.setValue(std::string("x")); }, 0xFFFFFFFF},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.type);
        variant v = allOnes();
        c.set(v);
        EXPECT_EQ(v.toUInt(), c.slot);
    }
}

TEST(Variant, EveryTypeReadsBackItsExtremes)
{
    EXPECT_EQ(variantOf(std::numeric_limits<int32_t>::min()).toInt(), INT32_MIN);
    EXPECT_EQ(variantOf(std::numeric_limits<int16_t>::min()).toShort(), INT16_MIN);
    EXPECT_EQ(variantOf(std::numeric_limits<uint32_t>::max()).toUInt(), UINT32_MAX);
    EXPECT_EQ(variantOf(std::numeric_limits<uint16_t>::max()).toUShort(), UINT16_MAX);
    EXPECT_EQ(variantOf(-2147483648L).toLong(), INT32_MIN);
    EXPECT_EQ(variantOf(4294967295UL).toULong(), UINT32_MAX);
    EXPECT_EQ(variantOf(-0.5F).toFloat(), -0.5F);
    EXPECT_TRUE(variantOf(true).toBool());
    EXPECT_FALSE(variantOf(false).toBool());
}

TEST(Variant, ReadingAnotherTypeReinterpretsTheBytes)
{
    EXPECT_EQ(variantOf(1.5F).toInt(), 1069547520);
    EXPECT_EQ(variantOf(static_cast<int32_t>(70000)).toShort(), 4464);
    EXPECT_EQ(variantOf(static_cast<int32_t>(-1)).toUShort(), 65535);
    EXPECT_EQ(variantOf(static_cast<int32_t>(-1)).toUInt(), UINT32_MAX);
    EXPECT_EQ(variantOf(static_cast<int32_t>(1069547520)).toFloat(), 1.5F);
}

TEST(Variant, ABooleanIsTheLowByteAlone)
{
    EXPECT_FALSE(variantOf(static_cast<int32_t>(0x100)).toBool());
    EXPECT_TRUE(variantOf(static_cast<int32_t>(0x101)).toBool());
}

TEST(Variant, AByteOtherThanZeroAndOneReadsAsTrue)
{
    for (int32_t byte : {2, 0x80, 0xFF})
        EXPECT_TRUE(variantOf(byte).toBool()) << byte;
}

TEST(Variant, ANumberIsNeverFormattedIntoText)
{
    EXPECT_EQ(variantOf(static_cast<int32_t>(42)).toString(), "");
}

TEST(Variant, ClearMakesItFreshAgain)
{
    variant v = allOnes();
    v.setValue(std::string("abc"));
    v.setValue(static_cast<int16_t>(7));
    v.clear();
    expectFresh(v);
}

TEST(Variant, CopiesAndAssignmentsTakeNumberAndText)
{
    variant v = variantOf(static_cast<int32_t>(5));
    v.setValue(std::string("abc"));
    const variant copy(v);
    variant assigned = variantOf(std::string("old"));
    assigned = v;
    v.clear();
    for (const variant &other : {copy, assigned}) {
        EXPECT_EQ(other.toInt(), 5);
        EXPECT_EQ(other.toString(), "abc");
    }
}
