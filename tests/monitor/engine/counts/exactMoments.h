#pragma once

#include <gtest/gtest.h>

#include <QtCore/qglobal.h>

#include <boost/multiprecision/cpp_int.hpp>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

using Rational = boost::multiprecision::cpp_rational;

/// Values, and how often each occurred.
using CountedValues = std::vector<std::pair<double, quint64>>;

inline Rational meanOf(const CountedValues& values)
{
    Rational sum = 0;
    Rational count = 0;
    for (const auto& [value, times] : values) {
        sum += Rational(value) * times;
        count += times;
    }
    return sum / count;
}

inline Rational varianceOf(const CountedValues& values)
{
    Rational squares = 0;
    Rational count = 0;
    for (const auto& [value, times] : values) {
        squares += Rational(value) * Rational(value) * times;
        count += times;
    }
    const Rational mean = meanOf(values);
    return squares / count - mean * mean;
}

/// The limit between the numbers that round to \a value, which must be even, and those that round
/// to \a next.
inline Rational middle(double value, double next)
{
    return (Rational(value) + Rational(next)) / 2;
}

/// Expects \a average to be the double nearest to the average of \a values.
inline void expectNearestAverage(double average, const CountedValues& values,
                                 const std::string& place)
{
    const Rational mean = meanOf(values);
    EXPECT_LE(middle(average, std::nextafter(average, -HUGE_VAL)), mean) << place;
    EXPECT_GE(middle(average, std::nextafter(average, HUGE_VAL)), mean) << place;
}

/// Expects \a deviation to be the double nearest to the population deviation of \a values.
inline void expectNearestDeviation(double deviation, const CountedValues& values,
                                   const std::string& place)
{
    const Rational variance = varianceOf(values);
    const Rational upper = middle(deviation, std::nextafter(deviation, HUGE_VAL));
    EXPECT_GE(upper * upper, variance) << place;
    if (deviation == 0)
        return;
    const Rational lower = middle(deviation, std::nextafter(deviation, 0));
    EXPECT_LE(lower * lower, variance) << place;
}
