#pragma once

#include "engine/FrameCounts.h"
#include "engine/SignalReport.h"
#include "text/Table.h"

#include <QtCore/QVector>

namespace monitor
{

/// The columns of a table of reports.
QVector<Column> reportColumns();

/// The row of \a report in such a table; empty where a signal without values has no figure.
QStringList reportRow(const SignalReport& report);

/// The table of \a reports, one row each in the order given; "-" stands for a figure that a signal
/// without values does not have.
QString formatReports(const QVector<SignalReport>& reports);

/// A line for each signal that is rated by given limits; empty if there is none.
QString formatLimits(const QVector<SignalReport>& reports);

/// A line about messages of several frames; empty if there was none.
QString formatTransport(const TransportCounts& counts);

/// The counts, a line each, and what the band is made of.
QString formatSummary(const FrameCounts& counts, double k);

} // namespace monitor
