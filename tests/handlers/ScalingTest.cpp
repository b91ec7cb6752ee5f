#include <records.h>
#include <variants.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

namespace
{

template <typename N, typename T = CANopenObjectValue>
QVariant scaled(const QVariant& raw, double factor, double offset)
{
    T record = rawRecord<T>(raw);
    GenericValueHandler<N, T>::setTypeBasedScaledValue(record, factor, offset);
    EXPECT_EQ(record.rawValue.userType(), raw.userType());
    return record.scaledValue;
}

/// \a x truncated toward zero and reduced modulo 2^b, where b is the number of bits in N. Computed
/// from the bits of the double: its 53-bit mantissa is shifted into place in a 64-bit word.
template <typename N>
N modelNarrowed(double x)
{
    if constexpr (std::is_floating_point_v<N>) {
        return static_cast<N>(x);
    } else {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &x, sizeof bits);
        const auto exponent = static_cast<int>((bits >> 52) & 0x7ff) - 1075;
        const std::uint64_t mantissa = (bits & 0xfffffffffffffULL) | 0x10000000000000ULL;
        std::uint64_t whole = 0;
        if (exponent == 0x7ff - 1075)
            whole = 0; // infinite or NaN
        else if (exponent >= 0)
            whole = exponent < 64 ? mantissa << exponent : 0;
        else
            whole = exponent > -64 ? mantissa >> -exponent : 0;
        if ((bits >> 63) != 0)
            whole = ~whole + 1;
        std::make_unsigned_t<N> low = 0;
        for (unsigned bit = 0; bit < 8 * sizeof(N); ++bit)
            low = static_cast<std::make_unsigned_t<N>>(low | (whole & (std::uint64_t(1) << bit)));
        N result{};
        std::memcpy(&result, &low, sizeof result);
        return result;
    }
}

template <typename N>
N modelScaled(N raw, double factor, double offset)
{
    volatile double product = static_cast<double>(raw) * factor;
    volatile double sum = static_cast<double>(modelNarrowed<N>(product)) + offset;
    return modelNarrowed<N>(sum);
}

/// Random numbers of every magnitude, including the limits of N.
template <typename N>
N randomElement(std::mt19937_64& random)
{
    using Limits = std::numeric_limits<N>;
    const N edges[] = {N(0), N(1), N(-1), Limits::min(), Limits::max(), Limits::lowest()};
    if (random() % 16 == 0)
        return edges[random() % 6];
    if constexpr (std::is_floating_point_v<N>) {
        const double mantissa = std::uniform_real_distribution<double>(-1, 1)(random);
        return static_cast<N>(std::ldexp(mantissa, static_cast<int>(random() % 80) - 20));
    } else {
        return static_cast<N>(random() >> (random() % 64));
    }
}

double randomScale(std::mt19937_64& random)
{
    const double plain[] = {1, 0, -1, 0.5, 0.1, 2, 256, 1e-3, 0.125, -40};
    if (random() % 2 == 0)
        return plain[random() % 10];
    const double mantissa = std::uniform_real_distribution<double>(-1, 1)(random);
    return std::ldexp(mantissa, static_cast<int>(random() % 70) - 10);
}

template <typename Case>
class Scaling : public testing::Test
{
};
TYPED_TEST_SUITE(Scaling, HandlerCases);

} // namespace

TEST(ElementTypes, AreNumbersOfAtMostEightBytes)
{
    EXPECT_TRUE(isElementType<double>);
    EXPECT_FALSE(isElementType<long double>);
    EXPECT_FALSE(isElementType<bool>);
    EXPECT_FALSE(isElementType<QVariant>);
}

TEST(ScalingEdges, SignedCharProductWrapsBeforeTheOffsetIsAdded)
{
    EXPECT_EQ(scaled<signed char>(ownVariant<signed char>(100), 2, 0), QVariant(-56));
    EXPECT_EQ(scaled<signed char>(ownVariant<signed char>(100), 2, 0).userType(), QMetaType::Int);
    // If the offset were added before wrapping, 200.5 would wrap to -56.
    EXPECT_EQ(scaled<signed char>(ownVariant<signed char>(100), 2, 0.5), QVariant(-55));
}

