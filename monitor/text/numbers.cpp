#include "numbers.h"

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

constexpr int preservedDigits = std::numeric_limits<double>::digits10;
constexpr int allDigits = std::numeric_limits<double>::max_digits10;
constexpr int maxDecimals = 12;
constexpr int computedDigits = 9;
constexpr int computedDecimals = 3;

/// How many digits after the decimal point \a number needs; maxDecimals if it needs more.
int decimalsOf(double number)
{
    int decimals = 0;
    while (decimals < maxDecimals && QString::number(number, 'f', decimals).toDouble() != number)
        ++decimals;
    return decimals;
}

/// How many digits \a number has before the decimal point, at least 1.
int wholeDigitsOf(double number)
{
    const double magnitude = std::fabs(number);
    return magnitude < 10 ? 1 : static_cast<int>(std::floor(std::log10(magnitude))) + 1;
}

QString withoutTrailingZeros(QString text)
{
    while (text.endsWith('0'))
        text.chop(1);
    if (text.endsWith('.'))
        text.chop(1);
    return text;
}

/// Up to \a decimals digits after the decimal point, fewer if double cannot represent as many.
QString rounded(double value, int decimals)
{
    const int preserved = preservedDigits - wholeDigitsOf(value);
    if (decimals >= maxDecimals || preserved < decimals)
        return QString::number(value, 'g', preservedDigits);
    return withoutTrailingZeros(QString::number(value, 'f', decimals));
}

/// Formats integers, numbers beyond 2^53, NaN and infinities. Empty for any other \a value.
QString formatWholeOrHuge(double value)
{
    if (std::fabs(value) > exactIntegers || !std::isfinite(value))
        return QString::number(value, 'g', allDigits);
    if (std::trunc(value) == value)
        return QString::number(static_cast<qint64>(value));
    return QString();
}

QString formatWithDecimals(double value, int decimals)
{
    QString special = formatWholeOrHuge(value);
    return special.isEmpty() ? rounded(value, decimals) : special;
}

} // namespace

QString formatMeasured(double value, double factor, double offset)
{
    return formatWithDecimals(value, std::max({decimalsOf(factor), decimalsOf(offset), 1}));
}

QString formatMedian(double value, double factor, double offset)
{
    return formatWithDecimals(value, std::max(decimalsOf(factor), decimalsOf(offset)) + 1);
}

QString formatComputed(double value)
{
    QString special = formatWholeOrHuge(value);
    if (!special.isEmpty())
        return special;
    const int digits = std::max(computedDigits, wholeDigitsOf(value) + computedDecimals);
    return QString::number(value, 'g', std::min(digits, allDigits));
}

} // namespace monitor
