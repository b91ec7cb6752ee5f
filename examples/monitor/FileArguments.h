#pragma once

#include "MonitorOptions.h"

#include <QtCore/QCommandLineParser>

namespace monitor
{

/// Adds the options about what is written and kept of the signals to \a parser.
void addFileOptions(QCommandLineParser& parser);

/// Reads them into \a options. Returns the complaint about them, empty if there is none.
QString readFileOptions(const QCommandLineParser& parser, MonitorOptions& options);

} // namespace monitor
