#include "Random.h"
#include "Reference.h"

#include "sums.h"

#include <sanitizers.h>
#include <statistics/SimpleStatisticCalculator.h>

namespace
{

struct SumsReference {
    std::vector<quint64> words;
    Truth mean;
    Truth deviation;
};

/// The series of one element type from reference/sums.txt.
std::vector<SumsReference> sumsReferences(const QByteArray& type)
{
    QFile file(STATISTICS_TEST_DATA "/reference/sums.txt");
    std::vector<SumsReference> result;
    if (!file.open(QIODevice::ReadOnly))
        return result;
    while (!file.atEnd()) {
        const QList<QByteArray> fields = file.readLine().split(';');
        if (fields[0] != type)
            continue;
        SumsReference reference;
        for (int i = 1; i <= 7; ++i)
            reference.words.push_back(fields[i].toULongLong(nullptr, 16));
        const auto number = [&](int i) { return std::strtod(fields[i].constData(), nullptr); };
        reference.mean = {number(8), number(9)};
        reference.deviation = {number(10), number(11)};
        result.push_back(reference);
    }
    return result;
}

void setSums(SmallIntegerSums& sums, const std::vector<quint64>& words)
{
    sums.words() = std::tie(words[0], words[2], words[3], words[4], words[5]);
}

template <typename N>
void setSums(LargeIntegerSums<N>& sums, const std::vector<quint64>& words)
{
    sums.words() = std::tie(words[0], words[1], words[2], words[3], words[4], words[5], words[6]);
}

/// The largest integer up to which a double holds every square exactly.
const auto lastExactSquare = static_cast<quint64>(std::sqrt(0x1p53));

__extension__ typedef __int128 Int128;

/// Whether \a mean is the double nearest to \a sum / \a count, the even one of two equally near.
bool isNearest(double mean, Int128 sum, Int128 count)
{
    int exponent = 0;
    std::frexp(mean, &exponent);
    const int shift = std::max(0, 54 - exponent); // mean's neighbours are multiples of 2^-shift
    const auto distance = [&](double candidate) {
        const Int128 times =
            static_cast<Int128>(std::ldexp(candidate, shift)) * count - sum * (Int128(1) << shift);
        return times < 0 ? -times : times;
    };
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const Int128 next = std::min(distance(std::nextafter(mean, infinity)),
                                 distance(std::nextafter(mean, -infinity)));
    quint64 bits = 0;
    std::memcpy(&bits, &mean, sizeof bits);
    return distance(mean) < next || (distance(mean) == next && bits % 2 == 0);
}

/// Whether \a mean or one of its two neighbours is that double.
bool isNearestToAnUlp(double mean, Int128 sum, Int128 count)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return isNearest(mean, sum, count) || isNearest(std::nextafter(mean, infinity), sum, count) ||
           isNearest(std::nextafter(mean, -infinity), sum, count);
}

template <typename N>
class IntegerSums : public testing::Test
{
};
using WideElementTypes = testing::Types<int, unsigned int, long long, unsigned long long>;
TYPED_TEST_SUITE(IntegerSums, WideElementTypes, ElementTypeName);

template <typename N>
class FloatingSeries : public testing::Test
{
};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(FloatingSeries, FloatingTypes, ElementTypeName);

} // namespace

TYPED_TEST(IntegerSums, ResultsAreRightForAnyCount)
{
    const auto all = sumsReferences(ElementTypeName::GetName<TypeParam>());
    ASSERT_EQ(all.size(), 400u);
    for (const SumsReference& reference : all) {
        SumsOf<TypeParam> sums;
        setSums(sums, reference.words);
        SCOPED_TRACE(testing::PrintToString(reference.words));
        EXPECT_EQ(sums.mean(), reference.mean.nearest);
        EXPECT_LE(ulpsBetween(sums.deviation(), reference.deviation.nearest), 1u);
    }
}

TYPED_TEST(IntegerSums, AddingTheLargestValuesCarriesIntoEveryWord)
{
    constexpr auto lowest = std::numeric_limits<TypeParam>::min();
    constexpr auto highest = std::numeric_limits<TypeParam>::max();
    SumsOf<TypeParam> sums;
    sums.add(lowest);
    const quint64 sumHigh = sums.sumHigh;
    // The words just before a carry.
    sums.squaresLow = sums.sumLow = ~quint64(0);
    sums.add(highest);
    EXPECT_EQ(sums.count, 2u);
    EXPECT_EQ(sums.sumHigh, sumHigh + 1);
    SumsOf<TypeParam> fresh;
    fresh.add(lowest);
    fresh.squaresLow = 0;
    fresh.add(highest);
    EXPECT_EQ(sums.squaresLow, fresh.squaresLow - 1);
}

