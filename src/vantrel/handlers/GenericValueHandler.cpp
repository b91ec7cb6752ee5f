#include <vantrel/handlers/GenericValueHandler.h>

#include "readElement.h"

#include <statistics/SimpleStatisticCalculator.h>

#include <QtCore/QList>
#include <QtCore/QtMath>

#include <cfloat>
#include <cmath>

static_assert(FLT_EVAL_METHOD == 0,
              "Products and sums must be rounded to double each: build with SSE2 arithmetic");

namespace
{

constexpr double quarterFraction = 0.25;
constexpr double marginTolerance = 1e-12;
constexpr int fullRating = 100;

template <typename N>
N readRaw(const GenericValue& value)
{
    if constexpr (std::is_same_v<N, float>)
        return value.valueToFloat(false);
    else
        return readElement<N>(value.rawValue);
}

template <typename N>
N readScaled(const GenericValue& value)
{
    if constexpr (std::is_same_v<N, float>)
        return value.valueToFloat(true);
    else
        return readElement<N>(value.scaledValue);
}

/// Returns \a x as an N: rounded for floating-point types; for integer types truncated toward zero
/// and reduced modulo 2^bits, or 0 if x is not finite.
template <typename N>
N narrowed(double x)
{
    if constexpr (std::is_floating_point_v<N>) {
        return static_cast<N>(x);
    } else {
        constexpr double twoToThe63 = 9223372036854775808.0;
        if (std::fabs(x) < twoToThe63)
            return static_cast<N>(static_cast<qint64>(x));
        if (!std::isfinite(x))
            return 0;
        const auto magnitude = static_cast<quint64>(std::fmod(std::fabs(x), 2 * twoToThe63));
        return static_cast<N>(std::signbit(x) ? 0 - magnitude : magnitude);
    }
}

/// Returns the rating of a value in a margin, from 0 at the limit to 100 at the inner half.
int rateInMargin(double distanceFromLimit, double margin)
{
    if (std::fabs(margin) <= marginTolerance)
        return fullRating;
    const double rating = distanceFromLimit / margin * fullRating;
    if (std::isnan(rating)) // a NaN, or an infinite distance in an infinite margin
        return fullRating;
    return qRound(qBound(0.0, rating, double(fullRating)));
}

template <typename N, typename T>
QList<N> scaledValues(const QVector<T>& values)
{
    QList<N> elements = listToFill<N>(values.size());
    auto end = elements.begin();
    for (const T& value : values) {
        if (!value.isInvalid)
            *end++ = readScaled<N>(value);
    }
    elements.erase(end, elements.end());
    return elements;
}

} // namespace

template <typename N, typename T>
void GenericValueHandler<N, T>::setTypeBasedScaledValue(GenericValue& value, double factor,
                                                        double offset)
{
    if (value.isInvalid)
        return;
    // Intentional: narrowed to N twice, so that an integer signal drops the fraction of the product
    // before the offset is added.
    const N product = narrowed<N>(static_cast<double>(readRaw<N>(value)) * factor);
    const N sum = narrowed<N>(static_cast<double>(product) + offset);
    // Integers of 8 and 16 bits are promoted, so they are stored as int. Writing in place takes
    // less than half the time of an assignment, but with Qt 6 a null variant would stay null.
    if (isMarkedNull(value.scaledValue))
        value.scaledValue = QVariant(sum);
    else
        value.scaledValue.setValue(+sum);
}

template <typename N, typename T>
int GenericValueHandler<N, T>::getRating(GenericValue& value, double lowerLimit, double upperLimit,
                                         double /*average*/)
{
    const auto x = static_cast<double>(readScaled<N>(value));
    if (lowerLimit > x || x > upperLimit)
        return 0;
    const double quarter = (upperLimit - lowerLimit) * quarterFraction;
    const double low = lowerLimit + quarter;
    const double high = upperLimit - quarter;
    if (x >= low && high >= x)
        return fullRating;
    // The margins are computed from the rounded ends of the inner half, not from the quarter:
    // ratings next to a rounding boundary depend on it. The upper margin comes first, in case x
    // lies both above and below the inner half.
    return x > high ? rateInMargin(upperLimit - x, upperLimit - high)
                    : rateInMargin(x - lowerLimit, low - lowerLimit);
}

template <typename N, typename T>
double GenericValueHandler<N, T>::calcTypeBasedAverage(const QVector<T>& values)
{
    return SimpleStatisticCalculator<N>::getAverage(scaledValues<N>(values));
}

template <typename N, typename T>
double GenericValueHandler<N, T>::calcTypeBasedDeviation(const QVector<T>& values)
{
    return SimpleStatisticCalculator<N>::getDeviation(scaledValues<N>(values));
}

template <typename N, typename T>
double GenericValueHandler<N, T>::getMax(const QVector<T>& values)
{
    return static_cast<double>(SimpleStatisticCalculator<N>::calcMaximum(scaledValues<N>(values)));
}

template <typename N, typename T>
double GenericValueHandler<N, T>::getMin(const QVector<T>& values)
{
    return static_cast<double>(SimpleStatisticCalculator<N>::calcMinimum(scaledValues<N>(values)));
}

template <typename N, typename T>
void GenericValueHandler<N, T>::calcTypeBasedStats(double& averageValue, QVariant& maxValue,
                                                   QVariant& minValue, double& medianValue,
                                                   double& deviationValue, const QVector<T>& values)
{
    N maximum{};
    N minimum{};
    SimpleStatisticCalculator<N>::calcStatistics(scaledValues<N>(values), maximum, minimum,
                                                 medianValue, averageValue, deviationValue);
    maxValue = QVariant(maximum);
    minValue = QVariant(minimum);
}

#define VANTREL_DEFINE_HANDLERS(N)                                                                 \
    template class VANTREL_TEMPLATE_DEFINITION GenericValueHandler<N, CANopenObjectValue>;         \
    template class VANTREL_TEMPLATE_DEFINITION GenericValueHandler<N, J1939Value>;
VANTREL_ELEMENT_TYPES(VANTREL_DEFINE_HANDLERS)
