#include "MonitorWindow.h"

#include "outputs/PlotFiles.h"
#include "text/WholeFile.h"
#include "views/ReportCsv.h"

#include <QtWidgets/QAction>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>

namespace monitor
{

namespace
{

constexpr QSize usualSize(1120, 700);
constexpr int nameColumn = 1; // after the mark

} // namespace

MonitorWindow::MonitorWindow(const LiveOptions& options, double k, LiveSource& liveSource)
    : source(liveSource),
      model(liveSource, k, options.leastRating),
      tools(new QToolBar),
      header(new QLabel),
      table(new SignalView),
      plot(new SignalPlot)
{
    filtered.setSourceModel(&model);
    filtered.setFilterKeyColumn(nameColumn);
    filtered.setFilterCaseSensitivity(Qt::CaseInsensitive);
    setWindowTitle(options.bus.name() + QStringLiteral(" - vantrel"));
    table->setModel(&filtered);
    connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { showChart(); });
    addTools();
    addFilter();
    layOut();
    resize(usualSize);
    show();
}

bool MonitorWindow::refresh()
{
    if (!isVisible())
        return false;
    if (!paused)
        showNow();
    return true;
}

QString MonitorWindow::writeChart(const QString& fileName)
{
    return writeImage(plot->grab().toImage(), fileName);
}

QString MonitorWindow::writeFigures(const QString& fileName)
{
    const QByteArray csv = formatCsv(model.reports()).toUtf8();
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && file.write(csv) == csv.size() && commitWhole(file))
        return QString();
    return QStringLiteral("%1: cannot be written: %2").arg(fileName, file.errorString());
}

void MonitorWindow::layOut()
{
    addToolBar(tools);
    tools->setMovable(false);
    setContextMenuPolicy(Qt::NoContextMenu); // which would offer to hide the tools
    auto* const parts = new QSplitter(Qt::Vertical);
    parts->addWidget(table);
    parts->addWidget(plot);
    parts->setSizes({usualSize.height() * 2 / 5, usualSize.height() * 3 / 5});
    setCentralWidget(parts);
    header->setTextInteractionFlags(Qt::TextSelectableByMouse);
    statusBar()->addPermanentWidget(header, 1);
}

void MonitorWindow::addTools()
{
    tools->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    QAction* const pausing =
        addTool(QStringLiteral("Pause"), QStringLiteral("Let the picture stand still"),
                QStyle::SP_MediaPause, Qt::Key_P);
    pausing->setCheckable(true);
    connect(pausing, &QAction::toggled, this, &MonitorWindow::pause);
    connect(addTool(QStringLiteral("Reset"), QStringLiteral("Forget all values and counts"),
                    QStyle::SP_BrowserReload, Qt::Key_R),
            &QAction::triggered, this, &MonitorWindow::forget);
    connect(addTool(QStringLiteral("Follow"), QStringLiteral("Let the chart follow the end"),
                    QStyle::SP_MediaSkipForward, Qt::Key_F),
            &QAction::triggered, plot, &SignalPlot::follow);
    connect(addTool(QStringLiteral("Save chart"), QStringLiteral("Save the chart as PNG"),
                    QStyle::SP_DialogSaveButton, QKeySequence::Save),
            &QAction::triggered, this,
            [this] { askForFile(QStringLiteral("png"), &MonitorWindow::writeChart); });
    connect(addTool(QStringLiteral("Save figures"), QStringLiteral("Save all figures as CSV"),
                    QStyle::SP_DialogSaveButton, QKeySequence(QStringLiteral("Ctrl+Shift+S"))),
            &QAction::triggered, this,
            [this] { askForFile(QStringLiteral("csv"), &MonitorWindow::writeFigures); });
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
    connect(filter, &QLineEdit::textChanged, &filtered,
            &QSortFilterProxyModel::setFilterFixedString);
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

// Without an event loop of its own, so that the run goes on, and may end, while it is open.
void MonitorWindow::askForFile(const QString& suffix, Writer write)
{
    auto* const dialog = new QFileDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(QStringLiteral("*.") + suffix);
    dialog->setDefaultSuffix(suffix);
    connect(dialog, &QFileDialog::fileSelected, this, [this, write](const QString& fileName) {
        const QString complaint = (this->*write)(fileName);
        statusBar()->showMessage(complaint.isEmpty() ? fileName + QStringLiteral(": saved")
                                                     : complaint);
    });
    dialog->open();
}

void MonitorWindow::pause(bool wanted)
{
    paused = wanted;
    if (paused)
        model.hold();
    else
        showNow();
}

void MonitorWindow::forget()
{
    source.clear();
    plot->clear();
    showNow();
}

void MonitorWindow::showNow()
{
    model.refresh();
    if (paused)
        model.hold();
    header->setText(formatHeader(source.header()));
    shownAt = source.seconds();
    if (selectedRow() < 0 && filtered.rowCount() > 0)
        table->selectRow(0);
    table->widenColumns();
    showChart();
}

void MonitorWindow::showChart()
{
    const int row = selectedRow();
    if (row >= 0)
        plot->plot(model.signalAt(row), model.reportAt(row), shownAt);
}

/// In the model; -1 if there is none.
int MonitorWindow::selectedRow() const
{
    return filtered.mapToSource(table->currentIndex()).row();
}

} // namespace monitor