TEST(Means, AreTheNearestDoublesForAnySumAndCount)
{
    Random random(21);
    for (int i = 0; i < repetitions(300000); ++i) {
        const Int128 count = 1 + random.below(1 << random.below(20));
        const Int128 power = Int128(1) << (34 + random.below(30));
        // The spacing of sums whose means are neighbouring doubles.
        const Int128 unit = std::max((power >> 52) * count, Int128(1));
        Int128 sum = power * count;
        sum += i % 4 == 0 ? random.next() % power * count : random.next() % (8 * unit) - 4 * unit;
        if (i % 3 == 0) // at a double or halfway between two
            sum = sum / unit * unit + (i % 2 == 0 ? unit / 2 : 0);
        if (i % 5 == 0)
            sum = -sum;
        const auto low = static_cast<quint64>(sum), high = static_cast<quint64>(sum >> 64);
        const auto values = static_cast<quint64>(count);
        for (const double mean :
             {meanOf<PlainProducts>(low, high, values), meanOf<FusedProducts>(low, high, values),
              anyMeanOf(low, high, values)})
            ASSERT_TRUE(isNearest(mean, sum, count))
                << high << " * 2^64 + " << low << ", " << values << " values";
    }
}

// A quotient of two doubles is rounded once.
TEST(Means, OfSmallSumsAreTheQuotientsOfDoubles)
{
    for (qint64 sum = -12; sum <= 12; ++sum) {
        for (quint64 count = 1; count <= 6000; ++count)
            ASSERT_EQ(meanOf(sum, count), double(sum) / double(count)) << sum << " / " << count;
    }
}

TEST(FastPaths, EndWhereNumbersNoLongerFitInAWordOrADouble)
{
    EXPECT_TRUE(areFew(1 << 26));
    EXPECT_FALSE(areFew((1 << 26) + 1));
    const qint64 lastExact = qint64(1) << 53;
    EXPECT_TRUE(isExactInDouble(lastExact));
    EXPECT_TRUE(isExactInDouble(-lastExact));
    EXPECT_FALSE(isExactInDouble(lastExact + 1));
    EXPECT_FALSE(isExactInDouble(-lastExact - 1));
    const quint64 squares = (quint64(1) << 41) - 1, count = (1 << 22) - 1;
    EXPECT_TRUE(isShortProduct({squares, 0}, count));
    EXPECT_FALSE(isShortProduct({squares + 1, 0}, count));
    EXPECT_FALSE(isShortProduct({squares, 0}, count + 1));
    EXPECT_FALSE(isShortProduct({0, 1}, 1));
    EXPECT_TRUE(hasExactSquare(lastExactSquare));
    EXPECT_FALSE(hasExactSquare(lastExactSquare + 1));
    const quint64 smallestUpperWord = 1 << 11;
    EXPECT_TRUE(hasCancelled(smallestUpperWord - 1));
    EXPECT_FALSE(hasCancelled(smallestUpperWord));
    EXPECT_FALSE(convertsByWord(smallestUpperWord - 1));
    EXPECT_TRUE(convertsByWord(smallestUpperWord));
    EXPECT_TRUE(convertsByWord((quint64(1) << 53) - 1));
    EXPECT_FALSE(convertsByWord(quint64(1) << 53));
    const auto areShort = [](quint64 sumHigh, quint64 squaresMiddle, quint64 squaresHigh) {
        LargeIntegerSums<long long> sums;
        sums.words() = std::make_tuple(1, 0, ~quint64(0), sumHigh, 0, squaresMiddle, squaresHigh);
        return sums.areShort();
    };
    const quint64 minusOne = ~quint64(0), large = quint64(1) << 37;
    EXPECT_TRUE(areShort(minusOne, large - 1, 0));
    EXPECT_FALSE(areShort(0, large - 1, 0));
    EXPECT_FALSE(areShort(minusOne, large, 0));
    EXPECT_FALSE(areShort(minusOne, large - 1, 1));
    EXPECT_FALSE(OrdinaryFloatingSums::isSmallPart(-0x1p-10, 1));
    EXPECT_TRUE(OrdinaryFloatingSums::isSmallPart(-0x1p-10, std::nextafter(-1, -2)));
}

