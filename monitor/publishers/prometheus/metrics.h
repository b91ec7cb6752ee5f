#pragma once

#include "engine/Snapshot.h"

#include <QtCore/QByteArray>

namespace monitor
{

/// The newest state of a run as metrics in the text format of Prometheus, version 0.0.4. Signals of
/// a snapshot without names of buses get the label of \a busName. Gauges of a signal without values
/// are left out.
QByteArray formatMetrics(const Snapshot& snapshot, const BusState& bus, const QString& busName);

} // namespace monitor
