#pragma once

#include "catalogue/Catalogue.h"
#include "catalogue/readers.h"
#include "displays.h"
#include "outputs/outputs.h"
#include "publishers.h"
#include "sources/FrameFilter.h"
#include "sources/bus/BusAddress.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>

namespace monitor
{

/// A description file and the reader of its format.
struct GivenDescription {
    const DescriptionReader* reader;
    DescriptionFile file;
    QString bus{}; ///< the bus that it describes; empty: all buses
};

/// An output to a file or directory, and its path.
struct GivenOutput {
    const OutputKind* kind;
    QString path;
};

/// A publisher, and the value of its option.
struct GivenPublisher {
    const PublisherKind* kind;
    QString value;
};

/// The options that do not depend on the source of the frames: descriptions, signals, outputs.
struct MonitorOptions {
    QVector<GivenDescription> descriptions;
    QStringList patterns; ///< of the signals to report; empty: all signals
    QVector<SignalSettings> limits;
    bool usesDescribedLimits = false; ///< for signals without other limits
    QString config;                   ///< file name of a configuration; empty: no configuration
    std::optional<double> k;          ///< half the width of the band, in deviations; default: 3
    int keptRecords = 0;              ///< how many of the newest records each signal keeps; 0: all
    const OutputKind* printed = &defaultOutputKind(); ///< the output printed at the end
    QVector<GivenOutput> files;                       ///< the other outputs
    FrameChoice choice;                               ///< the frames that are used
    /// The statistics that are printed.
    enum class Subject { Signals, Messages, Ids, Counts, Comparison } subject = Subject::Signals;
    std::map<QString, QString> labels; ///< of the summary
    QStringList groupedBy; ///< keys of labels: summaries with different values are not merged

    /// Whether an output of that name is written to a file.
    bool writes(const char* name) const
    {
        return std::any_of(files.begin(), files.end(), [name](const GivenOutput& given) {
            return QLatin1String(given.kind->name) == QLatin1String(name);
        });
    }
};

/// The exit codes of the program.
enum class ExitCode {
    Success = 0,
    NothingDecoded = 1, ///< or nothing sent
    /// A usage error, a file that cannot be read, a bus connection that fails or is lost, a
    /// recording that was not read to its end because of Ctrl-C, or output that cannot be written.
    Failure = 2
};

/// The options of `vantrel replay`.
struct ReplayOptions : MonitorOptions {
    QStringList recordings; ///< file names; "-" is standard input
    int threads = 0;        ///< how many read and record; 0: one per processor, at most 4
};

/// The options of `vantrel live`.
struct LiveOptions : MonitorOptions {
    static constexpr double unlimited = std::numeric_limits<double>::infinity();

    BusAddress bus;
    bool choosesBus = false; ///< whether the user chooses the bus and a description in a dialog
    double bitRate = 250000; ///< of the bus, from which its load is calculated
    /// Null: the first display in the table, if it is available and the printed output is a table.
    const DisplayKind* display = nullptr;
    QVector<GivenPublisher> publishers;
    PublisherSettings publishing; ///< of all publishers, without the values of their options
    int leastRating = 50;         ///< signals with a lower rating are highlighted
    double duration = unlimited;  ///< in seconds
    double frames = unlimited;    ///< the run ends when at least that many have been received
};

/// The options of `vantrel send`.
struct SendOptions {
    QStringList recordings; ///< file names; "-" is standard input
    FrameChoice choice;     ///< the frames that are sent
    BusAddress bus;
    double speed = 1; ///< times as fast as recorded; infinite: as fast as possible
};

/// The options of `vantrel show`, `vantrel merge` and `vantrel compare`. The descriptions and
/// signals are those of the files.
struct ShowOptions : MonitorOptions {
    QStringList inputs; ///< file names: a saved run, or summaries
    enum class Action { Show, Merge, Compare } action = Action::Show;
};

} // namespace monitor
