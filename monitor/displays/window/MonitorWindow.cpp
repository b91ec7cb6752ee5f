#include "MonitorWindow.h"

#include "text/Table.h"
#include "text/WholeFile.h"
#include "views/SignalChart.h"
#include "views/statisticsFields.h"

// In QtWidgets with Qt 5, in QtGui with Qt 6.
#include <QAction>
#include <QShortcut>

#include <QtWidgets/QFileDialog>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTableView>

#include <algorithm>

namespace monitor
{

namespace
{

constexpr QSize initialSize(1120, 700);

/// The number of events on the bus.
qint64 eventsIn(const LiveTable& table)
{
    const FrameCounts& counts = table.snapshot().counts;
    return counts.total + counts.dropped + counts.errors;
}

} // namespace

/// The table of the signals, one of which is selected. Its columns never get narrower, so that they
/// stay in place.
class SignalView : public QTableView
{
public:
    SignalView();

    /// Widens the columns as far as their visible cells need.
    void widenColumns();
};

SignalView::SignalView()
{
    constexpr int rowMargin = 4;
    QFont smaller = font(); // there are many columns
    smaller.setPointSizeF(smaller.pointSizeF() * 0.9);
    setFont(smaller);
    horizontalHeader()->setFont(smaller);
    horizontalHeader()->setResizeContentsPrecision(0); // visible rows only
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setHorizontalScrollMode(ScrollPerPixel);
    setWordWrap(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + rowMargin);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setMinimumSectionSize(fontMetrics().height());
    horizontalHeader()->setDefaultSectionSize(fontMetrics().height());
}

void SignalView::widenColumns()
{
    for (int column = 0; column < model()->columnCount(); ++column) {
        const int wanted =
            std::max(horizontalHeader()->sectionSizeHint(column), sizeHintForColumn(column));
        if (wanted > columnWidth(column))
            setColumnWidth(column, wanted);
    }
}

MonitorWindow::MonitorWindow(Session& shownSession, const QString& name, int leastRating)
    : session(shownSession),
      liveTable(leastRating),
      model(liveTable, session.registry()),
      tools(new QToolBar),
      header(new QLabel),
      message(new QLabel),
      table(new SignalView),
      plot(new SignalPlot)
{
    session.keepOutlines(SeriesOutline::Detail::Newest);
    setWindowTitle(name + QStringLiteral(" - vantrel"));
    table->setModel(&model);
    connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { showChart(); });
    const auto showMore = [this] { table->widenColumns(); }; // as long as there is a model
    connect(table->verticalScrollBar(), &QScrollBar::valueChanged, &model, showMore);
    connect(table->verticalScrollBar(), &QScrollBar::rangeChanged, &model, showMore);
    addTools();
    addFilter();
    layOut();
    resize(initialSize);
    show();
}

bool MonitorWindow::take(const Snapshot& snapshot, const BusState& bus)
{
    liveTable.update(snapshot, bus);
    if (!isVisible())
        return false;
    const QStringList newRemarks = session.urgentRemarks();
    if (newRemarks != remarks) {
        remarks = newRemarks;
        showMessages();
    }
    if (!liveTable.isPaused() && !isUpToDate())
        showNow();
    return true;
}

/// Whether nothing has happened since the display was updated, less than a second ago.
bool MonitorWindow::isUpToDate() const
{
    constexpr qint64 second = 1000000;
    const qint64 age = liveTable.bus().now - updated.bus().now;
    return liveTable.hasSameRows(updated) && age >= 0 && age < second &&
           eventsIn(liveTable) == eventsIn(updated);
}

QString MonitorWindow::writeChart(const QString& fileName)
{
    return writeImage(plot->grab().toImage(), fileName);
}

QString MonitorWindow::writeStatistics(const QString& fileName)
{
    const Snapshot saved = liveTable.isPaused() ? liveTable.snapshot() : session.calcSnapshot();
    return writeWholeFile(fileName, formatCsv(saved).toUtf8());
}

void MonitorWindow::layOut()
{
    addToolBar(tools);
    tools->setMovable(false);
    setContextMenuPolicy(Qt::NoContextMenu); // the menu would offer to hide the tools
    auto* const parts = new QSplitter(Qt::Vertical);
    parts->addWidget(table);
    parts->addWidget(plot);
    parts->setSizes({initialSize.height() * 2 / 5, initialSize.height() * 3 / 5});
    setCentralWidget(parts);
    for (QLabel* const label : {header, message}) {
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    }
    header->setObjectName(QStringLiteral("header"));
    message->setObjectName(QStringLiteral("message"));
    message->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // it may be long
    statusBar()->addPermanentWidget(header);
    statusBar()->addPermanentWidget(message, 1);
}

