#pragma once

#include "catalogue/Catalogue.h"
#include "commandOptions.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// What is known before the first frame comes.
struct Preparation {
    Catalogue catalogue;
    double k = 3; ///< half the width of the band, in deviations
};

/// Prints the first of \a problems and their total to \a messages.
void print(const Problems& problems, QTextStream& messages);

/// Reads the files that \a options name and changes \a prepared accordingly; command-line options
/// take precedence over the configuration. Places of a description that cannot be used are printed
/// to \a messages. Returns why that failed; empty if it did not.
[[nodiscard]] QString prepare(const MonitorOptions& options, QTextStream& messages,
                              Preparation& prepared);

/// The message that nothing from \a origin could be decoded with the descriptions of \a options.
QString nothingDecoded(const QString& origin, const MonitorOptions& options);

} // namespace monitor
