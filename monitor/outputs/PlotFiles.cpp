#include "PlotFiles.h"

#include "text/Progress.h"
#include "text/WholeFile.h"
#include "views/SignalChart.h"

#include <QtCore/QDir>
#include <QtCore/QSet>
#include <QtGui/QPainter>
#include <QtWidgets/QGraphicsScene>

#include <algorithm>

using QtCharts::QChart;

namespace monitor
{

namespace
{

constexpr QSize plotSize(1200, 500);
constexpr QSize tileSize(1200, 220);
constexpr int titleMargin = 12;
constexpr int tilesAtMost = 100;
const QString overviewName = QStringLiteral("overview.png");

QString cannotBeWritten(const QSaveFile& file)
{
    return QStringLiteral("%1: cannot be written: %2").arg(file.fileName(), file.errorString());
}

void paint(std::unique_ptr<QChart> chart, const QRect& place, QPainter& painter)
{
    QGraphicsScene scene;
    QChart* const shown = chart.release();
    scene.addItem(shown); // takes it over
    scene.setSceneRect(shown->rect());
    painter.setRenderHint(QPainter::Antialiasing);
    scene.render(&painter, place, scene.sceneRect());
}

/// A signal as it is plotted.
struct Plot {
    SignalReport report;
    Trace trace;
};

/// Carried signals and those without values have no plot.
QVector<Plot> plotsOf(const SignalTable& table, double k)
{
    QVector<Plot> plots;
    for (MonitoredSignal* signal : table.inOrder()) {
        const Trace trace = traceOf(signal->series(), table.firstTime().value_or(0));
        if (!trace.points.isEmpty())
            plots.append({signal->report(k), trace});
    }
    return plots;
}

/// The time axis that shows all of \a plots.
AxisRange timesOf(const QVector<Plot>& plots)
{
    AxisRange times = rangeOf(plots.first().trace);
    for (const Plot& plot : plots) {
        const AxisRange range = rangeOf(plot.trace);
        times = {std::min(times.from, range.from), std::max(times.to, range.to)};
    }
    return times;
}

QString writePlot(const Plot& plot, const QString& fileName)
{
    QImage image(plotSize, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    paint(chartOf(plot.report, plot.trace, rangeOf(plot.trace), plotSize), image.rect(), painter);
    painter.end();
    return writeImage(image, fileName);
}

QString writeOverview(const QVector<Plot>& plots, const QString& fileName)
{
    QImage image(tileSize.width(), tileSize.height() * plots.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    const AxisRange times = timesOf(plots);
    QRect place(QPoint(0, 0), tileSize);
    for (const Plot& plot : plots) {
        const AxisRange range = plot.trace.hasTimes ? times : rangeOf(plot.trace);
        paint(chartOf(plot.report, plot.trace, range, tileSize), place, painter);
        painter.drawText(place.adjusted(0, titleMargin, 0, 0), Qt::AlignHCenter,
                         plotTitleOf(plot.report));
        place.translate(0, tileSize.height());
    }
    painter.end();
    return writeImage(image, fileName);
}

/// A file name that is not among \a taken yet, and joins them. Letter case does not tell files
/// apart everywhere.
QString freeName(const QString& wanted, QSet<QString>& taken)
{
    QString name = wanted;
    for (int number = 2; taken.contains(name.toLower()); ++number)
        name = QStringLiteral("%1-%2").arg(wanted).arg(number);
    taken.insert(name.toLower());
    return name + QStringLiteral(".png");
}

} // namespace

QString plotNameOf(const SignalReport& report)
{
    constexpr int longestName = 100;
    QString name = report.name.left(longestName);
    for (QChar& c : name) {
        const bool isKept = c.unicode() < 128 && (c.isLetterOrNumber() || c == '-');
        c = isKept ? c : QChar('_');
    }
    return report.source ? QStringLiteral("%1-%2").arg(name).arg(*report.source) : name;
}

QString writeImage(const QImage& image, const QString& fileName)
{
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && image.save(&file, "PNG") && commitWhole(file))
        return QString();
    return cannotBeWritten(file);
}

QString makePlotDirectory(const QString& directory)
{
    const QDir folder(directory);
    if (!folder.mkpath(QStringLiteral(".")))
        return QStringLiteral("%1: the directory cannot be made").arg(directory);
    QSaveFile file(folder.filePath(overviewName));
    return file.open(QIODevice::WriteOnly) ? QString() : cannotBeWritten(file);
}

QString writePlots(const QString& directory, const SignalTable& table, double k,
                   QTextStream& messages)
{
    const QDir folder(directory);
    QString error = makePlotDirectory(directory);
    if (!error.isEmpty())
        return error;
    const QVector<Plot> plots = plotsOf(table, k);
    QSet<QString> taken{QStringLiteral("overview")};
    Progress progress(messages, QStringLiteral("plotting"));
    for (int i = 0; i < plots.size() && error.isEmpty(); ++i) {
        progress.update(i, plots.size());
        const QString name = freeName(plotNameOf(plots.at(i).report), taken);
        error = writePlot(plots.at(i), folder.filePath(name));
    }
    if (plots.isEmpty())
        messages << directory << ": there are no values to plot\n";
    else if (error.isEmpty())
        error = writeOverview(plots.mid(0, tilesAtMost), folder.filePath(overviewName));
    if (plots.size() > tilesAtMost)
        messages << folder.filePath(overviewName) << ": shows the first " << tilesAtMost << " of "
                 << plots.size() << " signals\n";
    return error;
}

} // namespace monitor
