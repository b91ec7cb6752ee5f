#pragma once

#include "engine/Snapshot.h"
#include "views/highlight.h"

#include <QtCore/QStringList>

namespace monitor
{

/// The table of a live run as the displays draw it: which signals are shown, in which order, which
/// of them are highlighted, and whether the table is paused. This class is reentrant.
class LiveTable
{
public:
    /// Signals with a rating below \a rating are highlighted.
    explicit LiveTable(int rating) : leastRating(rating) {}

    /// Takes the current state of the run, and shows it unless the table is paused.
    void update(const Snapshot& snapshot, const BusState& bus);

    /// Shows \a snapshot with the newest state of the bus, even if the table is paused.
    void replace(const Snapshot& snapshot);

    /// The state of the bus at the last update, paused or not.
    const BusState& newestBus() const { return newest.bus; }

    /// While paused, the table keeps showing the same snapshot; afterwards it shows the newest one.
    void setPaused(bool wanted);
    bool isPaused() const { return paused; }

    /// Shows only signals whose names contain \a text, ignoring case.
    void setFilter(const QString& text);
    const QString& filterText() const { return filter; }

    /// The state that is shown.
    const BusState& bus() const { return shown.bus; }
    const Snapshot& snapshot() const { return shown.snapshot; }

    /// The rows that pass the filter, in the order of the snapshot.
    int rowCount() const { return static_cast<int>(places.size()); }
    const SnapshotRow& row(int row) const { return shown.snapshot.rows.at(places.at(row)); }
    Highlight highlight(int row) const { return highlightOf(this->row(row), leastRating); }

    /// Whether the rows are still those of \a other, an earlier copy of this table: neither the
    /// rows nor the filter have changed since. Takes constant time.
    bool hasSameRows(const LiveTable& other) const;

    /// The mark of the highlight, followed by the cells of statisticsColumns().
    QStringList cells(int row) const;

private:
    struct State {
        Snapshot snapshot;
        BusState bus;
    };

    void show(const State& state);
    void findPlaces();

    int leastRating;
    bool paused = false;
    QString filter;
    State newest;
    State shown;
    QVector<int> places; // of the rows that pass the filter, in the snapshot
};

} // namespace monitor