TEST(Deviations, AreRightIfAProductOfSumAndCountExceedsAWord)
{
    SmallIntegerSums narrow, wide;
    for (int i = 0; i < 16; ++i)
        narrow.add(i % 2 == 0 ? 1 << 29 : -(1 << 29));
    EXPECT_EQ(narrow.deviation(), 1 << 29); // 2^62 * 16
    const quint64 count = (1 << 22) - 1, squares = (quint64(1) << 42) - 1;
    wide.words() = std::make_tuple(count, 0, 0, squares, 0);
    // The product is just below 2^64.
    EXPECT_EQ(wide.deviation(), std::sqrt(double(squares) / double(count)));
    LargeIntegerSums<long long> twoWords;
    for (long long value : {0LL, 1LL << 31, -(1LL << 31), 1LL << 31, -(1LL << 31)})
        twoWords.add(value);
    EXPECT_DOUBLE_EQ(twoWords.deviation(), 0x1p32 / std::sqrt(5)); // 2^64 * 5
    // Twice the squares, 2^128 + 2^80 + 2^41, less the square of 2^40 + 1: only the lowest word
    // borrows, from a word that is 0 by then.
    EXPECT_EQ(deviationOf((quint64(1) << 40) + 1, 0, quint64(1) << 40,
                          (quint64(1) << 63) + (1 << 15), 0, 2),
              0x1p63);
}

TEST(Deviations, OfVeryLongSeriesAreWithinOneUnitInTheLastPlace)
{
    Random random(9);
    for (int i = 0; i < repetitions(100000); ++i) {
        const quint64 count = lastExactSquare + 1 + (random.next() >> (24 + random.below(12)));
        const quint64 low = random.next(), high = random.next() >> random.below(64);
        const auto squares = static_cast<long double>(high) * 0x1p64L + low;
        const long double exact = std::sqrt(squares / static_cast<long double>(count));
        const double deviation = deviationOf(Words<2>{}, Words<3>{low, high, 0}, count);
        const double unit = std::nextafter(deviation, HUGE_VAL) - deviation;
        ASSERT_LE(std::fabs(static_cast<double>(deviation - exact)), unit)
            << high << " * 2^64 + " << low << ", " << count << " values";
    }
}

TEST(WideIntegers, ProductsAndSquaresAgreeWithLongMultiplication)
{
    Random random(1);
    for (int i = 0; i < repetitions(100000); ++i) {
        const quint64 a = random.next() >> random.below(64), b = random.next() >> random.below(64);
        // Bit by bit.
        Words<2> expected{};
        for (int bit = 0; bit < 64; ++bit) {
            if ((b >> bit & 1) != 0)
                add(expected, Words<2>{a << bit, bit == 0 ? 0 : a >> (64 - bit)});
        }
        ASSERT_EQ(product(a, b), expected);
        ASSERT_EQ(productByHalves(a, b), expected);
        ASSERT_EQ(square(a), product(a, a));
        const Words<2> wide = {a, b};
        Words<4> wideSquare{};
        add(wideSquare, product(a, a));
        for (int twice = 0; twice < 2; ++twice)
            add(wideSquare, product(a, b), 1);
        add(wideSquare, product(b, b), 2);
        ASSERT_EQ(squared(wide), wideSquare);
    }
}

TEST(WideIntegers, AdditionCarriesThroughAllWordsAndNegationUndoesIt)
{
    Words<4> number = {~quint64(0), ~quint64(0), ~quint64(0), 0};
    add(number, Words<1>{1});
    EXPECT_EQ(number, (Words<4>{0, 0, 0, 1}));
    add(number, negated(Words<4>{1, 0, 0, 0}));
    EXPECT_EQ(number, (Words<4>{~quint64(0), ~quint64(0), ~quint64(0), 0}));
    add(number, Words<2>{~quint64(0), ~quint64(0)}, 1);
    EXPECT_EQ(number, (Words<4>{~quint64(0), ~quint64(0) - 1, ~quint64(0), 1}));
}