TEST(ScalingEdges, NegativeResultsWrapInUnsignedTypes)
{
    EXPECT_EQ(scaled<unsigned char>(ownVariant<unsigned char>(10), -1, 0), QVariant(246));
    EXPECT_EQ(scaled<unsigned char>(ownVariant<unsigned char>(1), -1, 0), QVariant(255));
    EXPECT_EQ(scaled<unsigned short>(ownVariant<unsigned short>(1), -1, 0), QVariant(65535));
    EXPECT_EQ(scaled<unsigned int>(ownVariant(1U), -1, 0), QVariant(4294967295U));
    EXPECT_EQ(scaled<unsigned long long>(ownVariant(2048ULL), -1, 0),
              QVariant(18446744073709549568ULL));
}

TEST(ScalingEdges, IntTruncatesTheProductThenTheSum)
{
    EXPECT_EQ(scaled<int>(7, 0.5, 0.25), QVariant(3));
    EXPECT_EQ(scaled<int>(3, 0.5, 0.5), QVariant(1)); // 2 if only the sum were truncated
}

TEST(ScalingEdges, IntTruncatesTowardZero)
{
    EXPECT_EQ(scaled<int>(-7, 0.5, 0), QVariant(-3));
}

TEST(ScalingEdges, AStringThatIsNotANumberScalesToTheOffset)
{
    EXPECT_EQ(scaled<double>(QStringLiteral("not a number"), 3, 1.25), QVariant(1.25));
}

TEST(ScalingEdges, DoubleRoundsTheProductBeforeTheOffsetIsAdded)
{
    // (1 + 2^-30)^2 = 1 + 2^-29 + 2^-60; the last term is rounded away before 1 is subtracted.
    const double x = 1 + std::ldexp(1.0, -30);
    EXPECT_EQ(scaled<double>(x, x, -1), QVariant(std::ldexp(1.0, -29)));
}

TEST(ScalingEdges, FloatRoundsProductAndSumToFloat)
{
    // 16777217 is not a float: the product is rounded to 16777216 before 1 is added, and so is the
    // sum.
    const QVariant result = scaled<float>(ownVariant(1.0F), 16777217.0, 1.0);
    EXPECT_EQ(result, QVariant(16777216.0F));
    EXPECT_EQ(result.userType(), QMetaType::Float);
    EXPECT_EQ(scaled<float>(ownVariant(3e38F), 10, 0).toFloat(),
              std::numeric_limits<float>::infinity());
}

TEST(ScalingEdges, Unsigned64BitNumbersKeepTheirMagnitude)
{
    EXPECT_EQ(scaled<unsigned long long>(ownVariant(1ULL << 63), 1, 0), QVariant(1ULL << 63));
    EXPECT_EQ(scaled<unsigned long long>(ownVariant(3ULL << 62), 0.5, 0), QVariant(3ULL << 61));
    // The product wraps to 2^64 - 1, which is 2^64 as a double; the sum wraps again.
    EXPECT_EQ(scaled<unsigned long long>(ownVariant(1ULL), -1, 0), QVariant(0ULL));
    EXPECT_EQ(scaled<unsigned long long>(ownVariant(1ULL), -1, 4096), QVariant(4096ULL));
}

TEST(ScalingEdges, OutOfRangeResultsWrapInEveryIntegerType)
{
    EXPECT_EQ(scaled<int>(2147483647, 2, 0), QVariant(-2));
    EXPECT_EQ(scaled<long long>(ownVariant(1LL << 62), 2, 0),
              QVariant(std::numeric_limits<qlonglong>::min()));
    EXPECT_EQ(scaled<long long>(ownVariant(1LL << 62), 8, 5), QVariant(5LL));
    EXPECT_EQ(scaled<short>(ownVariant<short>(32767), 2, 0.5), QVariant(-1)); // -2 + 0.5
    EXPECT_EQ(scaled<unsigned char>(ownVariant<unsigned char>(200), 1, 1e10),
              QVariant((200 + 10000000000LL) % 256));
}

