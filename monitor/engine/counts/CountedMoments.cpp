#include "CountedMoments.h"

#include <algorithm>
#include <cmath>
#include <limits>

using boost::multiprecision::cpp_int;

namespace monitor
{

namespace
{

constexpr int mantissaBits = std::numeric_limits<double>::digits;
constexpr int lastPlaceOfTiniest = std::numeric_limits<double>::min_exponent - mantissaBits;

/// To round a quotient of at least this many bits, it is enough to know whether the remainder is 0.
constexpr int quotientBits = 64;

int bitsOf(const cpp_int& positive)
{
    return static_cast<int>(msb(positive)) + 1;
}

/// Returns \a number x 2^\a exponent, rounded to the nearest double; ties go to the even one. If
/// \a hasRemainder, the true number is greater by less than 1, and \a number has at least 64 bits.
double rounded(const cpp_int& number, bool hasRemainder, int exponent)
{
    const int surplus = std::max(bitsOf(number) - mantissaBits, lastPlaceOfTiniest - exponent);
    if (surplus <= 0)
        return std::ldexp(number.convert_to<double>(), exponent);
    cpp_int kept = number >> surplus;
    const cpp_int dropped = number - (kept << surplus);
    const cpp_int half = cpp_int(1) << (surplus - 1);
    if (dropped > half || (dropped == half && (hasRemainder || bit_test(kept, 0))))
        ++kept;
    return std::ldexp(kept.convert_to<double>(), exponent + surplus);
}

} // namespace

void CountedMoments::add(double value, quint64 times)
{
    if (!std::isfinite(value))
        return;
    count += times;
    if (value == 0)
        return;
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);
    const auto mantissa = static_cast<qint64>(std::ldexp(fraction, mantissaBits));
    Sums& sums = byExponent[exponent - mantissaBits];
    const auto magnitude = static_cast<quint64>(std::abs(mantissa));
    sums.sum += boost::multiprecision::int128_t(mantissa) * times;
    sums.squares += boost::multiprecision::uint256_t(magnitude) * magnitude * times;
}

CountedMoments::Integer CountedMoments::sum() const
{
    Integer total = 0;
    for (const auto& [exponent, sums] : byExponent)
        total += Integer(sums.sum) << (exponent - leastExponent());
    return total;
}

double CountedMoments::average() const
{
    const Integer total = sum();
    if (total == 0)
        return 0;
    const Integer magnitude = total < 0 ? Integer(-total) : total;
    const int shift = std::max(quotientBits + bitsOf(count) - bitsOf(magnitude), 0);
    Integer quotient;
    Integer remainder;
    divide_qr(Integer(magnitude << shift), Integer(count), quotient, remainder);
    const double average = rounded(quotient, remainder != 0, leastExponent() - shift);
    return total < 0 ? -average : average;
}

double CountedMoments::deviation() const
{
    Integer squares = 0;
    for (const auto& [exponent, sums] : byExponent)
        squares += Integer(sums.squares) << 2 * (exponent - leastExponent());
    const Integer total = sum();
    const Integer scaledVariance = squares * count - total * total; // times the squared count
    if (scaledVariance == 0)
        return 0;
    const int shift = std::max(quotientBits + bitsOf(count) - bitsOf(scaledVariance) / 2 + 1, 0);
    Integer remainderOfRoot;
    const Integer root = sqrt(Integer(scaledVariance << 2 * shift), remainderOfRoot);
    Integer quotient;
    Integer remainder;
    divide_qr(root, Integer(count), quotient, remainder);
    return rounded(quotient, remainder != 0 || remainderOfRoot != 0, leastExponent() - shift);
}

} // namespace monitor
