#pragma once

#include <QtCore/QtGlobal>

#include <cfloat>
#include <cmath>
#include <cstddef>
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

/// Some of the words of a state, by their positions.
struct WordRange {
    std::size_t begin;
    std::size_t end;

    constexpr std::size_t size() const { return end - begin; }
};

// Error-free transformations of doubles (Knuth, Dekker): the rounded result and its rounding error,
// whose sum is exact. They take the same time for all values.

/// The unevaluated sum of two doubles.
struct DoubleDouble {
    double high;
    double low;
};

Q_ALWAYS_INLINE DoubleDouble twoSum(double a, double b)
{
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

Q_ALWAYS_INLINE DoubleDouble twoDifference(double a, double b)
{
    const double difference = a - b;
    const double part = difference - a;
    return {difference, (a - (difference - part)) - (b + part)};
}

/// The same as twoSum() if the magnitude of \a a is not smaller than that of \a b.
Q_ALWAYS_INLINE DoubleDouble quickTwoSum(double a, double b)
{
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

Q_ALWAYS_INLINE DoubleDouble quickTwoDifference(double a, double b)
{
    const double difference = a - b;
    return {difference, -(b + (difference - a))};
}

/// Returns \a a as the sum of two doubles of 26 bits, the second of which may be negative. Rounding
/// the bits takes fewer steps than the usual multiplication and cannot overflow.
Q_ALWAYS_INLINE DoubleDouble halves(double a)
{
    constexpr quint64 half = 1 << 26, lower = 2 * half - 1;
    const double high = bitCast<double>((bitCast<quint64>(a) + half) & ~lower);
    return {high, a - high};
}

/// Below this limit, the rounding error of a square may itself be rounded.
constexpr double leastExactSquare = 0x1p-900;

/// The rounding errors of products, by the operations that every processor has. Wherever an error
/// is a double, all terms are exact, so the results are those of FusedProducts, bit for bit.
struct PlainProducts {
    /// Returns \a a * \a b - \a product, where \a product is \a a * \a b rounded: 0, or between
    /// 2^-960 and 2^1020. If one factor is an integer, the product may also be smaller.
    static Q_ALWAYS_INLINE double error(double a, double b, double product)
    {
        const DoubleDouble x = halves(a), y = halves(b);
        return ((x.high * y.high - product) + x.high * y.low + x.low * y.high) + x.low * y.low;
    }

    /// The same for a square of at least leastExactSquare.
    static Q_ALWAYS_INLINE double errorOfLargeSquare(double a, double square)
    {
        const DoubleDouble x = halves(a);
        return ((x.high * x.high - square) + 2 * x.high * x.low) + x.low * x.low;
    }

    /// The same for any square.
    static Q_ALWAYS_INLINE double errorOfSquare(double a, double square)
    {
        if (Q_UNLIKELY(square < leastExactSquare))
            return std::fma(a, a, -square);
        return errorOfLargeSquare(a, square);
    }

    /// Returns the remainder of a division, \a a - \a quotient * \a count, which is exact.
    static Q_ALWAYS_INLINE double remainder(double a, double quotient, double count)
    {
        const double product = quotient * count;
        return (a - product) - error(quotient, count, product);
    }
};

/// The same by fused multiply-add, for processors that have it.
struct FusedProducts {
    static Q_ALWAYS_INLINE double error(double a, double b, double product)
    {
        return std::fma(a, b, -product);
    }

    static Q_ALWAYS_INLINE double errorOfLargeSquare(double a, double square)
    {
        return std::fma(a, a, -square);
    }

    static Q_ALWAYS_INLINE double errorOfSquare(double a, double square)
    {
        return std::fma(a, a, -square);
    }

    static Q_ALWAYS_INLINE double remainder(double a, double quotient, double count)
    {
        return std::fma(-quotient, count, a);
    }
};

template <typename Products>
Q_ALWAYS_INLINE DoubleDouble twoProduct(double a, double b)
{
    const double product = a * b;
    return {product, Products::error(a, b, product)};
}

template <typename Products>
Q_ALWAYS_INLINE DoubleDouble twoSquare(double a)
{
    const double square = a * a;
    return {square, Products::errorOfSquare(a, square)};
}

/// Returns 2^\a exponent, for exponents from -1022 to 1023.
constexpr int exponentBias = 1023;
inline double powerOfTwo(int exponent)
{
    return bitCast<double>(quint64(exponentBias + exponent) << 52);
}