TEST(ScalingEdges, TheRawValueIsConvertedToTheElementTypeFirst)
{
    // 300 becomes 44 as an unsigned char before it is scaled.
    EXPECT_EQ(scaled<unsigned char>(300, 1, 0), QVariant(44));
    EXPECT_EQ(scaled<int>(2.5, 1, 0), QVariant(3)); // Qt rounds a double to int
}

TYPED_TEST(Scaling, ResultIsRawTimesFactorPlusOffset)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    EXPECT_EQ((scaled<N, T>(ownVariant<N>(10), 3, 7).template value<N>()), N(37));
    EXPECT_EQ((scaled<N, T>(ownVariant<N>(10), 1, 0).template value<N>()), N(10));
    EXPECT_EQ((scaled<N, T>(ownVariant<N>(10), 0, 7).template value<N>()), N(7));
}

TYPED_TEST(Scaling, ResultIsStoredInTheVariantTypeOfTheElementType)
{
    using N = typename TypeParam::N;
    const QVariant result = scaled<N, typename TypeParam::T>(ownVariant<N>(100), 1, 0);
    EXPECT_EQ(result.userType(), storedTypeIdOf<N>);
}

TYPED_TEST(Scaling, InvalidRecordKeepsItsScaledValue)
{
    using T = typename TypeParam::T;
    T record = rawRecord<T>(10);
    record.isInvalid = true;
    GenericValueHandler<typename TypeParam::N, T>::setTypeBasedScaledValue(record, 2, 1);
    EXPECT_FALSE(record.scaledValue.isValid());
    record.scaledValue = QStringLiteral("kept");
    GenericValueHandler<typename TypeParam::N, T>::setTypeBasedScaledValue(record, 2, 1);
    EXPECT_EQ(record.scaledValue, QVariant(QStringLiteral("kept")));
}

TYPED_TEST(Scaling, ReplacesAScaledValueOfAnyType)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    const QVariant shared = QString(300, 'x');
    const QVariant previous[] = {
        QVariant(),          nullVariant<int>(),   nullVariant<uint>(), nullVariant<double>(),
        ownVariant<char>(9), ownVariant<N>(99),    QVariant(-1.5),      QVariant(-1),
        QVariant(1.5F),      QVariant(1ULL << 40), QVariant(true),      shared};
    for (const QVariant& old : previous) {
        T record;
        record.rawValue = 7;
        record.scaledValue = old;
        GenericValueHandler<N, T>::setTypeBasedScaledValue(record, 2, 1);
        EXPECT_EQ(record.scaledValue.userType(), storedTypeIdOf<N>) << old.typeName();
        EXPECT_FALSE(record.scaledValue.isNull()) << old.typeName();
        EXPECT_EQ(record.scaledValue.toDouble(), 15) << old.typeName();
    }
    EXPECT_EQ(shared.toString(), QString(300, 'x'));
}

TYPED_TEST(Scaling, OnlyTheScaledValueChanges)
{
    using T = typename TypeParam::T;
    T record = rawRecord<T>(QStringLiteral("12"));
    record.valueTag = 5;
    record.auxCode1 = 6;
    record.auxCode2 = 7;
    GenericValueHandler<typename TypeParam::N, T>::setTypeBasedScaledValue(record, 2, 1);
    EXPECT_EQ(record.scaledValue.toInt(), 25);
    EXPECT_EQ(record.rawValue.userType(), QMetaType::QString);
    EXPECT_EQ(record.rawValue, QVariant(QStringLiteral("12")));
    EXPECT_EQ(record.valueTag, 5);
    EXPECT_EQ(record.auxCode1, 6);
    EXPECT_EQ(record.auxCode2, 7);
    EXPECT_FALSE(record.isInvalid);
}

