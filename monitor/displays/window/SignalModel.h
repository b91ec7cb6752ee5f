#pragma once

#include "displays/LiveTable.h"

#include <QtCore/QAbstractTableModel>

namespace monitor
{

/// The rows of a live table for a view: a mark for highlighted signals, and the columns of the
/// table on the terminal.
class SignalModel : public QAbstractTableModel
{
public:
    /// \a shownTable must outlive this object.
    explicit SignalModel(const LiveTable& shownTable) : table(shownTable) {}

    /// Follows the table, which has changed. Rows of signals that are still shown stay the same
    /// rows for a view, so that the selection stays.
    void refresh();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    void removeMissing();
    void insertNew();
    QString textAt(int row, int column) const;
    QVariant colorAt(int row, int role) const;

    const LiveTable& table;
    QVector<int> signalOfRow;           // numbers in the session, as the view knows the rows
    mutable QVector<QStringList> cells; // of the rows of the table; empty: not formatted yet
};

} // namespace monitor