void MonitorWindow::addTools()
{
    tools->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    QAction* const pausing = addTool(QStringLiteral("Pause"), QStringLiteral("Freeze the display"),
                                     QStyle::SP_MediaPause, Qt::Key_P);
    pausing->setCheckable(true);
    connect(pausing, &QAction::toggled, this, &MonitorWindow::pause);
    connect(addTool(QStringLiteral("Reset"), QStringLiteral("Delete all values and counts"),
                    QStyle::SP_BrowserReload, Qt::Key_R),
            &QAction::triggered, this, &MonitorWindow::reset);
    connect(addTool(QStringLiteral("Follow"),
                    QStringLiteral("Scroll the chart to the end and follow it"),
                    QStyle::SP_MediaSkipForward, Qt::Key_F),
            &QAction::triggered, plot, &SignalPlot::follow);
    connect(addTool(QStringLiteral("Save chart"), QStringLiteral("Save the chart as PNG"),
                    QStyle::SP_DialogSaveButton, QKeySequence::Save),
            &QAction::triggered, this,
            [this] { askForFile(QStringLiteral("png"), &MonitorWindow::writeChart); });
    connect(addTool(QStringLiteral("Save statistics"), QStringLiteral("Save all statistics as CSV"),
                    QStyle::SP_DialogSaveButton, QKeySequence(QStringLiteral("Ctrl+Shift+S"))),
            &QAction::triggered, this,
            [this] { askForFile(QStringLiteral("csv"), &MonitorWindow::writeStatistics); });
}

QAction* MonitorWindow::addTool(const QString& text, const QString& hint,
                                QStyle::StandardPixmap icon, const QKeySequence& shortcut)
{
    QAction* const tool = tools->addAction(style()->standardIcon(icon), text);
    tool->setShortcut(shortcut);
    tool->setToolTip(hint + QStringLiteral(" (%1)").arg(shortcut.toString()));
    return tool;
}

void MonitorWindow::addFilter()
{
    auto* const filter = new QLineEdit;
    filter->setPlaceholderText(QStringLiteral("Filter signals (/, Esc)"));
    filter->setMaximumWidth(220);
    connect(filter, &QLineEdit::textChanged, this, [this](const QString& text) {
        liveTable.setFilter(text);
        showNow();
    });
    auto* const space = new QWidget;
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    tools->addWidget(space);
    tools->addWidget(filter);
    auto* const typing = new QShortcut(Qt::Key_Slash, this);
    connect(typing, &QShortcut::activated, filter, [filter] { filter->setFocus(); });
    auto* const all = new QShortcut(Qt::Key_Escape, filter);
    all->setContext(Qt::WidgetShortcut);
    connect(all, &QShortcut::activated, filter, &QLineEdit::clear);
}

// The dialog has no event loop of its own, so the run continues, and can end, while it is open.
void MonitorWindow::askForFile(const QString& suffix, Writer write)
{
    auto* const dialog = new QFileDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(QStringLiteral("*.") + suffix);
    dialog->setDefaultSuffix(suffix);
    connect(dialog, &QFileDialog::fileSelected, this, [this, write](const QString& fileName) {
        const QString error = (this->*write)(fileName);
        savedFile = error.isEmpty() ? QStringLiteral("Saved ") + fileName : error;
        showMessages();
    });
    dialog->open();
}

void MonitorWindow::pause(bool wanted)
{
    liveTable.setPaused(wanted);
    showNow();
}

void MonitorWindow::reset()
{
    session.clear();
    plot->clear();
    liveTable.replace(session.getSnapshot(liveTable.newestBus().now));
    showNow();
}

void MonitorWindow::showNow()
{
    updated = liveTable;
    header->setText(formatHeader(liveTable.bus(), liveTable.snapshot().counts));
    isRefreshing = true; // the current row may change several times
    const bool isChanged = model.refresh();
    isRefreshing = false;
    if (isChanged) {
        if (!table->currentIndex().isValid() && model.rowCount() > 0)
            table->selectRow(0);
        table->widenColumns();
    }
    showChart();
}

/// Shows the messages in one line, as far as they fit, and below each other in a tooltip.
void MonitorWindow::showMessages()
{
    QStringList messages = remarks;
    if (!savedFile.isEmpty())
        messages.prepend(savedFile);
    std::transform(messages.begin(), messages.end(), messages.begin(), printable);
    message->setText(messages.join(QStringLiteral("  ")));
    message->setToolTip(messages.isEmpty() ? QString() : toolTipOf(messages));
}

void MonitorWindow::showChart()
{
    const int row = table->currentIndex().row();
    if (isRefreshing || row < 0)
        return;
    const SnapshotRow& shown = liveTable.row(row);
    plot->plot(session.registry().at(shown.signal), shown.statistics,
               static_cast<double>(liveTable.bus().now) / 1e6);
}

} // namespace monitor
