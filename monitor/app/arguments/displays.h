#pragma once

#include "engine/Session.h"
#include "engine/Snapshot.h"

#include <memory>

namespace monitor
{

/// The settings of a display.
struct DisplaySettings {
    QString source;       ///< the name of the bus
    int leastRating = 50; ///< signals with a lower rating are highlighted
};

/// A kind of display, which shows a live run.
struct DisplayKind {
    const char* name;  ///< a value of --display
    const char* help;  ///< a description for the help on --display
    bool needsWidgets; ///< true: there must be a QApplication
    /// Returns a message if the display is not available, otherwise an empty string.
    QString (*check)();
    /// A display of \a session, which must outlive it.
    std::unique_ptr<SnapshotSink> (*make)(Session& session, const DisplaySettings& settings);
};

/// The table of displays. A new display needs a row here. The first one is the default of "vantrel
/// live" if the printed output is a table.
const QVector<DisplayKind>& displayKinds();

/// Returns the display of that name, or null if the name is unknown.
const DisplayKind* findDisplay(const QString& name);

} // namespace monitor
