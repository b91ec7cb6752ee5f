#pragma once

#include "displays/LiveSource.h"
#include "text/Table.h"

#include <QtCore/QAbstractTableModel>

#include <optional>
#include <vector>

namespace monitor
{

/// The signals of a live run as a table: a mark for highlighted ones, and the columns of the table
/// on the terminal. Rows are sorted by name and source; there are more and more of them, and none
/// goes. Only those that are asked for are measured.
class SignalModel : public QAbstractTableModel
{
public:
    /// Signals rated under \a rating are highlighted, and the band is one of \a k deviations.
    /// \a liveSource must outlive this object.
    SignalModel(LiveSource& liveSource, double k, int rating);

    /// Shows what there is now.
    void refresh();

    /// Measures all signals, so that no row changes before the next refresh().
    void hold();

    /// The reports of all rows.
    QVector<SignalReport> reports();

    const SignalReport& reportAt(int row) const { return shownAt(row).row.report; }
    MonitoredSignal& signalAt(int row) const { return *entryAt(row).signal; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    struct Shown {
        LiveRow row;
        QStringList cells;
    };
    struct Entry {
        MonitoredSignal* signal;
        std::optional<Shown> shown; // none: has not been asked for yet
    };

    void addNew(const std::vector<MonitoredSignal*>& inOrder);
    const Entry& entryAt(int row) const { return entries.at(static_cast<size_t>(row)); }
    const Shown& shownAt(int row) const;
    QString textAt(int row, int column) const;
    QVariant colorAt(int row, int role) const;

    LiveSource& source;
    double factor; // half the width of the band, in deviations
    int leastRating;
    QVector<Column> columns;
    mutable std::vector<Entry> entries; // filled while they are read
};

} // namespace monitor