// Numbers of every length, often halfway between two doubles or next to that point.
TEST(WideIntegers, ConversionToOneDoubleRoundsOnceAndToTwoDoublesKeeps106Bits)
{
    Random random(2);
    for (int i = 0; i < repetitions(300000); ++i) {
        const int length = 1 + random.below(127);
        const Int128 any = (Int128(random.next() >> 1) << 64 | random.next()) >> (127 - length);
        const Int128 half = Int128(1) << std::max(0, length - 54);
        const Int128 number = i % 2 == 0 ? any : (any / half | 1) * half + random.below(3) - 1;
        const auto low = static_cast<quint64>(number), high = static_cast<quint64>(number >> 64);
        SCOPED_TRACE(testing::PrintToString(Words<2>{low, high}));
        ASSERT_TRUE(number == 0 || isNearest(toDouble({low, high}), number, 1));
        const DoubleDouble doubles = toDoubles(Words<2>{low, high});
        const Int128 rest = number - static_cast<Int128>(doubles.high);
        const Int128 lost = rest - static_cast<Int128>(doubles.low);
        ASSERT_TRUE(rest >= 0 && rest < 2 * half);
        ASSERT_LE(std::fabs(static_cast<double>(lost)), static_cast<double>(number) * 0x1p-106);
        const int shift = 1 + random.below(63); // into a third word
        const Words<3> longer = {low << shift, static_cast<quint64>(number >> (64 - shift)),
                                 high >> (64 - shift)};
        ASSERT_EQ(toDoubles(longer).high, std::ldexp(doubles.high, shift));
        ASSERT_EQ(toDoubles(longer).low, std::ldexp(doubles.low, shift));
    }
    EXPECT_EQ(toDoubles(Words<2>{0, 0}).high, 0);
    EXPECT_EQ(toDoubles(Words<2>{0, 0}).low, 0);
}

TEST(WideIntegers, AreRoundedOnceIfTheUpperWordAloneIsHalfwayBetweenTwoDoubles)
{
    const quint64 halfWay = (quint64(1) << 53) + 1;
    EXPECT_EQ(toDouble({1, halfWay}), 0x1p117 + 0x1p65);
    EXPECT_EQ(toDouble({0, halfWay}), 0x1p117); // to the even one
}

TEST(ErrorFreeTransformations, LoseNothing)
{
    Random random(3);
    for (int i = 0; i < repetitions(100000); ++i) {
        // Whole numbers of 53 bits, whose sums and products fit in words.
        const quint64 a = random.next() >> 11, b = random.next() >> 11;
        const double x = static_cast<double>(a), y = static_cast<double>(b);
        const DoubleDouble exact = toDoubles(product(a, b));
        for (const DoubleDouble result :
             {twoProduct<PlainProducts>(x, y), twoProduct<FusedProducts>(x, y)}) {
            ASSERT_EQ(result.high, exact.high + exact.low);
            ASSERT_EQ((exact.high - result.high) + exact.low, result.low);
        }
        ASSERT_EQ(twoSquare<PlainProducts>(x).low, std::fma(x, x, -x * x));
        ASSERT_EQ(PlainProducts::errorOfLargeSquare(x, x * x), std::fma(x, x, -x * x));
        const double count = static_cast<double>(1 + (random.next() >> (12 + random.below(52))));
        ASSERT_EQ(PlainProducts::remainder(x, x / count, count), std::fma(-(x / count), count, x));
        const DoubleDouble difference = twoDifference(x, y * 0x1p-20);
        ASSERT_EQ(difference.low, twoSum(x, -y * 0x1p-20).low);
        const double greater = std::max(x, y), smaller = std::min(x, y);
        ASSERT_EQ(quickTwoDifference(greater, smaller * 0x1p-20).low,
                  twoDifference(greater, smaller * 0x1p-20).low);
        const DoubleDouble sum = twoSum(x, y * 0x1p-20);
        ASSERT_EQ((x - sum.high) + y * 0x1p-20, sum.low);
    }
}

TYPED_TEST(FloatingSeries, HaveMeansWithinOneUnitInTheLastPlaceEvenIfValuesCancel)
{
    using N = TypeParam;
    Random random(11);
    for (int i = 0; i < repetitions(300000); ++i) {
        QList<N> values; // whole numbers, so that 128 bits hold their sum
        Int128 sum = 0;
        const int reach = random.below(60);
        for (int length = 1 + random.below(12); length > 0; --length) {
            const quint64 bits = random.next() >> random.below(64);
            N value = std::ldexp(static_cast<N>(bits >> 11), random.below(reach + 1));
            if (!values.isEmpty() && random.below(2) == 0)
                value = values.at(random.below(static_cast<int>(values.size())));
            if (random.below(2) == 0)
                value = -value;
            values.append(value);
            sum += static_cast<Int128>(value);
        }
        FloatingSums sums;
        for (N value : values)
            sums.add(static_cast<double>(value));
        const auto isRight = [&](double mean) {
            return sum == 0 ? mean == 0 : isNearestToAnUlp(mean, sum, values.size());
        };
        ASSERT_TRUE(isRight(sums.mean())) << i << ": " << testing::PrintToString(values);
        ASSERT_TRUE(isRight(SimpleStatisticCalculator<N>::getAverage(values)))
            << i << ": " << testing::PrintToString(values);
    }
}

