#pragma once

#include "MonitorOptions.h"
#include "catalogue/Catalogue.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// What the options lead to before the first frame comes.
struct Preparation {
    QVector<CatalogueMessage> descriptions;
    double k = 3; ///< half the width of the band, in deviations
};

/// Reads the files that \a options name and changes \a prepared accordingly; what stands in the
/// arguments counts more than the configuration. Lines of a description that cannot be used are
/// told to \a messages. Sees to it that the files can be written that are asked for. Returns what
/// made all that impossible, empty if nothing did.
QString prepare(const MonitorOptions& options, QTextStream& messages, Preparation& prepared);

/// Returns why the files that \a options ask for cannot be written, empty if nothing stands against
/// it: not to be learnt when hours of a bus have been recorded. The directory for plots is made.
QString checkTargets(const MonitorOptions& options);

/// The names of the files that describe the signals, for messages.
QString descriptionFilesOf(const MonitorOptions& options);

} // namespace monitor
