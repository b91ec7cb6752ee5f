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

    /// In microseconds: shorter gaps can arise because the system delivers frames in portions.
    static constexpr double shortestSilence = 200000;

    /// A value came at \a microseconds. For the period, a time that is not later than that of the
    /// previous value is ignored.
    void add(qint64 microseconds);

    /// The usual period in microseconds: a running average that weighs the newest period by an
    /// eighth. A break counts as five periods at most. None before the second value.
    std::optional<double> period() const { return usualPeriod; }

    /// Whether at the time \a now there has been no value for five usual periods and the shortest
    /// silence.
    bool isSilent(qint64 now) const;

private:
    std::optional<qint64> newest;
    std::optional<double> usualPeriod;
};

} // namespace monitor
