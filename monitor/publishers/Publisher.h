#pragma once

#include "engine/Snapshot.h"

#include <QtCore/QStringList>

namespace monitor
{

/// Sends the signals of a live run to other programs. It takes snapshots without delay, and never
/// ends the run.
class Publisher : public SnapshotSink
{
public:
    /// Publishes the statistics at the end of the run. May take a few seconds.
    virtual void finish(const Snapshot& /*snapshot*/) {}

    /// Lines for the user about events since the last call, such as a lost connection.
    virtual QStringList takeMessages() { return {}; }
};

} // namespace monitor
