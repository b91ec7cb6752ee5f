#pragma once

#include "catalogue/Catalogue.h"

#include <optional>

namespace monitor
{

/// A CANopen node and the file that describes it.
struct NodeDescription {
    QString fileName; ///< of an EDS or DCF
    quint8 node = 0;  ///< 1 to 127
};

/// What to look for in the frames, wherever they come from, and how to print what is found.
struct MonitorOptions {
    QString dbc; ///< file name of a DBC; empty if there is none
    QVector<NodeDescription> nodes;
    QStringList patterns; ///< of the signals to report; none: all of them
    QVector<SignalSettings> limits;
    QString config;          ///< file name of a configuration; empty if there is none
    std::optional<double> k; ///< half the width of the band, in deviations; 3 if nothing says so
    QString format = QStringLiteral("table"); ///< name of a printed output
    int keptRecords = 0;   ///< how many of the newest records each signal keeps; 0: all
    QString plotDirectory; ///< where to write plots to; empty: nowhere
    QString saveFile;      ///< name of the file to save the series in; empty: in none
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
