#pragma once

#include <QtCore/qglobal.h>

#include <optional>

namespace monitor
{

/// When the values of a signal come: how long it usually takes from one to the next, and whether
/// they stay away.
class Rhythm
{
public:
    /// The usual periods without a value that are taken for silence.
    static constexpr double silentPeriods = 5;

    /// In microseconds: less is only the way that frames take through the system, in portions.
    static constexpr double shortestSilence = 200000;

    /// A value came at \a microseconds. The same or an earlier time than that of the value before
    /// it tells nothing of the period.
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