TYPED_TEST(FloatingSeries, HaveDeviationsWithinOneUnitInTheLastPlace)
{
    using N = TypeParam;
    Random random(12);
    for (int i = 0; i < repetitions(300000); ++i) {
        QList<N> values; // whole numbers of 51 bits, for the same reason
        Int128 sum = 0, squares = 0;
        const quint64 base = random.next() >> (14 + random.below(50));
        const int bits = random.below(50);
        for (int length = 1 + random.below(12); length > 0; --length) {
            N value = static_cast<N>(base + (random.next() >> (14 + bits)));
            if (random.below(4) == 0)
                value = -value;
            values.append(value);
            sum += static_cast<Int128>(value);
            squares += static_cast<Int128>(value) * static_cast<Int128>(value);
        }
        const auto variance = static_cast<long double>(values.size() * squares - sum * sum);
        const auto exact = static_cast<double>(std::sqrt(variance) / values.size());
        FloatingSums sums;
        for (N value : values)
            sums.add(static_cast<double>(value));
        const double list = SimpleStatisticCalculator<N>::getDeviation(values);
        for (const double deviation : {sums.deviation(), list})
            ASSERT_LE(ulpsBetween(deviation, exact), 1U)
                << i << ": " << testing::PrintToString(values);
    }
}

TEST(FloatingSums, KeepSmallValuesHiddenByLargerOnesUntilThoseCancel)
{
    FloatingSums sums;
    for (double value : {1e200, 1.0, 1e-200, 1e100, -1e200, -1e100, -1.0})
        sums.add(value);
    EXPECT_EQ(sums.mean(), 1e-200 / 7);
}

// Ones that two doubles cannot hold together with larger values, dropped by a distance and by their
// sum.
TEST(FloatingSums, KeepAOneBelowLargerValues)
{
    FloatingSums doubles, floats, floatDistances;
    for (double value : {-1.0, 0x1p120, -2.0, 0x1p60, -0x1p60, -0x1p120})
        doubles.add(value);
    EXPECT_EQ(doubles.mean(), -3.0 / 6);
    for (float value : {0.0F, 0x1p120F, 0x1p60F, 1.0F, -0x1p60F, -0x1p120F})
        floats.add(static_cast<double>(value));
    EXPECT_EQ(floats.mean(), 1.0 / 6);
    for (float value : {-1.0F, 0x1p60F, -0x1p60F})
        floatDistances.add(static_cast<double>(value));
    EXPECT_EQ(floatDistances.mean(), -1.0 / 3);
}

// A check for 0 must not drop the only bit of a 2.
TEST(FloatingSums, KeepATwoBelowLargerValues)
{
    FloatingSums sums;
    for (double value : {0.0, 0x1p120, 0x1p60, 2.0, -0x1p60, -0x1p120})
        sums.add(value);
    EXPECT_EQ(sums.mean(), 2.0 / 6);
}

TEST(FloatingSums, KeepTheRestOfTheFirstValueAfterOthersCancelIt)
{
    const double tiny = 7 * 0x1p-104;
    for (int pairs = 1; pairs <= 100; ++pairs) {
        const double first = 1 + pairs * 0x1p-52;
        FloatingSums withTiny, withHuge;
        for (int i = 0; i < pairs; ++i) {
            withTiny.add(first);
            withTiny.add(-first);
        }
        withTiny.add(tiny);
        EXPECT_EQ(withTiny.mean(), tiny / (2 * pairs + 1)) << pairs;
        for (double value : {first, 0x1p80, -0x1p80})
            withHuge.add(value);
        for (int i = 1; i < pairs; ++i) {
            withHuge.add(-first);
            withHuge.add(first);
        }
        withHuge.add(-first);
        EXPECT_EQ(withHuge.mean(), 0) << pairs;
    }
}

