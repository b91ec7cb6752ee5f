#include "PlotOutput.h"

#include "text/WholeFile.h"
#include "views/SignalChart.h"

#include <QtCore/QDir>
#include <QtCore/QSet>
#include <QtGui/QPainter>
#include <QtWidgets/QGraphicsScene>

#include <algorithm>

namespace monitor
{

namespace
{

constexpr QSize plotSize(1200, 500);
constexpr QSize tileSize(1200, 220);
constexpr int titleMargin = 12;
constexpr int maxTiles = 100;
constexpr char overviewName[] = "overview.png";

void paint(std::unique_ptr<QChart> chart, const QRect& place, QPainter& painter)
{
    QGraphicsScene scene;
    QChart* const shown = chart.release();
    scene.addItem(shown); // takes ownership
    scene.setSceneRect(shown->rect());
    painter.setRenderHint(QPainter::Antialiasing);
    scene.render(&painter, place, scene.sceneRect());
}

/// A signal to plot. Its trace is made when it is drawn, so that only one is in memory at a time.
struct Plot {
    std::shared_ptr<const SignalStatistics> statistics;
    MonitoredSignal* signal;
    qint64 start; // of the run

    Trace trace() const
    {
        const SeriesOutline* const outline = signal->outline();
        return outline ? traceOf(*outline, start) : traceOf(signal->getSeries(), start);
    }
};

/// Pass-through signals and signals without values have no plot.
QVector<Plot> plotsOf(const FinishedRun& run)
{
    QVector<Plot> plots;
    for (const SnapshotRow& row : run.snapshot.rows) {
        const Plot plot{row.statistics, &run.session.registry().at(row.signal),
                        run.snapshot.firstTime.value_or(0)};
        if (!plot.trace().points.isEmpty())
            plots.append(plot);
    }
    return plots;
}

/// The time axis that shows all of \a plots.
AxisRange timesOf(const QVector<Plot>& plots)
{
    AxisRange times = rangeOf(plots.first().trace());
    for (const Plot& plot : plots) {
        const AxisRange range = rangeOf(plot.trace());
        times = {std::min(times.from, range.from), std::max(times.to, range.to)};
    }
    return times;
}

/// Writes an image of \a chart, which has the size of a plot.
QString writeChart(std::unique_ptr<QChart> chart, const QString& fileName)
{
    QImage image(plotSize, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    paint(std::move(chart), image.rect(), painter);
    painter.end();
    return writeImage(image, fileName);
}

QString writePlot(const Plot& plot, const QString& fileName)
{
    const Trace trace = plot.trace();
    return writeChart(chartOf(*plot.statistics, trace, rangeOf(trace), plotSize), fileName);
}

QString writeOverview(const QVector<Plot>& plots, const QString& fileName)
{
    QImage image(tileSize.width(), tileSize.height() * static_cast<int>(plots.size()),
                 QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    const AxisRange times = timesOf(plots);
    QRect place(QPoint(0, 0), tileSize);
    for (const Plot& plot : plots) {
        const Trace trace = plot.trace();
        const AxisRange range = trace.hasTimes ? times : rangeOf(trace);
        paint(chartOf(*plot.statistics, trace, range, tileSize), place, painter);
        painter.drawText(place.adjusted(0, titleMargin, 0, 0), Qt::AlignHCenter,
                         plotTitleOf(*plot.statistics));
        place.translate(0, tileSize.height());
    }
    painter.end();
    return writeImage(image, fileName);
}

/// Returns a file name that is not in \a taken, and adds it. Names that differ only in case count
/// as equal, since some file systems ignore case.
QString freeName(const QString& wanted, QSet<QString>& taken)
{
    QString name = wanted;
    for (int number = 2; taken.contains(name.toLower()); ++number)
        name = QStringLiteral("%1-%2").arg(wanted).arg(number);
    taken.insert(name.toLower());
    return name + QStringLiteral(".png");
}

/// Creates \a directory if missing. Returns an error message if no file can be written into it.
QString checkFolder(const QString& directory)
{
    const QDir folder(directory);
    if (!folder.mkpath(QStringLiteral(".")))
        return directory + QStringLiteral(": the directory cannot be created");
    QSaveFile file(folder.filePath(QLatin1String(overviewName)));
    return file.open(QIODevice::WriteOnly) ? QString() : cannotBeWritten(file);
}

} // namespace

QString plotNameOf(const SignalStatistics& statistics)
{
    constexpr int longestName = 100;
    QString name = statistics.name.left(longestName);
    if (!statistics.bus.isEmpty())
        name += '-' + statistics.bus.left(longestName);
    for (QChar& c : name) {
        const bool isKept = c.unicode() < 128 && (c.isLetterOrNumber() || c == '-');
        c = isKept ? c : QChar('_');
    }
    return statistics.source ? QStringLiteral("%1-%2").arg(name).arg(*statistics.source) : name;
}

QString PlotOutput::check()
{
    return checkFolder(directory);
}

OutputResult PlotOutput::write(const FinishedRun& run, const OutputProgress& progress)
{
    OutputResult result{check(), {}};
    if (!result.error.isEmpty())
        return result;
    const QDir folder(directory);
    const QString overview = folder.filePath(QLatin1String(overviewName));
    const QVector<Plot> plots = plotsOf(run);
    QSet<QString> taken{QStringLiteral("overview")};
    for (int i = 0; i < plots.size() && result.error.isEmpty(); ++i) {
        if (progress)
            progress(i, plots.size());
        const QString name = freeName(plotNameOf(*plots.at(i).statistics), taken);
        result.error = writePlot(plots.at(i), folder.filePath(name));
    }
    if (plots.isEmpty())
        result.notes += directory + QStringLiteral(": no values to plot");
    else if (result.error.isEmpty())
        result.error = writeOverview(plots.mid(0, maxTiles), overview);
    if (plots.size() > maxTiles)
        result.notes += QStringLiteral("%1: shows only the first %2 of %3 signals")
                            .arg(overview)
                            .arg(maxTiles)
                            .arg(plots.size());
    return result;
}

QString HistogramOutput::check()
{
    return checkFolder(directory);
}

OutputResult HistogramOutput::write(const FinishedRun& run, const OutputProgress& progress)
{
    constexpr int mostBars = 100;
    OutputResult result{check(), {}};
    QSet<QString> taken;
    for (int i = 0; i < run.snapshot.rows.size() && result.error.isEmpty(); ++i) {
        if (progress)
            progress(i, run.snapshot.rows.size());
        const SnapshotRow& row = run.snapshot.rows.at(i);
        const SignalStatistics& statistics = *row.statistics;
        if (statistics.count == 0 || statistics.isPassedThrough)
            continue;
        const Histogram histogram = histogramOf(run.signalOf(row).values(), statistics, mostBars);
        result.error =
            writeChart(histogramChartOf(statistics, histogram, plotSize),
                       QDir(directory).filePath(freeName(plotNameOf(statistics), taken)));
    }
    if (taken.isEmpty() && result.error.isEmpty())
        result.notes += directory + QStringLiteral(": no values to plot");
    return result;
}

} // namespace monitor
