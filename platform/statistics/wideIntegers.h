#pragma once

#include "floatingPoint.h"

#include <QtCore/QtAlgorithms>
#include <QtCore/QtGlobal>

#include <array>
#include <cstddef>

// Integers wider than the types that every compiler has, least significant word first. Arithmetic
// is modulo the width, and negative numbers are in two's complement.

template <std::size_t size>
using Words = std::array<quint64, size>;

/// Returns the word above \a low, sign-extended.
Q_ALWAYS_INLINE quint64 signWord(quint64 low)
{
    return 0 - (low >> 63);
}

/// Returns the magnitude of \a number. Unlike qAbs(), it also works for the smallest number.
Q_ALWAYS_INLINE quint64 magnitudeOf(qint64 number)
{
    const auto word = static_cast<quint64>(number);
    return (word ^ signWord(word)) - signWord(word);
}

/// The product for compilers without integers of 128 bits.
Q_ALWAYS_INLINE Words<2> productByHalves(quint64 a, quint64 b)
{
    const quint64 aLow = quint32(a), aHigh = a >> 32;
    const quint64 bLow = quint32(b), bHigh = b >> 32;
    const quint64 low = aLow * bLow;
    const quint64 upper = aHigh * bLow + (low >> 32);
    const quint64 lower = aLow * bHigh + quint32(upper);
    return {(lower << 32) | quint32(low), aHigh * bHigh + (upper >> 32) + (lower >> 32)};
}

#if defined(__SIZEOF_INT128__)
__extension__ typedef unsigned __int128 DoubleWord;

Q_ALWAYS_INLINE Words<2> product(quint64 a, quint64 b)
{
    const DoubleWord product = DoubleWord(a) * b;
    return {static_cast<quint64>(product), static_cast<quint64>(product >> 64)};
}

/// Returns \a a - \a b. Without branches, because a borrow cannot be predicted.
Q_ALWAYS_INLINE Words<3> difference(const Words<3>& a, const Words<3>& b)
{
    const DoubleWord left = DoubleWord(a[1]) << 64 | a[0], right = DoubleWord(b[1]) << 64 | b[0];
    const DoubleWord lower = left - right;
    return {static_cast<quint64>(lower), static_cast<quint64>(lower >> 64),
            a[2] - b[2] - (left < right ? 1 : 0)};
}
#else
Q_ALWAYS_INLINE Words<2> product(quint64 a, quint64 b)
{
    return productByHalves(a, b);
}

Q_ALWAYS_INLINE Words<3> difference(const Words<3>& a, const Words<3>& b)
{
    const quint64 borrow = a[0] < b[0] ? 1 : 0, middle = a[1] - b[1];
    return {a[0] - b[0], middle - borrow,
            a[2] - b[2] - ((a[1] < b[1] ? 1 : 0) | (middle < borrow ? 1 : 0))};
}
#endif

Q_ALWAYS_INLINE Words<2> square(quint64 a)
{
    return product(a, a);
}

/// Returns the product of \a a and a \a factor, modulo the width of \a a.
template <std::size_t size>
Q_ALWAYS_INLINE Words<size> shortProduct(const Words<size>& a, quint64 factor)
{
    Words<size> result{};
    quint64 carry = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const Words<2> part = product(a[i], factor);
        result[i] = part[0] + carry;
        carry = part[1] + (result[i] < carry ? 1 : 0);
    }
    return result;
}

/// Adds \a b, shifted left by \a position words, to \a a.
template <std::size_t size, std::size_t added>
inline void add(Words<size>& a, const Words<added>& b, std::size_t position = 0)
{
    quint64 carry = 0;
    for (std::size_t i = position; i < size; ++i) {
        const quint64 term = i - position < added ? b[i - position] : 0;
        const quint64 sum = a[i] + term;
        const quint64 overflow = sum < term ? 1 : 0;
        a[i] = sum + carry;
        carry = overflow + (a[i] < carry ? 1 : 0);
    }
}

template <std::size_t size>
inline Words<size> negated(Words<size> a)
{
    for (quint64& word : a)
        word = ~word;
    add(a, std::array{quint64(1)});
    return a;
}

template <std::size_t size>
inline bool isNegative(const Words<size>& a)
{
    return a[size - 1] >> 63 != 0;
}

template <std::size_t size>
inline Words<size + 1> multiplied(const Words<size>& a, quint64 factor)
{
    Words<size + 1> result{};
    for (std::size_t i = 0; i < size; ++i)
        add(result, product(a[i], factor), i);
    return result;
}

inline Words<4> squared(const Words<2>& a)
{
    Words<4> result{};
    const Words<2> cross = product(a[0], a[1]);
    add(result, square(a[0]));
    add(result, square(a[1]), 2);
    add(result, cross, 1);
    add(result, cross, 1);
    return result;
}

/// Returns \a a rounded to a double, gathering the bits of both words. The upper one must not be 0.
Q_NEVER_INLINE inline double gatheredToDouble(const Words<2>& a)
{
    const uint shift = qCountLeadingZeroBits(a[1]);
    const quint64 leading = a[1] << shift | (a[0] >> 1) >> (63 - shift);
    const auto isLonger = quint64((a[0] << shift) != 0);
    return static_cast<double>(leading | isLonger) * powerOfTwo(64 - static_cast<int>(shift));
}

/// Whether each word of a number can be converted separately: \a upper is exact in double, and long
/// enough that the lowest 11 bits of the lower word only decide which of two doubles is nearer.
Q_ALWAYS_INLINE bool convertsByWord(quint64 upper)
{
    constexpr quint64 enough = 1 << 11, tooMuch = quint64(1) << 53;
    return upper - enough < tooMuch - enough;
}

/// Returns \a a rounded to a double, once. If the words are converted separately, the lower one
/// contributes its leading 53 bits and whether any bits follow.
Q_ALWAYS_INLINE double toDouble(const Words<2>& a)
{
    constexpr int halfWord = 32;
    if (a[1] >> (53 - halfWord) == 0) // all but the lower half of the lower word are exact
        return static_cast<double>(static_cast<qint64>(a[1] << halfWord | a[0] >> halfWord)) *
                   0x1p32 +
               static_cast<double>(static_cast<qint64>(quint32(a[0])));
    if (Q_UNLIKELY(!convertsByWord(a[1])))
        return gatheredToDouble(a);
    const auto isLonger = quint64((a[0] & 0x7ff) != 0);
    return static_cast<double>(static_cast<qint64>(a[1])) * 0x1p64 +
           static_cast<double>(static_cast<qint64>(a[0] >> 11 | isLonger)) * 0x1p11;
}

/// Returns \a a as the sum of two doubles: the leading 53 bits, and the next 53 bits, rounded.
template <std::size_t size>
inline DoubleDouble toDoubles(const Words<size>& a)
{
    std::size_t top = size - 1;
    while (top > 0 && a[top] == 0)
        --top;
    const quint64 next = top > 0 ? a[top - 1] : 0, last = top > 1 ? a[top - 2] : 0;
    const uint shift = qCountLeadingZeroBits(a[top]) & 63; // 0 has no leading bit
    const quint64 leading = a[top] << shift | (next >> 1) >> (63 - shift);
    const quint64 following = next << shift | (last >> 1) >> (63 - shift);
    constexpr quint64 beyondDouble = 0x7ff;
    const quint64 rest = (leading & beyondDouble) << 53 | following >> 11;
    const int exponent = 64 * int(top) - int(shift);
    return {static_cast<double>(leading & ~beyondDouble) * powerOfTwo(exponent),
            static_cast<double>(rest) * powerOfTwo(exponent - 53)};
}
