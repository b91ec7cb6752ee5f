#pragma once

#include "catalogue/Catalogue.h"
#include "catalogue/readers.h"
#include "displays.h"
#include "outputs/outputs.h"
#include "sources/bus/BusAddress.h"

#include <limits>
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
    /// A usage error, a file that cannot be read, a bus that cannot be connected or is lost, or
    /// output that cannot be written.
    Failure = 2
};

/// What `vantrel replay` needs to know.
struct ReplayOptions : MonitorOptions {
    QString recording; ///< file name
};

/// What `vantrel live` needs to know.
struct LiveOptions : MonitorOptions {
    static constexpr double unlimited = std::numeric_limits<double>::infinity();

    BusAddress bus;
    double bitRate = 250000; ///< of the bus, for its load
    /// Null: the first of the table, if it can be shown and a table is printed at the end.
    const DisplayKind* display = nullptr;
    int leastRating = 50;        ///< signals rated under it are highlighted
    double duration = unlimited; ///< in seconds
    double frames = unlimited;   ///< the run ends when at least that many have been received
};

/// What `vantrel send` needs to know.
struct SendOptions {
    QString recording; ///< file name
    BusAddress bus;
    double speed = 1; ///< times as fast as recorded; infinite: as fast as possible
};

/// What `vantrel show` needs to know. The descriptions and signals are those of the saved run.
struct ShowOptions : MonitorOptions {
    QString file; ///< name of a file of a saved run
};

} // namespace monitor
