#include "SignalValues.h"

#include "catalogue/DatatypeChoice.h"
#include "counts/CountedMoments.h"
#include "counts/NarrowCounts.h"
#include "counts/ValueCounts.h"
#include "counts/WideCounts.h"
#include "text/numbers.h"

#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>
#include <vantrel/handlers/GenericValueHandler.h>
#include <vantrel/values/CANopenObjectValue.h>

#include <cmath>

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

template <typename N>
class TypedValues : public SignalValues
{
public:
    TypedValues(const CatalogueSignal& signal, SpillFile* spill)
        : SignalValues(signal), limits(signal.rules.limits)
    {
        if (signal.rules.keptRecords > 0)
            kept = std::make_unique<ValueCounts>();
        if (length > NarrowCounts::maxBits)
            wide = std::make_unique<WideCounts>(spill);
    }

    void drop(quint64 bits) override { kept->remove(scaled(bits)); }

    QVariant scaledElement(quint64 bits) const override { return QVariant(element(bits)); }

    bool isSpilled() const override { return wide && wide->isSpilled(); }

    void forEachCount(const std::function<void(quint64 bits, quint64 times)>& visit) const override
    {
        const auto visitKey = [&](quint64 key, quint64 times) { visit(bitsOf(key), times); };
        if (wide)
            wide->forEach(visitKey);
        else
            narrow.forEach(visitKey);
    }

    void getStatistics(double k, Moments moments, SignalStatistics& statistics) const override
    {
        if (isNewestKnown())
            statistics.newest = scaled(newestBits());
        const bool areAllCounted = !wide || wide->isComplete();
        if (hasCounted || isOrderIgnored || (moments == Moments::Exact && areAllCounted))
            getCounted(statistics);
        else
            getRunning(statistics);
        statistics.median = median();
        statistics.lowerThreshold = statistics.average - statistics.deviation * k;
        statistics.upperThreshold = statistics.average + statistics.deviation * k;
        if (isNewestKnown())
            statistics.rating = rate(statistics);
        statistics.deviators =
            countLess(statistics.lowerThreshold) + countGreater(statistics.upperThreshold);
    }

private:
    void add(quint64 bits) override
    {
        const double value = scaled(bits);
        calculator.addValue(static_cast<N>(value));
        if (kept)
            kept->add(value);
        if (wide)
            wide->add(keyOf(bits));
        else
            narrow.add(static_cast<quint32>(keyOf(bits)));
    }

    void addToCounts(quint64 bits, quint64 times) override
    {
        if (wide)
            wide->add(keyOf(bits), times);
        else
            narrow.add(static_cast<quint32>(keyOf(bits)), times);
    }

    void clearStatistics() override
    {
        calculator.clear();
        narrow.clear();
        if (wide)
            wide->clear();
        if (kept)
            kept->clear();
    }

    N element(quint64 bits) const { return static_cast<N>(scaled(bits)); }

    quint64 keyAt(qint64 position) const
    {
        const auto place = static_cast<quint64>(position);
        return wide ? wide->keyAt(place) : narrow.keyAt(place);
    }

    void getRunning(SignalStatistics& statistics) const
    {
        statistics.average = calculator.getAverage();
        statistics.deviation = calculator.getDeviation();
        statistics.maximum = static_cast<double>(calculator.getMaximum());
        statistics.minimum = static_cast<double>(calculator.getMinimum());
    }

    /// The same from the counts, without infinite values, which the library ignores too.
    void getCounted(SignalStatistics& statistics) const
    {
        CountedMoments moments;
        double least = std::numeric_limits<double>::infinity();
        double greatest = -least;
        forEachCount([&](quint64 bits, quint64 times) {
            const double value = static_cast<double>(element(bits)) + 0.0; // -0 becomes 0
            moments.add(value, times);
            if (!std::isfinite(value))
                return;
            least = std::min(least, value);
            greatest = std::max(greatest, value);
        });
        const bool hasNumbers = least <= greatest;
        statistics.average = moments.average();
        statistics.deviation = moments.deviation();
        statistics.minimum = hasNumbers ? least : 0;
        statistics.maximum = hasNumbers ? greatest : 0;
    }

    /// Whether the median and the deviators are those of the kept values.
    bool isLimited() const { return kept && !isOrderIgnored; }

    /// The number of the first values, in order of their keys, that satisfy \a isBefore.
    template <typename IsBefore>
    qint64 countWhile(IsBefore isBefore) const
    {
        const auto isKeyBefore = [&](quint64 key) { return isBefore(scaled(bitsOf(key))); };
        return static_cast<qint64>(wide ? wide->countWhile(isKeyBefore)
                                        : narrow.countWhile(isKeyBefore));
    }

    // Scaled values increase with their keys, or decrease if the factor is negative.

    qint64 countLess(double limit) const
    {
        if (isLimited())
            return kept->below(limit);
        if (factor >= 0)
            return countWhile([=](double value) { return value < limit; });
        return count() - countWhile([=](double value) { return !(value < limit); });
    }

    qint64 countGreater(double limit) const
    {
        if (isLimited())
            return kept->above(limit);
        if (factor < 0)
            return countWhile([=](double value) { return value > limit; });
        return count() - countWhile([=](double value) { return !(value > limit); });
    }

