#include "LiveDisplay.h"

#include <algorithm>

namespace monitor
{

LiveDisplay::LiveDisplay(const LiveOptions& options, double k, LiveSource& liveSource)
    : source(liveSource), factor(k), screen(options.leastRating)
{
}

bool LiveDisplay::refresh()
{
    if (!takeKeys())
        return false;
    if (view.isPaused())
        drawPicture();
    else
        draw();
    return true;
}

bool LiveDisplay::takeKeys()
{
    const QByteArray input = terminal.readInput();
    for (const Key& key : input.isEmpty() ? keys.finish() : keys.read(input)) {
        const LiveView::Request request = view.press(key);
        if (request == LiveView::Request::Quit)
            return false;
        if (request == LiveView::Request::Reset)
            source.clear();
        if (request == LiveView::Request::Reset || !view.isPaused())
            picture.reset();
    }
    return true;
}

// Only what can be seen is asked for its figures.
void LiveDisplay::draw()
{
    std::vector<MonitoredSignal*> chosen;
    for (MonitoredSignal* candidate : source.signalMonitor().table().inOrder()) {
        candidate->follow();
        if (view.shows(candidate->heading().name))
            chosen.push_back(candidate);
    }
    const int count = static_cast<int>(chosen.size());
    QVector<LiveRow> rows;
    for (int i = fitView(count); i < count && rows.size() < visibleRows(); ++i)
        rows.append(source.rowOf(*chosen.at(static_cast<size_t>(i)), factor));
    show(source.header(), rows, count);
}

// A picture of all signals is taken once, and stands still while it is scrolled and filtered.
void LiveDisplay::drawPicture()
{
    if (!picture) {
        picture.emplace(Picture{source.header(), {}});
        for (MonitoredSignal* shown : source.signalMonitor().table().inOrder())
            picture->rows.append(source.rowOf(*shown, factor));
    }
    QVector<LiveRow> chosen;
    for (const LiveRow& row : qAsConst(picture->rows)) {
        if (view.shows(row.report.name))
            chosen.append(row);
    }
    const int first = fitView(chosen.size());
    show(picture->header, chosen.mid(first, visibleRows()), chosen.size());
}

/// The first row to show of \a rowCount.
int LiveDisplay::fitView(int rowCount)
{
    view.fitTo(rowCount, visibleRows());
    return view.firstRow();
}

int LiveDisplay::visibleRows() const
{
    return LiveScreen::rowsOn(terminal.size());
}

void LiveDisplay::show(const LiveHeader& header, const QVector<LiveRow>& rows, int rowCount)
{
    terminal.draw(screen.draw(header, rows, rowCount, view, terminal.size()));
}

} // namespace monitor
