#pragma once

#include <vantrel/export.h>
#include <vantrel/handlers/elementTypes.h>
#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <QtCore/QVariant>
#include <QtCore/QVector>

/// The operations on value records that need the numeric element type \a N of a signal: scaling,
/// rating, and statistics over a series of records of type \a T.
///
/// Available for the ten element types of VANTREL_ELEMENT_TYPES and for the records
/// CANopenObjectValue and J1939Value, which it treats alike. A field is read as N directly if it
/// holds an N, else through QVariant::convert on a copy; for float through
/// GenericValue::valueToFloat. What does not convert counts as 0.
///
/// What the statistics of a series are is up to the statistics library; it is said here for the
/// bundled one, by which a float or double that is not finite is left out.
///
/// There is no state and no lock: all operations are thread-safe, as long as nobody changes the
/// records that they are given meanwhile.
template <typename N, typename T>
class GenericValueHandler
{
    static_assert(isElementType<N>,
                  "GenericValueHandler<N, T>: N must be one of the ten element types (signed char, "
                  "short, int, long long, their unsigned counterparts, float, double)");
    static_assert(std::is_same_v<T, CANopenObjectValue> || std::is_same_v<T, J1939Value>,
                  "GenericValueHandler<N, T>: T must be CANopenObjectValue or J1939Value");

public:
    /// Sets value.scaledValue to value.rawValue x \a factor + \a offset, in the unit that factor
    /// and offset lead to. A record with isInvalid set is left as it is.
    ///
    /// Integer types: the product is truncated toward zero to N before the offset is added, and
    /// the sum is truncated again. Either step wraps modulo 2^bits of N where it leaves the range
    /// of N, and gives 0 where it is not finite; nothing is clamped. Both steps are computed in
    /// double, so whole numbers beyond 2^53 are rounded: 2^64 - 1 becomes 2^64 and wraps to 0.
    /// float: product and sum are computed in double and each rounded to float. double: product and
    /// sum are each rounded.
    ///
    /// The result is stored as int for N of 8 and 16 bits and for int, else as uint, qlonglong,
    /// qulonglong, float or double.
    static void setTypeBasedScaledValue(GenericValue& value, double factor, double offset);

    /// How well value.scaledValue lies within the limits, as a whole number from 0 to 100: 100
    /// in the inner half of the band from \a lowerLimit to \a upperLimit, falling linearly to 0
    /// towards either limit, halves rounded up; 0 outside. The limits have the unit of the scaled
    /// value. isInvalid is not looked at.
    ///
    /// Limits in the wrong order rate 0. A margin of no more than 1e-12 rates 100 inside the
    /// limits, and an infinite one 0, as with one infinite limit. What cannot be rated rates 100: a
    /// value that is not a number, and one that no limit excludes where a limit is not a number,
    /// both are infinite, or margin and distance from the limit are. \a average is accepted and
    /// not used.
    static int getRating(GenericValue& value, double lowerLimit, double upperLimit, double average);

    /// The arithmetic mean of the scaled values, in their unit; 0 for an empty series.
    ///
    /// For this and the following operations the series is every record of \a values without
    /// isInvalid; one without such records counts as empty. The cost is linear in the number of
    /// records. Exceptions of the statistics library pass through.
    static double calcTypeBasedAverage(const QVector<T>& values);

    /// The population deviation of the scaled values (divisor n), in their unit; 0 for an empty
    /// series.
    static double calcTypeBasedDeviation(const QVector<T>& values);

    /// The greatest scaled value as the nearest double; 0 for an empty series.
    static double getMax(const QVector<T>& values);

    /// The smallest scaled value as the nearest double; 0 for an empty series.
    static double getMin(const QVector<T>& values);

    /// All of the above and the median at once, in one walk of the series. \a maxValue and
    /// \a minValue become variants of the types named at setTypeBasedScaledValue. If the
    /// statistics library throws, the outputs may be partly written.
    static void calcTypeBasedStats(double& averageValue, QVariant& maxValue, QVariant& minValue,
                                   double& medianValue, double& deviationValue,
                                   const QVector<T>& values);
};

#define VANTREL_DECLARE_HANDLERS(N)                                                                \
    extern template class VANTREL_TEMPLATE_DECLARATION GenericValueHandler<N, CANopenObjectValue>; \
    extern template class VANTREL_TEMPLATE_DECLARATION GenericValueHandler<N, J1939Value>;
VANTREL_ELEMENT_TYPES(VANTREL_DECLARE_HANDLERS)
#undef VANTREL_DECLARE_HANDLERS
