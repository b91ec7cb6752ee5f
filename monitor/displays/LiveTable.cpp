#include "LiveTable.h"

#include "views/statisticsTable.h"

namespace monitor
{

void LiveTable::update(const Snapshot& snapshot, const BusState& bus)
{
    newest = {snapshot, bus};
    if (!paused)
        show(newest);
}

void LiveTable::replace(const Snapshot& snapshot)
{
    newest.snapshot = snapshot;
    show(newest);
}

void LiveTable::setPaused(bool wanted)
{
    const bool resumes = paused && !wanted;
    paused = wanted;
    if (resumes)
        show(newest);
}

void LiveTable::setFilter(const QString& text)
{
    if (text == filter)
        return;
    filter = text;
    show(State(shown));
}

QStringList LiveTable::cells(int row) const
{
    return QStringList(markOf(highlight(row))) + statisticsCells(*this->row(row).statistics);
}

void LiveTable::show(const State& state)
{
    shown = state;
    places.resize(0);
    for (int i = 0; i < shown.snapshot.rows.size(); ++i) {
        if (filter.isEmpty() ||
            shown.snapshot.rows.at(i).statistics->name.contains(filter, Qt::CaseInsensitive))
            places.append(i);
    }
}

} // namespace monitor