    double median() const
    {
        if (isLimited())
            return kept->median();
        const N upper = element(bitsOf(keyAt(count() / 2)));
        if (count() % 2 == 1)
            return static_cast<double>(upper);
        const N lower = element(bitsOf(keyAt(count() / 2 - 1)));
        return SimpleStatisticCalculator<N>::calcMedian(QList<N>{lower, upper});
    }

    /// The user's limits apply to a single value too, unlike the band.
    int rate(const SignalStatistics& statistics) const
    {
        CANopenObjectValue value;
        value.scaledValue = scaledElement(newestBits());
        if (limits)
            return GenericValueHandler<double, CANopenObjectValue>::getRating(
                value, limits->lowest, limits->highest, statistics.average);
        constexpr int fullRating = 100;
        if (count() < 2)
            return fullRating;
        return GenericValueHandler<N, CANopenObjectValue>::getRating(
            value, statistics.lowerThreshold, statistics.upperThreshold, statistics.average);
    }

    NarrowCounts narrow;
    std::unique_ptr<WideCounts> wide;  // null: there are at most 16 bits
    std::unique_ptr<ValueCounts> kept; // the newest values, if only these are kept
    StatisticCalculator<N> calculator{std::nullopt};
    std::optional<ValueRange> limits; // for the rating, instead of the band
};

/// Values that are passed through.
class PassedValues : public SignalValues
{
public:
    explicit PassedValues(const CatalogueSignal& signal)
        : SignalValues(signal), layout(signal.layout)
    {
    }

    void drop(quint64 /*bits*/) override {}
    QVariant scaledElement(quint64 bits) const override { return rawValueOf(bits, layout); }
    void
    forEachCount(const std::function<void(quint64 bits, quint64 times)>& /*visit*/) const override
    {
    }
    void getStatistics(double /*k*/, Moments /*moments*/,
                       SignalStatistics& statistics) const override
    {
        statistics.isPassedThrough = true;
        if (!isNewestKnown())
            return;
        const QVariant value = rawValueOf(newestBits(), layout);
        const bool isBytes = value.userType() == QMetaType::QByteArray;
        statistics.newestText =
            isBytes ? QString::fromLatin1(value.toByteArray().toHex(' ')) : value.toString();
        if (holdsNumber(layout) && std::fabs(value.toDouble()) <= exactIntegers)
            statistics.newestNumber = value.toDouble();
    }

private:
    void add(quint64 /*bits*/) override {}
    void addToCounts(quint64 /*bits*/, quint64 /*times*/) override {}
    void clearStatistics() override {}

    SignalLayout layout;
};

template <typename N>
std::unique_ptr<SignalValues> makeTyped(const CatalogueSignal& signal, SpillFile* spill)
{
    return std::make_unique<TypedValues<N>>(signal, spill);
}

} // namespace

SignalValues::SignalValues(const CatalogueSignal& signal)
    : factor(signal.scaling.factor),
      offset(signal.scaling.offset),
      isSigned(signal.layout.isSigned),
      isFloat(signal.layout.isFloat),
      length(static_cast<quint8>(signal.layout.length))
{
}

void SignalValues::clear()
{
    clearStatistics();
    recorded = notAvailable = errors = 0;
    seenTimes = SeenTimes();
    hasCounted = isOrderIgnored = false;
    isChanged = true;
}

void SignalValues::setCounts(qint64 ofNotAvailable, qint64 ofErrors)
{
    notAvailable = ofNotAvailable;
    errors = ofErrors;
    isChanged = true;
}

void SignalValues::addTimes(const SeenTimes& other)
{
    isChanged = true;
    seenTimes.first = std::min(seenTimes.first, other.first);
    if (other.areKnown())
        seenTimes.add(other.last, other.newestBits);
    ignoreOrder();
}

void SignalValues::ignoreOrder()
{
    isChanged = isChanged || !isOrderIgnored;
    isOrderIgnored = true;
    newest = seenTimes.newestBits;
}

std::unique_ptr<SignalValues> SignalValues::make(const CatalogueSignal& signal, SpillFile* spill)
{
    if (signal.layout.passThrough)
        return std::make_unique<PassedValues>(signal);
    switch (datatypeOf(signal)) {
    case CANopenDataType::UNSIGNED8:
        return makeTyped<unsigned char>(signal, spill);
    case CANopenDataType::UNSIGNED16:
        return makeTyped<unsigned short>(signal, spill);
    case CANopenDataType::UNSIGNED24:
    case CANopenDataType::UNSIGNED32:
        return makeTyped<unsigned int>(signal, spill);
    case CANopenDataType::UNSIGNED40:
    case CANopenDataType::UNSIGNED48:
    case CANopenDataType::UNSIGNED64:
        return makeTyped<unsigned long long>(signal, spill);
    case CANopenDataType::INTEGER8:
        return makeTyped<signed char>(signal, spill);
    case CANopenDataType::INTEGER16:
        return makeTyped<short>(signal, spill);
    case CANopenDataType::INTEGER24:
    case CANopenDataType::INTEGER32:
        return makeTyped<int>(signal, spill);
    case CANopenDataType::INTEGER64:
        return makeTyped<long long>(signal, spill);
    case CANopenDataType::REAL32:
        return makeTyped<float>(signal, spill);
    default:
        return makeTyped<double>(signal, spill);
    }
}

} // namespace monitor
