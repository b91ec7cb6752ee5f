#pragma once

#include "MonitorOptions.h"

#include <QtCore/QCommandLineParser>

namespace monitor
{

/// Adds the options about what is written and kept of the signals to \a parser.
void describeFileOptions(QCommandLineParser& parser);

/// Their names.
QStringList fileOptionNames();

/// The names of those that belong to `show`.
QStringList showOptionNames();

/// Reads them into \a options. Returns the complaint about them, empty if there is none.
QString readFileOptions(const QCommandLineParser& parser, MonitorOptions& options);

} // namespace monitor
