#pragma once

#include "SignalModel.h"
#include "SignalPlot.h"
#include "engine/Session.h"
#include "engine/Snapshot.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QMainWindow>
#include <QtWidgets/QStyle>
#include <QtWidgets/QToolBar>

namespace monitor
{

class SignalView;

/// The window of a live run: the table of its signals, and the chart of the selected signal.
/// Closing it ends the run.
class MonitorWindow : public QMainWindow, public SnapshotSink
{
public:
    /// Opens a window for \a shownSession, which must outlive this object. The title contains
    /// \a name, the name of the bus. Signals with a rating below \a leastRating are highlighted.
    MonitorWindow(Session& shownSession, const QString& name, int leastRating);

    /// Shows the current state of the run. Returns false once the window is closed.
    [[nodiscard]] bool take(const Snapshot& snapshot, const BusState& bus) override;

private:
    /// Writes a file. Returns an error message that names the file, or an empty string on success.
    using Writer = QString (MonitorWindow::*)(const QString& fileName);

    void layOut();
    void addTools();
    QAction* addTool(const QString& text, const QString& hint, QStyle::StandardPixmap icon,
                     const QKeySequence& shortcut);
    void addFilter();
    void askForFile(const QString& suffix, Writer write);
    QString writeChart(const QString& fileName);      // the visible part
    QString writeStatistics(const QString& fileName); // of all signals, also those filtered out
    void pause(bool wanted);
    void reset();
    bool isUpToDate() const;
    void showNow();
    void showMessages();
    void showChart();

    Session& session;
    LiveTable liveTable;
    LiveTable updated{0}; // the table when the display was updated
    bool isRefreshing = false;
    QStringList remarks; // of the session
    QString savedFile;   // a message about the last file that the user saved
    SignalModel model;
    // Owned by the window:
    QToolBar* const tools;
    QLabel* const header;
    QLabel* const message;
    SignalView* const table;
    SignalPlot* const plot;
};

} // namespace monitor
