#pragma once

#include "SignalModel.h"
#include "SignalPlot.h"
#include "SignalView.h"
#include "app/LiveCommand.h"
#include "displays/Display.h"

#include <QtCore/QSortFilterProxyModel>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMainWindow>
#include <QtWidgets/QStyle>
#include <QtWidgets/QToolBar>

namespace monitor
{

/// A live run as a window: the table of its signals, and the chart of the selected one. Closing it
/// is the wish to end the run.
class MonitorWindow : public QMainWindow, public Display
{
public:
    /// Opens and shows what \a liveSource brings, which must outlive this object.
    MonitorWindow(const LiveOptions& options, double k, LiveSource& liveSource);

    bool refresh() override;

private:
    /// Writes a file. Returns what made that impossible, naming the file; empty if nothing did.
    using Writer = QString (MonitorWindow::*)(const QString& fileName);

    void layOut();
    void addTools();
    QAction* addTool(const QString& text, const QString& hint, QStyle::StandardPixmap icon,
                     const QKeySequence& shortcut);
    void addFilter();
    void askForFile(const QString& suffix, Writer write);
    QString writeChart(const QString& fileName);   // as it is seen
    QString writeFigures(const QString& fileName); // of all signals, as they are seen
    void pause(bool wanted);
    void forget();
    void showNow();
    void showChart();
    int selectedRow() const;

    LiveSource& source;
    SignalModel model;
    QSortFilterProxyModel filtered;
    // The window's:
    QToolBar* const tools;
    QLabel* const header;
    SignalView* const table;
    SignalPlot* const plot;
    bool paused = false;
    double shownAt = 0; // seconds since the beginning
};

} // namespace monitor
