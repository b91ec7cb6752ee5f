#include "SignalModel.h"

#include "views/ReportTable.h"

#include <QtGui/QColor>

namespace monitor
{

namespace
{

constexpr int nameColumn = 1; // after the mark

const QColor lowRatingColor(0xff, 0xd6, 0xd6);
const QColor silenceColor(0xff, 0xf2, 0xc4);

} // namespace

SignalModel::SignalModel(LiveSource& liveSource, double k, int rating)
    : source(liveSource),
      factor(k),
      leastRating(rating),
      columns(QVector<Column>{{QString(), Alignment::Left}} + reportColumns())
{
}

void SignalModel::refresh()
{
    const std::vector<MonitoredSignal*> inOrder = source.signalMonitor().table().inOrder();
    addNew(inOrder);
    for (MonitoredSignal* const signal : inOrder)
        signal->follow();
    for (Entry& entry : entries)
        entry.shown.reset();
    if (!entries.empty())
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

void SignalModel::hold()
{
    for (int row = 0; row < rowCount(); ++row)
        shownAt(row);
}

QVector<SignalReport> SignalModel::reports()
{
    QVector<SignalReport> reports;
    for (int row = 0; row < rowCount(); ++row)
        reports.append(reportAt(row));
    return reports;
}

int SignalModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(entries.size());
}

int SignalModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : columns.size();
}

QVariant SignalModel::data(const QModelIndex& index, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return textAt(index.row(), index.column());
    case Qt::TextAlignmentRole:
        return headerData(index.column(), Qt::Horizontal, role);
    case Qt::BackgroundRole:
    case Qt::ForegroundRole:
        return colorAt(index.row(), role);
    default:
        return QVariant();
    }
}

QVariant SignalModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return QVariant();
    const Column& column = columns.at(section);
    if (role == Qt::DisplayRole)
        return column.title;
    const Qt::Alignment side = column.alignment == Alignment::Left ? Qt::AlignLeft : Qt::AlignRight;
    return role == Qt::TextAlignmentRole ? QVariant(side | Qt::AlignVCenter) : QVariant();
}

/// Signals that have been seen for the first time get their rows where the order has their place.
void SignalModel::addNew(const std::vector<MonitoredSignal*>& inOrder)
{
    for (size_t place = 0; place < inOrder.size(); ++place) {
        if (place < entries.size() && entries.at(place).signal == inOrder.at(place))
            continue;
        const int row = static_cast<int>(place);
        beginInsertRows(QModelIndex(), row, row);
        entries.insert(entries.begin() + row, Entry{inOrder.at(place), std::nullopt});
        endInsertRows();
    }
}

const SignalModel::Shown& SignalModel::shownAt(int row) const
{
    Entry& entry = entries.at(static_cast<size_t>(row));
    if (!entry.shown) {
        const LiveRow measured = source.rowOf(*entry.signal, factor);
        const QString mark = markOf(highlightOf(measured, leastRating));
        entry.shown.emplace(Shown{measured, QStringList(mark) + reportRow(measured.report)});
    }
    return *entry.shown;
}

// The filter asks for the names of all rows, which need not be measured for that.
QString SignalModel::textAt(int row, int column) const
{
    if (column == nameColumn)
        return printable(signalAt(row).heading().name);
    return printable(shownAt(row).cells.at(column));
}

/// The colours of a highlighted row, whatever those of the others are.
QVariant SignalModel::colorAt(int row, int role) const
{
    const Highlight highlight = highlightOf(shownAt(row).row, leastRating);
    if (highlight == Highlight::None)
        return QVariant();
    if (role == Qt::ForegroundRole)
        return QColor(Qt::black);
    return highlight == Highlight::Silence ? silenceColor : lowRatingColor;
}

} // namespace monitor
