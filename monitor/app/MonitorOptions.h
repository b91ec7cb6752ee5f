#pragma once

#include "catalogue/Catalogue.h"
#include "catalogue/readers.h"
#include "outputs/outputs.h"

#include <optional>

namespace monitor
{

/// A description file and the reader of its format.
struct GivenDescription {
    const DescriptionReader* reader;
    DescriptionFile file;
};

/// An output into files, and where it goes.
struct GivenOutput {
    const OutputKind* kind;
    QString path;
};

/// Which signals to look for, wherever the frames come from, and how to print their statistics.
struct MonitorOptions {
    QVector<GivenDescription> descriptions;
    QStringList patterns; ///< of the signals to report; empty: all signals
    QVector<SignalSettings> limits;
    QString config;          ///< file name of a configuration; empty: no configuration
    std::optional<double> k; ///< half the width of the band, in deviations; default: 3
    int keptRecords = 0;     ///< how many of the newest records each signal keeps; 0: all
    const OutputKind* printed = &defaultOutputKind(); ///< what is printed at the end
    QVector<GivenOutput> files;                       ///< what else is written at the end
};

/// The exit codes of the program.
enum class ExitCode {
    Success = 0,
    NothingDecoded = 1, ///< or nothing sent
    /// Or a file that cannot be read, a bus that cannot be connected or is lost, or output that
    /// cannot be written.
    WrongUse = 2
};

} // namespace monitor
