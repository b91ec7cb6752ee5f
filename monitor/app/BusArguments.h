#pragma once

#include "LiveCommand.h"
#include "SendCommand.h"

#include <QtCore/QCommandLineParser>

namespace monitor
{

/// The options of the commands that use a bus.
void describeBusOptions(QCommandLineParser& parser);

/// The names of the options that belong to `live` beside those about what to look for.
QStringList liveOptionNames();

/// The names of the options that belong to `send`.
QStringList sendOptionNames();

/// Reads these options of `live`. Returns the complaint about them, empty if there is none.
QString readLiveOptions(const QCommandLineParser& parser, LiveOptions& options);

/// Reads the options of `send`. Returns the complaint about them, empty if there is none.
QString readSendOptions(const QCommandLineParser& parser, SendOptions& options);

} // namespace monitor
