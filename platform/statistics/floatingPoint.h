#pragma once

#include <QtCore/QtGlobal>

#include <cfloat>
#include <cmath>
#include <cstring>

#if !defined(FLT_EVAL_METHOD) || FLT_EVAL_METHOD != 0
#error "The statistics library requires that every operation on doubles is rounded to double. \
On 32-bit x86, build it with -msse2 -mfpmath=sse."
#endif
#if defined(__FAST_MATH__)
#error "The statistics library requires strict IEEE arithmetic. Build it without -ffast-math."
#endif

/// Returns the bits of \a from as a value of another type of the same size.
template <typename To, typename From>
Q_ALWAYS_INLINE To bitCast(From from)
{
    static_assert(sizeof(To) == sizeof(From));
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

// Error-free transformations of doubles (Knuth, Dekker): the rounded result and its rounding error,
// whose sum is exact. They use neither fused multiply-add nor comparisons, so they return the same
// bits on every machine and take the same time for all values.

/// The unevaluated sum of two doubles.
struct DoubleDouble {
    double high;
    double low;
};

inline DoubleDouble twoSum(double a, double b)
{
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

inline DoubleDouble twoDifference(double a, double b)
{
    return twoSum(a, -b);
}

/// The same as twoSum() if the magnitude of \a a is not smaller than that of \a b.
inline DoubleDouble quickTwoSum(double a, double b)
{
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

/// Returns \a a as the sum of two doubles of 26 and 27 bits. Masking takes half as many steps as
/// the usual multiplication and cannot overflow.
inline DoubleDouble halves(double a)
{
    const double high = bitCast<double>(bitCast<quint64>(a) & ~quint64(0x7ffffff));
    return {high, a - high};
}

/// Exact except for the 107th bit if the product lies between 2^-960 and 2^1020, or is 0.
inline DoubleDouble twoProduct(double a, double b)
{
    const double product = a * b;
    const DoubleDouble x = halves(a), y = halves(b);
    return {product,
            ((x.high * y.high - product) + x.high * y.low + x.low * y.high) + x.low * y.low};
}

inline DoubleDouble twoSquare(double a)
{
    const double square = a * a;
    const DoubleDouble x = halves(a);
    return {square, ((x.high * x.high - square) + 2 * x.high * x.low) + x.low * x.low};
}

/// Whether \a count has at most 26 bits.
inline bool isShortCount(double count)
{
    return count <= 1 << 26;
}

/// The product of \a a and an integer \a count, exact up to 2^26. Nearly all counts are so short,
/// which halves the work.
inline DoubleDouble timesCount(double a, double count)
{
    if (!isShortCount(count))
        return twoProduct(a, count);
    const double product = a * count;
    const DoubleDouble x = halves(a);
    return {product, (x.high * count - product) + x.low * count};
}

/// Returns (\a a.high + \a a.low) / \a count as two doubles; \a a.low is at most about an ulp of
/// \a a.high. Multiplies by the reciprocal and corrects the result by the remainder: the processor
/// can compute the reciprocal before the sum is known.
inline DoubleDouble quotient(DoubleDouble a, double count)
{
    const double reciprocal = 1 / count;
    const double estimate = a.high * reciprocal;
    const DoubleDouble back = timesCount(estimate, count);
    return {estimate, (((a.high - back.high) - back.low) + a.low) * reciprocal};
}

/// Returns 2^\a exponent, for exponents from -1022 to 1023.
constexpr int exponentBias = 1023;
inline double powerOfTwo(int exponent)
{
    return bitCast<double>(quint64(exponentBias + exponent) << 52);
}
