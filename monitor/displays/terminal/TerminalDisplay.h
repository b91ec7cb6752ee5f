#pragma once

#include "KeyReader.h"
#include "LiveScreen.h"
#include "Terminal.h"
#include "displays/LiveTable.h"
#include "engine/Session.h"
#include "engine/Snapshot.h"

namespace monitor
{

/// The live table on the terminal, which is restored when this object is destroyed.
class TerminalDisplay : public SnapshotSink
{
public:
    /// Shows \a shownSession, which must outlive this object. Signals with a rating below
    /// \a leastRating are highlighted.
    TerminalDisplay(Session& shownSession, int leastRating)
        : session(shownSession), table(leastRating), view(table)
    {
    }

    /// Handles the keys that were pressed, and draws. Returns false if the user ends the run.
    [[nodiscard]] bool take(const Snapshot& snapshot, const BusState& bus) override;

private:
    bool handleKeys();

    Session& session;
    LiveTable table;
    Terminal terminal;
    KeyReader keys;
    LiveView view;
    LiveScreen screen;
};

} // namespace monitor