TYPED_TEST(Scaling, ARawValueThatDoesNotConvertScalesLikeZero)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    for (const QVariant& raw : {QVariant(), QVariant(QStringLiteral("x")),
                                QVariant(QVariantList{1}), QVariant(QString())})
        EXPECT_EQ((scaled<N, T>(raw, 3, 9.75)), QVariant(N(9.75))) << raw.typeName();
}

TYPED_TEST(Scaling, NonFiniteProductsAndSumsBecomeZeroInIntegerTypes)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    const double infinity = std::numeric_limits<double>::infinity();
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    if constexpr (std::is_integral_v<N>) {
        EXPECT_EQ((scaled<N, T>(ownVariant<N>(1), infinity, 5)), QVariant(N(5)));
        EXPECT_EQ((scaled<N, T>(ownVariant<N>(1), -infinity, 5)), QVariant(N(5)));
        EXPECT_EQ((scaled<N, T>(ownVariant<N>(0), infinity, 5)), QVariant(N(5))); // 0 x infinity
        EXPECT_EQ((scaled<N, T>(ownVariant<N>(1), notANumber, 5)), QVariant(N(5)));
        EXPECT_EQ((scaled<N, T>(ownVariant<N>(1), 1, notANumber)), QVariant(N(0)));
        EXPECT_EQ((scaled<N, T>(ownVariant<N>(1), 1, infinity)), QVariant(N(0)));
    } else {
        EXPECT_EQ((scaled<N, T>(ownVariant<N>(1), infinity, 5).toDouble()), infinity);
        EXPECT_TRUE(std::isnan((scaled<N, T>(ownVariant<N>(1), 1, notANumber).toDouble())));
    }
}

TYPED_TEST(Scaling, AgreesWithAnIndependentModelOnRandomCases)
{
    using N = typename TypeParam::N;
    std::mt19937_64 random(20260131);
    for (int i = 0; i < 100000; ++i) {
        const N raw = randomElement<N>(random);
        const double factor = randomScale(random);
        const double offset = randomScale(random);
        const QVariant result = scaled<N, typename TypeParam::T>(ownVariant(raw), factor, offset);
        const N expected = modelScaled<N>(raw, factor, offset);
        const bool bothNaN =
            std::is_floating_point_v<N> && expected != expected && std::isnan(result.toDouble());
        ASSERT_TRUE(bothNaN || result.template value<N>() == expected)
            << "case " << i << ": raw " << +raw << " factor " << factor << " offset " << offset
            << " gave " << result.toString().toStdString() << ", not " << +expected;
    }
}

TEST(ScalingEdges, AnIdentityScalingRoundsNumbersBeyond53BitsAndWrapsTheGreatest)
{
    constexpr long long odd = (1LL << 53) + 1;
    EXPECT_EQ(scaled<long long>(odd, 1, 0), QVariant(odd - 1));
    constexpr long long highest = std::numeric_limits<long long>::max();
    constexpr long long lowest = std::numeric_limits<long long>::min();
    EXPECT_EQ(scaled<long long>(highest - 512, 1, 0), QVariant(highest - 1023)); // 2^63 - 1024
    EXPECT_EQ(scaled<long long>(highest - 511, 1, 0), QVariant(lowest));
    EXPECT_EQ(scaled<long long>(highest, 1, 0), QVariant(lowest));
    EXPECT_EQ(scaled<long long>(lowest, 1, 0), QVariant(lowest));
    constexpr unsigned long long greatest = std::numeric_limits<unsigned long long>::max();
    EXPECT_EQ(scaled<unsigned long long>(greatest - 1024, 1, 0), QVariant(greatest - 2047));
    EXPECT_EQ(scaled<unsigned long long>(greatest - 1023, 1, 0), QVariant(0ULL));
    EXPECT_EQ(scaled<unsigned long long>(greatest, 1, 0), QVariant(0ULL));
}
