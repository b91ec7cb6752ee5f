#pragma once

#include "Snapshot.h"

namespace monitor
{

/// Receives the snapshots of a live run: a display, or a publisher.
class SnapshotSink
{
public:
    virtual ~SnapshotSink() = default;

    /// Takes the run as it is now; called several times a second. Returns false to end the run.
    [[nodiscard]] virtual bool take(const Snapshot& snapshot, const BusState& bus) = 0;
};

} // namespace monitor
