#pragma once

#include "RunOutputs.h"
#include "arguments/commandOptions.h"
#include "catalogue/Catalogue.h"
#include "catalogue/RunOrigin.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// The result of reading the descriptions and the configuration of a run.
struct Preparation {
    Catalogue catalogue;
    RunOrigin origin;
    double k = 3; ///< half the width of the band, in deviations
};

/// Prints the first few of \a problems and their total number to \a diagnostics.
void print(const Problems& problems, QTextStream& diagnostics);

/// Prints the buses that have a description in \a options but no frames in \a source.
void printMissingBuses(const MonitorOptions& options, const FrameSource& source,
                       QTextStream& diagnostics);

/// Reads the files named in \a options into \a prepared. Command-line options take precedence over
/// the configuration. Problems in a description are printed to \a diagnostics. Returns an error
/// message, or an empty string on success.
[[nodiscard]] QString prepare(const MonitorOptions& options, QTextStream& diagnostics,
                              Preparation& prepared);

/// A run that is ready for its first frame, unless there is an error.
struct PreparedRun {
    RunOutputs outputs;
    std::unique_ptr<Session> session;
    QString error; ///< why the run cannot start; empty if it can
};

/// Reads the files named in \a options, see prepare(), and checks that the outputs can be written.
[[nodiscard]] PreparedRun prepareRun(const MonitorOptions& options, QTextStream& output,
                                     QTextStream& diagnostics);

} // namespace monitor
