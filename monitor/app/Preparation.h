#pragma once

#include "MonitorOptions.h"
#include "catalogue/Catalogue.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// What is known before the first frame comes.
struct Preparation {
    Catalogue catalogue;
    double k = 3; ///< half the width of the band, in deviations
};

/// Reads the files that \a options name into \a prepared and checks that the files to be written
/// can be. Command-line options take precedence over the configuration. Problems of a description
/// are printed to \a messages. Returns an error, or an empty text.
[[nodiscard]] QString prepare(const MonitorOptions& options, QTextStream& messages,
                              Preparation& prepared);

/// Returns why the files that \a options ask for cannot be written, or an empty text. Checked
/// before a run, so that hours of a bus are not recorded in vain. The directory for plots is
/// created.
[[nodiscard]] QString checkTargets(const MonitorOptions& options);

/// The names of the files that describe the signals, for messages.
QString descriptionFilesOf(const MonitorOptions& options);

} // namespace monitor
