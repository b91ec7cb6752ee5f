#pragma once

#include "engine/Session.h"
#include "engine/Snapshot.h"

#include <memory>

namespace monitor
{

/// What a display needs to know besides the session.
struct DisplaySettings {
    QString source;       ///< name of the bus
    int leastRating = 50; ///< signals rated under it are highlighted
};

/// A way to watch a live run: a row of the table.
struct DisplayKind {
    const char* name;  ///< a value of --display
    const char* help;  ///< what it is, for that option
    bool needsWidgets; ///< true: there must be a QApplication
    /// Returns why nothing can be displayed here; empty if it can.
    QString (*check)();
    /// A display of \a session, which must outlive it.
    std::unique_ptr<SnapshotSink> (*make)(Session& session, const DisplaySettings& settings);
};

/// All displays: a new one is a row here. The first one is the default of "vantrel live" for a
/// table.
const QVector<DisplayKind>& displayKinds();

/// The display of that name, or null.
const DisplayKind* findDisplay(const QString& name);

} // namespace monitor
