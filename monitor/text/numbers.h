#pragma once

#include <QtCore/QString>

#include <limits>

namespace monitor
{

/// double holds every integer of up to this many bits exactly.
constexpr int exactBits = std::numeric_limits<double>::digits;
static_assert(exactBits == 53);

/// 2^53: double holds every integer from -2^53 to 2^53 exactly.
constexpr auto exactIntegers = static_cast<double>(quint64{1} << exactBits);

// The functions below format a number for people, with the digits that are known: integers up to
// 2^53 exactly, larger numbers with all 17 digits and an exponent.

/// A value, minimum or maximum: every digit that a scaling by \a factor and \a offset can lead to,
/// so that it is not rounded, but without the noise of binary fractions at the end.
QString formatMeasured(double value, double factor, double offset);

/// A median, which may lie half way between two measured values.
QString formatMedian(double value, double factor, double offset);

/// A computed statistic: 9 significant digits, and at least 3 after the decimal point.
QString formatComputed(double value);

} // namespace monitor
