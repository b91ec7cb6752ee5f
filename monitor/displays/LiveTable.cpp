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
    findPlaces();
}

bool LiveTable::hasSameRows(const LiveTable& other) const
{
    return shown.snapshot.rows.constData() == other.shown.snapshot.rows.constData() &&
           places.constData() == other.places.constData();
}

QStringList LiveTable::cells(int row) const
{
    return QStringList(markOf(highlight(row))) + statisticsCells(*this->row(row).statistics);
}

void LiveTable::show(const State& state)
{
    const bool areSame = shown.snapshot.rows.constData() == state.snapshot.rows.constData();
    shown = state;
    if (!areSame)
        findPlaces();
}

void LiveTable::findPlaces()
{
    places.clear();
    for (int i = 0; i < shown.snapshot.rows.size(); ++i) {
        if (filter.isEmpty() ||
            shown.snapshot.rows.at(i).statistics->name.contains(filter, Qt::CaseInsensitive))
            places.append(i);
    }
}

} // namespace monitor
