#pragma once

#include <QtCore/QString>

namespace monitor
{

/// Numbers for people, with the digits that are known: integers exactly as far as double holds them
/// so (up to 2^53), larger numbers with all 17 digits and an exponent.

/// A value, minimum or maximum: every digit that a scaling by \a factor and \a offset can lead to,
/// so that it is not rounded but free of what binary fractions add at the end.
QString formatMeasured(double value, double factor, double offset);

/// A median: may lie half way between two measured values.
QString formatMedian(double value, double factor, double offset);

/// A computed figure: 9 significant digits, and at least 3 after the decimal point.
QString formatComputed(double value);

} // namespace monitor
