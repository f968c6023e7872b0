#include "unitSupport.h"

#include "ZANTOnumeric.h"

#include <cmath>
#include <limits>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

template <typename T> class Truncate : public ::testing::Test {
};
using Integers = ::testing::Types<int16_t, uint16_t, int32_t, uint32_t, int64_t, uint64_t>;
TYPED_TEST_SUITE(Truncate, Integers);

} // namespace

TYPED_TEST(Truncate, FractionsAreCutOffTowardZero)
{
    EXPECT_EQ(ZANTOTruncate<TypeParam>(2.9), TypeParam{2});
    EXPECT_EQ(ZANTOTruncate<TypeParam>(0.9), TypeParam{0});
    EXPECT_EQ(ZANTOTruncate<TypeParam>(-0.9), TypeParam{0});
    if (std::numeric_limits<TypeParam>::is_signed) {
        EXPECT_EQ(ZANTOTruncate<TypeParam>(-2.9), static_cast<TypeParam>(-2));
    }
}

TYPED_TEST(Truncate, NoNumberIsZero)
{
    EXPECT_EQ(ZANTOTruncate<TypeParam>(notANumber), TypeParam{0});
    EXPECT_EQ(ZANTOTruncate<TypeParam>(-notANumber), TypeParam{0});
}

TYPED_TEST(Truncate, ValuesBeyondTheRangeBecomeItsBounds)
{
    using Limits = std::numeric_limits<TypeParam>;
    for (const double high : {infinity, 1e300, 2e19})
        EXPECT_EQ(ZANTOTruncate<TypeParam>(high), Limits::max()) << high;
    for (const double low : {-infinity, -1e300, -2e19})
        EXPECT_EQ(ZANTOTruncate<TypeParam>(low), Limits::min()) << low;
}

TYPED_TEST(Truncate, TheFirstValueThatNoLongerFitsBecomesTheBound)
{
    using Limits = std::numeric_limits<TypeParam>;
    const double beyond = std::ldexp(1.0, Limits::digits);
    EXPECT_EQ(ZANTOTruncate<TypeParam>(beyond), Limits::max());
    // 11 bits of the widest integers have no place in a double.
    const double below = std::nextafter(beyond, 0.0);
    EXPECT_EQ(ZANTOTruncate<TypeParam>(below), static_cast<TypeParam>(below));
    EXPECT_LE(static_cast<double>(ZANTOTruncate<TypeParam>(below)), below);
    EXPECT_EQ(ZANTOTruncate<TypeParam>(static_cast<double>(Limits::min())), Limits::min());
}

TEST(Narrow, FloatsComeThroughAndWhatLiesBeyondIsInfinite)
{
    constexpr double largest = std::numeric_limits<float>::max();
    constexpr float floatInfinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(ZANTONarrow(1.5), 1.5F);
    EXPECT_EQ(ZANTONarrow(0.1), 0.1F);
    EXPECT_EQ(ZANTONarrow(largest), std::numeric_limits<float>::max());
    EXPECT_EQ(ZANTONarrow(-largest), std::numeric_limits<float>::lowest());
    EXPECT_EQ(ZANTONarrow(1e39), floatInfinity);
    EXPECT_EQ(ZANTONarrow(-1e39), -floatInfinity);
    EXPECT_EQ(ZANTONarrow(infinity), floatInfinity);
    EXPECT_EQ(ZANTONarrow(1e-300), 0.0F);
    EXPECT_TRUE(std::isnan(ZANTONarrow(notANumber)));
}
