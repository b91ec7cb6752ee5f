#pragma once

#include <QtCore/qglobal.h>

#include <boost/multiprecision/cpp_int.hpp>

#include <map>

namespace monitor
{

/// Average and deviation of counted values. The sums are exact, and each result is rounded once, so
/// it does not depend on the order of the values. Reentrant.
class CountedMoments
{
public:
    /// Adds \a times values equal to \a value. NaN and infinities are ignored. There may be at most
    /// 2^63 values.
    void add(double value, quint64 times);

    /// The arithmetic mean, correctly rounded; 0 if there are no values.
    double average() const;

    /// The population deviation, correctly rounded; 0 if there are no values.
    double deviation() const;

private:
    /// Sums of values with the same exponent, and of their squares. The unit is the last place of
    /// the values.
    struct Sums {
        boost::multiprecision::int128_t sum = 0;
        boost::multiprecision::uint256_t squares = 0;
    };
    using Integer = boost::multiprecision::cpp_int;

    int leastExponent() const { return byExponent.empty() ? 0 : byExponent.begin()->first; }
    Integer sum() const;

    std::map<int, Sums> byExponent; // of the last place
    quint64 count = 0;
};

} // namespace monitor
