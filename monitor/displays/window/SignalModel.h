#pragma once

#include "displays/LiveTable.h"
#include "engine/SignalRegistry.h"

#include <QtCore/QAbstractTableModel>

namespace monitor
{

/// Lines of plain text as a tooltip: rich text, so that long lines are wrapped.
QString toolTipOf(const QStringList& lines);

/// The model of a live table: a column of marks for highlighted signals, then statisticsColumns().
/// The tooltip of a row shows the description and limits of its signal.
class SignalModel : public QAbstractTableModel
{
public:
    /// \a shownTable and \a registry, which has its signals, must outlive this object.
    SignalModel(const LiveTable& shownTable, const SignalRegistry& registry)
        : table(shownTable), monitored(registry)
    {
    }

    /// Updates the model after the table may have changed. Returns whether any row has. Rows of
    /// signals that are still shown are kept, so that the selection does not change.
    bool refresh();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    bool hasSameSignals() const;
    bool isChanged(int row) const;
    void updateChanged();
    void removeMissing();
    void insertNew();
    QString textAt(int row, int column) const;
    QVariant colorAt(int row, int role) const;
    QVariant toolTipAt(int row) const;

    const LiveTable& table;
    LiveTable before{0}; // at the last refresh
    const SignalRegistry& monitored;
    QVector<int> signalOfRow;           // the numbers of the signals in the session
    mutable QVector<QStringList> cells; // by row; empty if not formatted yet
};

} // namespace monitor
