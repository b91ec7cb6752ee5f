#pragma once

#include "engine/Session.h"

namespace monitor
{

/// The values of a signal in two runs A and B. One of them may lack it.
struct SignalComparison {
    std::shared_ptr<const SignalStatistics> a; ///< null: no values
    std::shared_ptr<const SignalStatistics> b; ///< null: no values
    double outsideA = 0;                       ///< share of the values outside the band of A
    double outsideB = 0;

    /// The statistics of A, or those of B if A lacks the signal.
    const SignalStatistics& identity() const { return a ? *a : *b; }

    /// The difference of the averages plus that of the deviations, in deviations of A. Infinite if
    /// A has no deviation but B differs; empty if one of them lacks values.
    std::optional<double> change() const;
};

/// The differences between two runs.
struct RunComparison {
    /// Largest change first, then the largest change of the share outside the band. Signals of only
    /// one run follow, those of A first.
    QVector<SignalComparison> comparisons;
    /// A line for each signal whose definition in B differs. It has two entries in comparisons.
    QStringList notes;
};

/// Compares the signals of two merged runs. Signals are compared if their definitions agree.
RunComparison compareRuns(Session& a, Session& b);

} // namespace monitor
