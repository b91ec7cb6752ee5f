#pragma once

#include <QtCore/qglobal.h>

#include <optional>

namespace monitor
{

/// The timing of the values of a signal: the usual period between two values, and whether the
/// signal is silent.
class Rhythm
{
public:
    /// The number of usual periods without a value after which a signal is silent.
    static constexpr double silentPeriods = 5;

    /// In microseconds. Shorter gaps can occur because the system delivers frames in batches.
    static constexpr double shortestSilence = 200000;

    /// Adds a value received at \a microseconds. If that is not later than the previous value, the
    /// period does not change.
    void add(qint64 microseconds);

    /// The usual period in microseconds: a running average in which the newest period has a weight
    /// of 1/8. A gap counts as at most five periods. Empty before the second value.
    std::optional<double> period() const { return usualPeriod; }

    /// Whether at the time \a now there has been no value for more than five usual periods and more
    /// than the shortest silence.
    bool isSilent(qint64 now) const { return now > notSilentUntil(); }

    /// The latest time at which the signal is not yet silent if no further value arrives. The
    /// greatest number if that is unknown.
    qint64 notSilentUntil() const;

private:
    std::optional<qint64> newest;
    std::optional<double> usualPeriod;
};

} // namespace monitor
