#include <records.h>
#include <variants.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <cmath>
#include <limits>
#include <random>

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

template <typename N, typename T = J1939Value>
int rating(const QVariant& scaledValue, double lower, double upper, double average = 0)
{
    T record = scaledRecord<T>(scaledValue);
    return GenericValueHandler<N, T>::getRating(record, lower, upper, average);
}

/// The rating as documented: 100 within the middle half of the limits, linear in both margins.
int modelRating(double x, double lower, double upper)
{
    if (std::isnan(x))
        return 100;
    if (x < lower || x > upper)
        return 0;
    const double quarter = (upper - lower) / 4;
    const double innerLower = lower + quarter;
    const double innerUpper = upper - quarter;
    if (innerLower <= x && x <= innerUpper)
        return 100;
    const bool above = x > innerUpper;
    const double margin = above ? upper - innerUpper : innerLower - lower;
    const double distance = above ? upper - x : x - lower;
    if (!(margin > 1e-12 || margin < -1e-12))
        return 100;
    const double percent = distance / margin * 100;
    if (percent < 0)
        return 0;
    return percent > 100 ? 100 : static_cast<int>(std::floor(percent + 0.5));
}

template <typename Case>
class Rating : public testing::Test
{
};
TYPED_TEST_SUITE(Rating, HandlerCases);

} // namespace

TYPED_TEST(Rating, FallsLinearlyFromTheInnerBandToTheLimits)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    const auto rate = [](int x) { return rating<N, T>(ownVariant<N>(N(x)), 0, 100); };
    EXPECT_EQ(rate(25), 100);
    EXPECT_EQ(rate(50), 100);
    EXPECT_EQ(rate(75), 100);
    EXPECT_EQ(rate(10), 40);
    EXPECT_EQ(rate(90), 40);
    EXPECT_EQ(rate(0), 0);
    EXPECT_EQ(rate(100), 0);
    EXPECT_EQ(rate(24), 96);
    EXPECT_EQ(rate(76), 96);
}

TYPED_TEST(Rating, ReadsTheIntVariantThatScalingStores)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    EXPECT_EQ((rating<N, T>(QVariant(10), 0, 100)), 40);
}

TYPED_TEST(Rating, LeavesTheRecordUnchangedAndIgnoresIsInvalid)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    T record = scaledRecord<T>(QVariant(10));
    record.isInvalid = true;
    EXPECT_EQ((GenericValueHandler<N, T>::getRating(record, 0, 100, 0)), 40);
    EXPECT_EQ(record.scaledValue.userType(), QMetaType::Int);
    EXPECT_FALSE(record.rawValue.isValid());
    EXPECT_TRUE(record.isInvalid);
}

TYPED_TEST(Rating, IgnoresTheAverage)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    for (const double average : {0.0, 1e6, -infinity, notANumber})
        EXPECT_EQ((rating<N, T>(QVariant(90), 0, 100, average)), 40);
}

TYPED_TEST(Rating, AScaledValueThatDoesNotConvertIsRatedLikeTheValueZero)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    EXPECT_EQ((rating<N, T>(QVariant(), -10, 100)), modelRating(0, -10, 100));
    EXPECT_EQ((rating<N, T>(QStringLiteral("x"), -10, 100)), modelRating(0, -10, 100));
    EXPECT_EQ((rating<N, T>(QVariant(), 1, 100)), 0);
}

TYPED_TEST(Rating, WithReversedLimitsEveryValueIsRatedZero)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    for (const int x : {0, 10, 50, 100, 120})
        EXPECT_EQ((rating<N, T>(QVariant(x), 100, 0)), 0);
}

TYPED_TEST(Rating, WithEqualLimitsOnlyThatValueIsRated100)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    EXPECT_EQ((rating<N, T>(QVariant(5), 5, 5)), 100);
    EXPECT_EQ((rating<N, T>(QVariant(4), 5, 5)), 0);
    EXPECT_EQ((rating<N, T>(QVariant(6), 5, 5)), 0);
}

TYPED_TEST(Rating, ANaNLimitExcludesNothingAndTheOtherLimitStillApplies)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    EXPECT_EQ((rating<N, T>(QVariant(5), notANumber, 4)), 0);
    EXPECT_EQ((rating<N, T>(QVariant(5), 6, notANumber)), 0);
    EXPECT_EQ((rating<N, T>(QVariant(5), notANumber, 5)), 100);
    EXPECT_EQ((rating<N, T>(QVariant(5), 5, notANumber)), 100);
    EXPECT_EQ((rating<N, T>(QVariant(5), notANumber, notANumber)), 100);
    EXPECT_EQ((rating<N, T>(QVariant(5), -infinity, infinity)), 100);
}

TYPED_TEST(Rating, AgreesWithAnIndependentModelOnRandomCases)
{
    using N = typename TypeParam::N;
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> limit(-20, 140);
    std::uniform_int_distribution<int> magnitude(0, 8 * sizeof(N) - 1);
    for (int i = 0; i < 100000; ++i) {
        // Small numbers; integers also get random bits, with limits of any magnitude.
        const double size =
            i % 3 == 0 && std::is_integral_v<N> ? std::ldexp(1, magnitude(random)) : 1;
        N x{};
        if constexpr (std::is_floating_point_v<N>)
            x = static_cast<N>(limit(random));
        else
            x = size > 1 ? static_cast<N>(random()) : static_cast<N>(random() % 128);
        double lower = limit(random) * size;
        double upper = limit(random) * size;
        if (i % 4 == 0)
            lower = std::floor(lower);
        if (i % 4 < 2)
            upper = std::floor(upper);
        if (i % 8 != 0 && lower > upper)
            std::swap(lower, upper);
        const int expected = modelRating(static_cast<double>(x), lower, upper);
        ASSERT_EQ((rating<N, typename TypeParam::T>(ownVariant(x), lower, upper)), expected)
            << "case " << i << ": " << +x << " in " << lower << " .. " << upper;
    }
}

