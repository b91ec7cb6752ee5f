#pragma once

#include "../signals/SignalReport.h"

#include <QtCore/QVector>

namespace monitor
{

/// What became of the lines of a recording.
struct FrameCounts {
    qint64 total = 0;   ///< frames, remote ones included
    qint64 decoded = 0; ///< frames in which at least one signal was found
    qint64 noFrame = 0; ///< lines that were no frame
};

/// The table of \a reports, one row each in the order given; "-" stands for a figure that a signal
/// without values does not have.
QString formatReports(const QVector<SignalReport>& reports);

/// The counts, a line each, and what the band is made of.
QString formatSummary(const FrameCounts& counts, double k);

} // namespace monitor
