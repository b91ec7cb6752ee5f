#include "StepCounts.h"

#include <QtCore/QtAlgorithms>

#include <algorithm>
#include <limits>

namespace monitor
{

namespace
{

/// The bin of \a step: the position of its highest bit and the next five bits, so that the steps
/// in a bin differ by less than 1/32. Steps below 32 have bins of their own.
quint64 binOf(quint64 step)
{
    constexpr int fractionBits = 5;
    constexpr quint64 binsPerOctave = 1U << fractionBits;
    if (step < binsPerOctave)
        return step;
    const int highestBit = 63 - static_cast<int>(qCountLeadingZeroBits(step));
    const auto octave = static_cast<quint64>(highestBit - fractionBits);
    return octave * binsPerOctave + (step >> octave);
}

} // namespace

void StepCounts::add(quint64 step)
{
    const quint64 number = binOf(step);
    auto bin = std::lower_bound(bins.begin(), bins.end(), number,
                                [](const Bin& left, quint64 right) { return left.number < right; });
    if (bin == bins.end() || bin->number != number)
        bin = bins.insert(bin, {number, 0, step, step});
    bin->shortest = std::min(bin->shortest, step);
    bin->longest = std::max(bin->longest, step);
    ++bin->count;
    ++total;
}

double StepCounts::median() const
{
    qint64 rank = total / 2;
    for (const Bin& bin : bins) {
        if (rank < bin.count) {
            const double share =
                static_cast<double>(rank) / static_cast<double>(std::max<qint64>(bin.count - 1, 1));
            return static_cast<double>(bin.shortest) +
                   share * static_cast<double>(bin.longest - bin.shortest);
        }
        rank -= bin.count;
    }
    return std::numeric_limits<double>::infinity();
}

} // namespace monitor