// Nearly all values take the fast path; the others take the general one.
TEST(FloatingSums, OfZerosAndOrdinaryValuesStayOrdinary)
{
    FloatingSums zeros, large;
    zeros.add(0.0);
    EXPECT_TRUE(zeros.isOrdinary());
    OrdinaryFloatingSums& sums = zeros;
    const auto isAdded = [&](double value) { return sums.add<PlainProducts>(value, false); };
    EXPECT_TRUE(isAdded(0.0));
    EXPECT_FALSE(isAdded(0x1p-301));
    EXPECT_TRUE(isAdded(0x1p-300));
    EXPECT_TRUE(isAdded(1.0));
    EXPECT_EQ(sums.count, 4);
    sums = OrdinaryFloatingSums();
    EXPECT_FALSE(isAdded(0x1p450));
    EXPECT_TRUE(isAdded(0x1.fp449));
    large.add(0x1p450);
    EXPECT_FALSE(large.isOrdinary());
}

TEST(FloatingSums, ScaleValuesWhoseSquaresAreOutOfRange)
{
    for (double scale : {0x1p-1074, 0x1p-600, 0x1p-301, 0x1p-299, 1.0, 0x1p449, 0x1p451, 0x1p899,
                         0x1p901, 0x1p1020}) {
        FloatingSums sums;
        for (double value : {8.0, 12.0})
            sums.add(value * scale);
        EXPECT_EQ(sums.mean(), 10 * scale);
        EXPECT_EQ(sums.deviation(), 2 * scale);
    }
}

TEST(FloatingSums, KeepTheSumsWhenALargerValueChangesTheScale)
{
    FloatingSums sums;
    for (double value : {1e-200, 1e100, 1e200, 1e300})
        sums.add(value);
    EXPECT_EQ(sums.mean(), (1e300 + 1e200) / 4);
    EXPECT_LE(ulpsBetween(sums.deviation(), 1e300 * std::sqrt(3.0) / 4), 1u);
}

TEST(FloatingSums, ChangeTheScaleOfASeriesWhoseSumIsZero)
{
    FloatingSums sums;
    for (double value : {0.0, 1.0, -1.0, 1e300})
        sums.add(value);
    EXPECT_EQ(sums.mean(), 2.5e299);
    EXPECT_LE(ulpsBetween(sums.deviation(), 1e300 * std::sqrt(3.0) / 4), 1u);
}

TEST(FloatingSums, HoldEighteenDoublesWithoutACommonBit)
{
    FloatingSums sums;
    const auto value = [](int i) { return std::ldexp(1.0, 432 - 54 * i); }; // one of them is 1
    for (int twice = 0; twice < 2; ++twice) {
        for (int i = 0; i < 18; ++i)
            sums.add(value(i));
    }
    for (int i = 0; i < 17; ++i)
        sums.add(-2 * value(i));
    EXPECT_EQ(sums.mean(), 2 * value(17) / 53);
}

TEST(FloatingSums, KeepTheLowestBitsWhenALargerValueChangesTheScaleAndCancels)
{
    FloatingSums sums;
    for (double value : {0x1p440, 1.0, 0x1p-100, 0x1p-200, 0x1p950, -0x1p950, -0x1p440, -1.0})
        sums.add(value);
    EXPECT_EQ(sums.mean(), (0x1p-100 + 0x1p-200) / 8);
    sums.add(-0x1p-100);
    EXPECT_EQ(sums.mean(), 0x1p-200 / 9);
}

TEST(FloatingSums, ZerosBeforeTinyValuesCostNoDigits)
{
    for (int zeros = 1; zeros <= 3; ++zeros) {
        FloatingSums sums;
        for (int i = 0; i < zeros; ++i)
            sums.add(0.0);
        sums.add(0x1p-700);
        const double n = zeros + 1;
        EXPECT_EQ(sums.mean(), 0x1p-700 / n);
        EXPECT_LE(ulpsBetween(sums.deviation(), 0x1p-700 * std::sqrt(n - 1) / n), 1u);
    }
}

TEST(FloatingSums, AZeroAfterTinyValuesThatCancelCostsNoDigits)
{
    const double tiny = 0x1p-601;
    FloatingSums sums;
    for (double value : {0.0, tiny, -tiny, tiny, -tiny, 0.0})
        sums.add(value);
    EXPECT_EQ(sums.mean(), 0);
    EXPECT_LE(ulpsBetween(sums.deviation(), tiny * std::sqrt(4.0 / 6)), 1u);
}
