#pragma once

#include "wideIntegers.h"

#include <algorithm>

// Mean and deviation of integers from their exact sums. The count is at least 1.

/// Up to this magnitude, every integer is a double.
constexpr qint64 exactInDouble = qint64(1) << 53;

/// Returns how far \a sum / \a count lies above \a mantissa * 2^\a exponent, in units of
/// 2^min(\a exponent, 0) / \a count. Needs the last word of the sum only: the difference is known
/// to be small, so it is correct modulo 2^64.
inline qint64 quotientResidual(quint64 sum, quint64 count, quint64 mantissa, int exponent)
{
    const int up = std::max(exponent, 0), down = std::max(-exponent, 0);
    return static_cast<qint64>((sum << down) - (mantissa << up) * count);
}

/// Returns \a sum / \a count, correctly rounded; \a sum must be greater than 2^53. The quotient of
/// the rounded sum is wrong by less than one and a half units in the last place: less than one from
/// rounding the sum, and half a unit from rounding the quotient. The residual tells which double is
/// nearest.
inline double roundedQuotient(const Words<2>& sum, quint64 count)
{
    constexpr quint64 leadingBit = quint64(1) << 52;
    const double estimate = toDouble(sum) / static_cast<double>(qint64(count));
    const auto bits = bitCast<quint64>(estimate);
    int exponent = static_cast<int>(bits >> 52) - exponentBias - 52;
    quint64 mantissa = (bits & (leadingBit - 1)) | leadingBit;
    // Just below a power of two, doubles are twice as dense.
    if (mantissa == leadingBit && quotientResidual(sum[0], count, leadingBit, exponent) < 0) {
        mantissa = 2 * leadingBit;
        --exponent;
    }
    // Without branches, because they could not be predicted. Ties go to the even mantissa.
    const qint64 residual = quotientResidual(sum[0], count, mantissa, exponent);
    const qint64 unit = static_cast<qint64>(count << std::max(exponent, 0));
    const auto isOdd = static_cast<qint64>(mantissa & 1);
    const int step = (2 * residual + isOdd > unit ? 1 : 0) - (2 * residual - isOdd < -unit ? 1 : 0);
    return static_cast<double>(mantissa + static_cast<quint64>(qint64(step))) *
           powerOfTwo(exponent);
}

/// The same for any sum, \a high * 2^64 + \a low with \a high in two's complement.
Q_NEVER_INLINE inline double anyMeanOf(quint64 low, quint64 high, quint64 count)
{
    const bool negative = high >> 63 != 0;
    const Words<2> magnitude = {negative ? 0 - low : low,
                                negative ? ~high + (low == 0 ? 1 : 0) : high};
    const double mean =
        magnitude[1] == 0 && magnitude[0] <= quint64(exactInDouble)
            ? static_cast<double>(qint64(magnitude[0])) / static_cast<double>(qint64(count))
            : roundedQuotient(magnitude, count);
    return negative ? -mean : mean;
}

/// Whether the functions below have enough words for \a count values.
inline bool areFew(quint64 count)
{
    return count <= quint64(1) << 26;
}

/// The same, faster for few values. The sum is at first divided as two doubles, with an error of
/// less than 2^-50 units in the last place. If that could matter, anyMeanOf() divides the words.
/// They are not passed as Words: in memory, two stores followed by one wide load would stall.
template <typename Products>
Q_ALWAYS_INLINE double meanOf(quint64 low, quint64 high, quint64 count)
{
    const double n = static_cast<double>(qint64(count)), reciprocal = 1 / n;
    const DoubleDouble upper =
        quickTwoSum(static_cast<double>(static_cast<qint64>(high)) * 0x1p64,
                    static_cast<double>(static_cast<qint64>(low >> 32)) * 0x1p32);
    const double lower = upper.low + static_cast<double>(static_cast<qint64>(quint32(low)));
    const double estimate = upper.high * reciprocal;
    const double correction = (Products::remainder(upper.high, estimate, n) + lower) * reciprocal;
    const double margin = correction * 0x1p-45;
    const double mean = estimate + (correction - margin);
    if (Q_UNLIKELY(mean != estimate + (correction + margin)) || Q_UNLIKELY(!areFew(count)))
        return anyMeanOf(low, high, count);
    return mean;
}

inline bool isExactInDouble(qint64 sum)
{
    return sum >= -exactInDouble && sum <= exactInDouble;
}

