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

/// A live run as a window: the table of its signals, and the chart of the selected one. Closing it
/// ends the run.
class MonitorWindow : public QMainWindow, public SnapshotSink
{
public:
    /// Opens and shows \a shownSession, which must outlive this object. \a name is that of the bus,
    /// for the title. Signals rated under \a leastRating are highlighted.
    MonitorWindow(Session& shownSession, const QString& name, int leastRating);

    /// Shows the run as it is now. Returns false once the window is closed.
    [[nodiscard]] bool take(const Snapshot& snapshot, const BusState& bus) override;

private:
    /// Writes a file. Returns why that failed, naming the file; empty if it did not.
    using Writer = QString (MonitorWindow::*)(const QString& fileName);

    void layOut();
    void addTools();
    QAction* addTool(const QString& text, const QString& hint, QStyle::StandardPixmap icon,
                     const QKeySequence& shortcut);
    void addFilter();
    void askForFile(const QString& suffix, Writer write);
    QString writeChart(const QString& fileName);      // as it is seen
    QString writeStatistics(const QString& fileName); // of all signals, as they are seen
    void pause(bool wanted);
    void forget();
    void showNow();
    void showChart();

    Session& session;
    LiveTable liveTable;
    bool isRefreshing = false;
    SignalModel model;
    // Owned by the window:
    QToolBar* const tools;
    QLabel* const header;
    SignalView* const table;
    SignalPlot* const plot;
};

} // namespace monitor
