#pragma once

/// \file
/// Operations on records: scaling, rating and statistics.

#include <vantrel/export.h>
#include <vantrel/handlers/elementTypes.h>
#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <QtCore/QVariant>
#include <QtCore/QVector>

/// The operations on value records that depend on the numeric element type of a signal: scaling,
/// rating, and statistics of a series of records.
///
/// A variant that holds an N is read directly; any other is copied and converted by
/// QVariant::convert(), or for float by GenericValue::valueToFloat(). A variant that cannot be
/// converted counts as 0; see GenericValue::rawValue for the types that Qt 5 does not convert.
///
/// Statistics are computed by the statistics library. This documentation describes the bundled one,
/// which ignores NaN and infinities.
///
/// All functions are stateless and thread-safe. No other thread may change the records while a
/// function is using them.
///
/// \tparam N the element type, one of the ten in \ref VANTREL_ELEMENT_TYPES
/// \tparam T the type of the records: CANopenObjectValue or J1939Value, which behave alike
/// \ingroup handlers
template <typename N, typename T>
class GenericValueHandler
{
    static_assert(isElementType<N>,
                  "GenericValueHandler<N, T>: N must be one of the ten element types (signed char, "
                  "short, int, long long, their unsigned counterparts, float, double)");
    static_assert(std::is_same_v<T, CANopenObjectValue> || std::is_same_v<T, J1939Value>,
                  "GenericValueHandler<N, T>: T must be CANopenObjectValue or J1939Value");

public:
    /// Sets the scaled value of \a value to value.rawValue x \a factor + \a offset. Leaves a record
    /// with isInvalid set unchanged. A raw value that cannot be converted to N counts as 0.
    ///
    /// Integer types: the product is truncated toward zero to N before the offset is added, and the
    /// sum is truncated to N again. A product or sum outside the range of N is not clamped: it
    /// wraps modulo 2^n, where n is the number of bits of N, or becomes 0 if it is not finite.
    ///
    /// Both steps are computed in double, so integers beyond 2^53 are rounded, even with factor 1
    /// and offset 0. The greatest ones are rounded up and then wrap: a long long of 2^63 - 512 or
    /// more becomes -2^63, and an unsigned long long of 2^64 - 1024 or more becomes 0.
    ///
    /// float: product and sum are computed in double and each rounded to float. double: product and
    /// sum are each rounded to double.
    ///
    /// The result is stored as an int if N has 8 or 16 bits, otherwise in a variant of N.
    static void setTypeBasedScaledValue(GenericValue& value, double factor, double offset);

    /// Returns how well the scaled value lies within the limits, from 0 to 100: 100 in the inner
    /// half of the range from \a lowerLimit to \a upperLimit, falling linearly to 0 at either limit
    /// (rounded, halves up), and 0 outside. The limits have the unit of the scaled value. isInvalid
    /// and \a average are ignored.
    ///
    /// If \a lowerLimit is greater than \a upperLimit, every number rates 0. If the margins, a
    /// quarter of the range each, are at most 1e-12 wide, every value within the limits rates 100.
    ///
    /// If one limit is infinite, every finite value rates 0, because the margins are infinite: pass
    /// two finite limits. NaN rates 100. A value that is outside neither limit also rates 100 if a
    /// limit is NaN, if both limits are infinite, or if its distance from the limit and the margin
    /// are both infinite.
    ///
    /// \param value the record whose scaled value is rated; unchanged
    /// \param lowerLimit the lower limit, in the unit of the scaled value
    /// \param upperLimit the upper limit, in the unit of the scaled value
    /// \param average ignored
    static int getRating(GenericValue& value, double lowerLimit, double upperLimit, double average);

    /// Returns the arithmetic mean of the scaled values, in their unit; 0 for an empty series.
    ///
    /// For this and the following functions, the series consists of the records in \a values whose
    /// isInvalid is false. All take time and memory linear in the number of records. Exceptions
    /// from the statistics library propagate to the caller.
    static double calcTypeBasedAverage(const QVector<T>& values);

    /// Returns the population standard deviation of the scaled values in \a values (divisor n), in
    /// their unit; 0 for an empty series.
    static double calcTypeBasedDeviation(const QVector<T>& values);

    /// Returns the greatest scaled value in \a values, as the nearest double; 0 for an empty
    /// series.
    static double getMax(const QVector<T>& values);

    /// Returns the smallest scaled value in \a values, as the nearest double; 0 for an empty
    /// series.
    static double getMin(const QVector<T>& values);

    /// Computes all of the above and the median in one pass over the series. Every output is 0 for
    /// an empty series. If the statistics library throws, the outputs may be partly written.
    ///
    /// \param[out] averageValue the arithmetic mean
    /// \param[out] maxValue the greatest scaled value, as a variant of the type that
    ///     setTypeBasedScaledValue() stores
    /// \param[out] minValue the smallest scaled value, as a variant of the same type
    /// \param[out] medianValue the median; for an even count the mean of the two middle values
    /// \param[out] deviationValue the population standard deviation
    /// \param values the records
    static void calcTypeBasedStats(double& averageValue, QVariant& maxValue, QVariant& minValue,
                                   double& medianValue, double& deviationValue,
                                   const QVector<T>& values);
};

#define VANTREL_DECLARE_HANDLERS(N)                                                                \
    extern template class VANTREL_TEMPLATE_DECLARATION GenericValueHandler<N, CANopenObjectValue>; \
    extern template class VANTREL_TEMPLATE_DECLARATION GenericValueHandler<N, J1939Value>;
VANTREL_ELEMENT_TYPES(VANTREL_DECLARE_HANDLERS)
#undef VANTREL_DECLARE_HANDLERS