/// Returns \a sum / \a count, correctly rounded.
inline double meanOf(qint64 sum, quint64 count)
{
    if (isExactInDouble(sum))
        return static_cast<double>(sum) / static_cast<double>(qint64(count));
    const auto word = static_cast<quint64>(sum);
    return anyMeanOf(word, signWord(word), count);
}

/// Whether the square of \a count is exact in double.
inline bool hasExactSquare(quint64 count)
{
    return count <= 94906265;
}

/// Returns the square root of \a scaledVariance / \a count^2.
template <std::size_t size>
Q_NEVER_INLINE inline double deviationFrom(const Words<size>& scaledVariance, quint64 count)
{
    const DoubleDouble variance = toDoubles(scaledVariance);
    const double n = static_cast<double>(count);
    if (hasExactSquare(count)) // the root of the rounded quotient is near enough
        return std::sqrt((variance.high + variance.low) / (n * n));
    const DoubleDouble divisor = twoProduct<PlainProducts>(n, n);
    const double estimate = variance.high / divisor.high;
    const DoubleDouble back = twoProduct<PlainProducts>(estimate, divisor.high);
    const double rest =
        ((variance.high - back.high) - back.low) + (variance.low - estimate * divisor.low);
    return std::sqrt(estimate + rest / divisor.high);
}

/// Returns the square root of (\a squares / \a count - (\a sum / \a count)^2), within one ulp.
Q_NEVER_INLINE inline double deviationOf(const Words<2>& sum, const Words<3>& squares,
                                         quint64 count)
{
    Words<4> scaledVariance = multiplied(squares, count);
    add(scaledVariance, negated(squared(isNegative(sum) ? negated(sum) : sum)));
    return deviationFrom(scaledVariance, count);
}

/// Whether \a squares * \a count is certainly less than 2^63, judged by their lengths in bits.
inline bool isShortProduct(const Words<2>& squares, quint64 count)
{
    constexpr int countBits = 22, squaresBits = 63 - countBits;
    return (squares[0] >> squaresBits | squares[1] | count >> countBits) == 0;
}

/// The same for few values with sums of one and two words, as nearly all series have.
inline double deviationOf(qint64 sum, const Words<2>& squares, quint64 count)
{
    const double n = static_cast<double>(qint64(count));
    const quint64 magnitude = magnitudeOf(sum);
    // Most series are short, and their values close together, so that one word is enough.
    if (isShortProduct(squares, count)) {
        const quint64 scaledVariance = squares[0] * count - magnitude * magnitude;
        return std::sqrt(static_cast<double>(qint64(scaledVariance)) / (n * n));
    }
    const Words<2> minuend = shortProduct(squares, count), subtrahend = square(magnitude);
    const quint64 borrow = minuend[0] < subtrahend[0] ? 1 : 0;
    const double variance =
        toDouble({minuend[0] - subtrahend[0], minuend[1] - subtrahend[1] - borrow});
    return std::sqrt(variance / (n * n));
}

/// Whether so much of a difference with the upper word \a upper has cancelled that a double needs
/// digits of the third word too.
inline bool hasCancelled(quint64 upper)
{
    return upper < 1 << 11;
}

/// The same for few values with sums of up to 90 and 154 bits, as 64-bit numbers have.
Q_ALWAYS_INLINE double deviationOf(quint64 sumLow, quint64 sumHigh, quint64 squaresLow,
                                   quint64 squaresMiddle, quint64 squaresHigh, quint64 count)
{
    const double n = static_cast<double>(qint64(count));
    const bool negative = sumHigh >> 63 != 0;
    const quint64 low = negative ? 0 - sumLow : sumLow;
    const quint64 high = negative ? ~sumHigh + (sumLow == 0 ? 1 : 0) : sumHigh;
    const Words<3> minuend = shortProduct<3>({squaresLow, squaresMiddle, squaresHigh}, count);
    const Words<2> square0 = square(low), cross = shortProduct<2>({low, 0}, 2 * high);
    const quint64 middle = square0[1] + cross[0];
    const Words<3> subtrahend = {square0[0], middle,
                                 high * high + cross[1] + (middle < cross[0] ? 1 : 0)};
    const Words<3> variance = difference(minuend, subtrahend);
    if (hasCancelled(variance[2]))
        return deviationFrom(variance, count);
    return std::sqrt(toDouble({variance[1], variance[2]}) / (n * n)) * 0x1p32;
}
