#include "TerminalDisplay.h"

namespace monitor
{

bool TerminalDisplay::take(const Snapshot& snapshot, const BusState& bus)
{
    table.update(snapshot, bus);
    if (!handleKeys())
        return false;
    view.fitTo(table.rowCount(), LiveScreen::rowsOn(terminal.size()));
    terminal.draw(screen.draw(table, view, terminal.size(), session.urgentRemarks()));
    return true;
}

bool TerminalDisplay::handleKeys()
{
    const QByteArray input = terminal.readInput();
    for (const Key& key : input.isEmpty() ? keys.finish() : keys.read(input)) {
        const LiveView::Request request = view.press(key);
        if (request == LiveView::Request::Quit)
            return false;
        if (request == LiveView::Request::Reset) {
            session.clear();
            table.replace(session.getSnapshot(table.newestBus().now));
        }
    }
    return true;
}

} // namespace monitor