TEST(RatingEdges, ATenthBetweenZeroAndTwoLiesInTheLowerMargin)
{
    EXPECT_EQ(rating<double>(0.1, 0, 2), 20);
}

TEST(RatingEdges, RatesValuesBetweenZeroAndAHundred)
{
    for (const auto& [x, expected] :
         {std::pair(25.0, 100), std::pair(75.0, 100), std::pair(10.0, 40), std::pair(90.0, 40),
          std::pair(12.5, 50), std::pair(0.0, 0), std::pair(100.0, 0), std::pair(100.5, 0)})
        EXPECT_EQ(rating<double>(x, 0, 100), expected) << x;
}

TEST(RatingEdges, OneInfiniteLimitGivesZeroAndTwoGive100)
{
    EXPECT_EQ(rating<double>(50, 0, infinity), 0);
    EXPECT_EQ(rating<double>(50, -infinity, 100), 0);
    EXPECT_EQ(rating<double>(50, -infinity, infinity), 100);
}

TEST(RatingEdges, FractionsAreNotRoundedBeforeRating)
{
    EXPECT_EQ(rating<double>(12.5, 0, 100), 50);
    EXPECT_EQ(rating<double>(100.5, 0, 100), 0);
    EXPECT_EQ(rating<double>(-0.5, 0, 100), 0);
    EXPECT_EQ(rating<float>(12.5F, 0, 100), 50);
}

TEST(RatingEdges, HalvesAreRoundedUp)
{
    EXPECT_EQ(rating<double>(0.125, 0, 100), 1);    // 0.5
    EXPECT_EQ(rating<double>(0.375, 0, 100), 2);    // 1.5
    EXPECT_EQ(rating<double>(99.875, 0, 100), 1);   // 0.5
    EXPECT_EQ(rating<double>(0.124, 0, 100), 0);    // 0.496
    EXPECT_EQ(rating<double>(24.875, 0, 100), 100); // 99.5
}

TEST(RatingEdges, AMarginWithinTheToleranceRatesEveryValueInsideTheLimits100)
{
    const double upper = 5 + 2e-12;
    for (const double x : {5.0, 5 + 1e-13, 5 + 1e-12, upper})
        EXPECT_EQ(rating<double>(x, 5, upper), 100) << x - 5;
    EXPECT_EQ(rating<double>(5.1, 5, upper), 0);
}

TEST(RatingEdges, TheToleranceAppliesToTheMarginAndIsInclusive)
{
    // Around 0 the margins are exact: a quarter of the band each.
    EXPECT_EQ(rating<double>(0.0, 0, 4e-12), 100);
    EXPECT_EQ(rating<double>(0.0, 0, 4.001e-12), 0);
    EXPECT_EQ(rating<double>(4e-12, 0, 4e-12), 100);
    EXPECT_EQ(rating<double>(4.001e-12, 0, 4.001e-12), 0);
}

TEST(RatingEdges, AnIntIsRatedByItsPositionInTheMargin)
{
    EXPECT_EQ(rating<int>(7, 6, 14), 50);
    EXPECT_EQ(rating<int>(7, 6, 10), 100);
}

TEST(RatingEdges, TheMarginIsComputedFromTheRoundedInnerLimit)
{
    // The margin is 2 after rounding; the quarter itself, 1.5, would give 67.
    const double lower = 4503599627370496.0; // 2^52: inner limits are whole numbers
    const double upper = lower + 6;          // quarter 1.5, inner limits lower + 2 and upper - 2
    EXPECT_EQ(rating<double>(lower + 1, lower, upper), 50);
    EXPECT_EQ(rating<double>(upper - 1, lower, upper), 50);
}

TEST(RatingEdges, UnsignedSixtyFourBitValuesAreReadAsUnsigned)
{
    const double top = 18446744073709551616.0;
    EXPECT_EQ(rating<unsigned long long>(ownVariant(3ULL << 62), 0, top), 100);
    EXPECT_EQ(rating<unsigned long long>(ownVariant(15ULL << 60), 0, top), 25);
}

TEST(RatingEdges, NaNIsRated100)
{
    EXPECT_EQ(rating<double>(notANumber, 0, 1), 100);
    EXPECT_EQ(rating<float>(ownVariant(std::numeric_limits<float>::quiet_NaN()), 0, 1), 100);
    EXPECT_EQ(rating<double>(notANumber, 1, 0), 100);
}

TEST(RatingEdges, AnInfiniteDistanceInAnInfiniteMarginIsRated100)
{
    EXPECT_EQ(rating<double>(infinity, 0, infinity), 100);
    EXPECT_EQ(rating<double>(-infinity, -infinity, 10), 100);
    constexpr double greatest = std::numeric_limits<double>::max();
    EXPECT_EQ(rating<double>(-1e300, -greatest, greatest), 100); // distance from the upper limit
    EXPECT_EQ(rating<double>(5, -greatest, greatest), 0);
}

TEST(RatingEdges, InfiniteValuesLieOutsideFiniteLimits)
{
    EXPECT_EQ(rating<double>(infinity, 0, 1), 0);
    EXPECT_EQ(rating<double>(-infinity, 0, 1), 0);
}
