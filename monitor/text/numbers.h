#pragma once

#include <QtCore/QString>

#include <limits>

namespace monitor
{

/// double represents every integer of up to this many bits exactly.
constexpr int exactBits = std::numeric_limits<double>::digits;
static_assert(exactBits == 53);

/// 2^53: double represents every integer from -2^53 to 2^53 exactly.
constexpr auto exactIntegers = static_cast<double>(quint64{1} << exactBits);

// The functions below format a number for people to read. They print integers up to 2^53 exactly,
// and larger numbers with 17 significant digits.

/// Formats a value, minimum or maximum with every digit that scaling by \a factor and \a offset can
/// produce, so that it is not rounded, but without the rounding error of binary fractions.
QString formatMeasured(double value, double factor, double offset);

/// Formats a median, which may lie halfway between two measured values.
QString formatMedian(double value, double factor, double offset);

/// Formats a computed statistic with 9 significant digits, and with at least 3 digits after the
/// decimal point as far as double has them.
QString formatComputed(double value);

} // namespace monitor
