#pragma once

#include "engine/SignalReport.h"

#include <QtCore/QVector>

namespace monitor
{

/// \a reports as comma-separated values (RFC 4180): a line of field names, then one for each
/// signal, ended by CR LF; texts that need it are quoted, and what is null in the JSON is empty.
/// The decimal point is a point everywhere.
QString formatCsv(const QVector<SignalReport>& reports);

} // namespace monitor
