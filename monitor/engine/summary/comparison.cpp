#include "comparison.h"

#include "SummarySignal.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace monitor
{

namespace
{

/// A signal of a run that has values.
struct Found {
    int number;
    std::shared_ptr<const SignalStatistics> statistics;
};

QHash<QByteArray, Found> signalsByDefinition(Session& session, const Snapshot& snapshot)
{
    QHash<QByteArray, Found> found;
    for (const SnapshotRow& row : snapshot.rows) {
        const bool hasStatistics = row.statistics->count > 0 && !row.statistics->isPassedThrough;
        if (hasStatistics)
            found.insert(keyOf(summarySignalOf(session, row.signal)), {row.signal, row.statistics});
    }
    return found;
}

/// The share of \a values outside the band of \a statistics.
double shareOutside(const SignalValues& values, const SignalStatistics& statistics)
{
    quint64 outside = 0;
    values.forEachCount([&](quint64 bits, quint64 times) {
        const double value = values.scaled(bits);
        if (value < statistics.lowerThreshold || value > statistics.upperThreshold)
            outside += times;
    });
    return static_cast<double>(outside) / static_cast<double>(values.count());
}

/// Name, source and bus as a key.
QByteArray nameOf(const SummarySignal& signal)
{
    SummarySignal name;
    name.description.reportedName = signal.description.reportedName;
    name.source = signal.source;
    name.bus = signal.bus;
    return keyOf(name);
}

} // namespace

std::optional<double> SignalComparison::change() const
{
    if (!a || !b)
        return std::nullopt;
    const double difference =
        std::fabs(b->average - a->average) + std::fabs(b->deviation - a->deviation);
    if (difference == 0)
        return 0;
    return a->deviation > 0 ? difference / a->deviation : std::numeric_limits<double>::infinity();
}

RunComparison compareRuns(Session& a, Session& b)
{
    const Snapshot snapshotA = a.calcSnapshot();
    const Snapshot snapshotB = b.calcSnapshot();
    QHash<QByteArray, Found> inA = signalsByDefinition(a, snapshotA);
    QHash<QByteArray, Found> inB = signalsByDefinition(b, snapshotB);
    RunComparison result;
    QVector<SignalComparison> onlyInOne;
    QHash<QByteArray, SummarySignal> unmatched;
    for (const SnapshotRow& row : snapshotA.rows) {
        const SummarySignal signal = summarySignalOf(a, row.signal);
        const QByteArray key = keyOf(signal);
        if (!inA.contains(key))
            continue;
        const auto other = inB.constFind(key);
        const SignalValues& valuesA = a.registry().at(row.signal).values();
        SignalComparison comparison{row.statistics, nullptr, shareOutside(valuesA, *row.statistics),
                                    0};
        if (other == inB.cend()) {
            unmatched.insert(nameOf(signal), signal);
            onlyInOne.append(comparison);
            continue;
        }
        comparison.b = other->statistics;
        comparison.outsideB =
            shareOutside(b.registry().at(other->number).values(), *row.statistics);
        result.comparisons.append(comparison);
    }
    for (const SnapshotRow& row : snapshotB.rows) {
        const SummarySignal signal = summarySignalOf(b, row.signal);
        const QByteArray key = keyOf(signal);
        if (!inB.contains(key) || inA.contains(key))
            continue;
        onlyInOne.append({nullptr, row.statistics, 0, 0});
        const auto namesake = unmatched.constFind(nameOf(signal));
        if (namesake != unmatched.cend())
            result.notes +=
                QStringLiteral("signal \"%1\" is not compared, because its definitions "
                               "differ (%2)")
                    .arg(signal.description.reportedName, differencesBetween(*namesake, signal));
    }
    const auto orderOf = [](const SignalComparison& comparison) {
        return std::pair(comparison.change(), std::fabs(comparison.outsideB - comparison.outsideA));
    };
    std::stable_sort(result.comparisons.begin(), result.comparisons.end(),
                     [&](const SignalComparison& left, const SignalComparison& right) {
                         return orderOf(left) > orderOf(right);
                     });
    result.comparisons += onlyInOne;
    return result;
}

} // namespace monitor
