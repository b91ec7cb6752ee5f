#pragma once

#include "descriptions/SignalSettings.h"

#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <optional>

namespace monitor
{

/// The exit codes of the program.
enum class ExitCode {
    Success = 0,
    NothingDecoded = 1,
    WrongUse = 2 ///< or a file that cannot be read
};

enum class OutputFormat { Table, Json, Csv };

/// A CANopen node and the file that describes it.
struct NodeDescription {
    QString fileName; ///< of an EDS or DCF
    quint8 node = 0;  ///< 1 to 127
};

/// What to replay, and how.
struct ReplayOptions {
    QString recording; ///< file name of a log of candump or of a Vector tool
    QString dbc;       ///< file name of a DBC; empty if there is none
    QVector<NodeDescription> nodes;
    QStringList patterns; ///< of the signals to report; none: all of them
    QVector<SignalLimits> limits;
    QString config;          ///< file name of a configuration; empty if there is none
    std::optional<double> k; ///< half the width of the band, in deviations; 3 if nothing says so
    OutputFormat format = OutputFormat::Table;
};

/// Replays a recording as fast as it can be read and prints the reports of all signals to \a
/// output. Messages for the user go to \a messages.
ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& messages);

} // namespace monitor
