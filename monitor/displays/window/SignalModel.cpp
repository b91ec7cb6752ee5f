#include "SignalModel.h"

#include "text/numbers.h"
#include "views/statisticsTable.h"

#include <QtGui/QColor>

#include <algorithm>

namespace monitor
{

namespace
{

/// The beginning of a comment, since tooltips cannot be scrolled.
QString shortened(const QString& comment)
{
    constexpr int longest = 1000;
    return comment.size() <= longest ? comment : comment.left(longest) + QChar(0x2026);
}

QString textOf(const ValueRange& range)
{
    return QStringLiteral("%1 .. %2")
        .arg(formatComputed(range.lowest), formatComputed(range.highest));
}

/// The description and limits of a signal, as lines of plain text.
QStringList descriptionOf(const MonitoredSignal& signal)
{
    const CatalogueSignal& description = signal.description();
    const MessageHeader& message = signal.message();
    const QString id = QString::number(message.id, 16).toUpper();
    QStringList lines;
    if (!description.comment.isEmpty())
        lines += shortened(description.comment);
    lines += QStringLiteral("message: ") + message.name +
             QStringLiteral(" (0x%1)").arg(id.rightJustified(message.extended ? 8 : 3, '0'));
    if (!message.comment.isEmpty())
        lines += shortened(message.comment);
    if (!description.scaling.unit.isEmpty())
        lines += QStringLiteral("unit: ") + description.scaling.unit;
    if (description.lowerLimit < description.upperLimit)
        lines += QStringLiteral("described range: ") +
                 textOf({description.lowerLimit, description.upperLimit});
    if (description.rules.limits)
        lines += QStringLiteral("limits: ") + textOf(*description.rules.limits);
    return lines;
}

} // namespace

QString toolTipOf(const QStringList& lines)
{
    return QStringLiteral("<qt>") +
           lines.join('\n').toHtmlEscaped().replace('\n', QStringLiteral("<br>")) +
           QStringLiteral("</qt>");
}

bool SignalModel::refresh()
{
    if (table.hasSameRows(before))
        return false;
    if (hasSameSignals()) {
        updateChanged();
    } else {
        cells = QVector<QStringList>(table.rowCount());
        removeMissing();
        insertNew();
        if (!signalOfRow.isEmpty())
            emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
    }
    before = table;
    return true;
}

bool SignalModel::hasSameSignals() const
{
    bool areSame = signalOfRow.size() == table.rowCount();
    for (int row = 0; areSame && row < table.rowCount(); ++row)
        areSame = signalOfRow.at(row) == table.row(row).signal;
    return areSame;
}

/// Whether the row, whose signal is the same as before, shows something else.
bool SignalModel::isChanged(int row) const
{
    return table.row(row).statistics != before.row(row).statistics ||
           table.row(row).isSilent != before.row(row).isSilent;
}

void SignalModel::updateChanged()
{
    for (int row = 0; row < rowCount(); ++row) {
        const int first = row;
        while (row < rowCount() && isChanged(row))
            cells[row++].clear();
        if (row > first)
            emit dataChanged(index(first, 0), index(row - 1, columnCount() - 1));
    }
}

void SignalModel::removeMissing()
{
    QVector<int> shown;
    for (int row = 0; row < table.rowCount(); ++row)
        shown.append(table.row(row).signal);
    std::sort(shown.begin(), shown.end());
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (std::binary_search(shown.constBegin(), shown.constEnd(), signalOfRow.at(row)))
            continue;
        beginRemoveRows(QModelIndex(), row, row);
        signalOfRow.remove(row);
        endRemoveRows();
    }
}

/// The order of the rows never changes, so a row that differs from the table is new.
void SignalModel::insertNew()
{
    for (int row = 0; row < table.rowCount(); ++row) {
        const int signal = table.row(row).signal;
        if (row < signalOfRow.size() && signalOfRow.at(row) == signal)
            continue;
        beginInsertRows(QModelIndex(), row, row);
        signalOfRow.insert(row, signal);
        endInsertRows();
    }
}

int SignalModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(signalOfRow.size());
}

int SignalModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 1 + static_cast<int>(statisticsColumns().size());
}

QVariant SignalModel::data(const QModelIndex& index, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return textAt(index.row(), index.column());
    case Qt::TextAlignmentRole:
        return headerData(index.column(), Qt::Horizontal, role);
    case Qt::ToolTipRole:
        return toolTipAt(index.row());
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
    const Column column =
        section == 0 ? Column{QString(), Alignment::Left} : statisticsColumns().at(section - 1);
    if (role == Qt::DisplayRole)
        return column.title;
    const Qt::Alignment side = column.alignment == Alignment::Left ? Qt::AlignLeft : Qt::AlignRight;
    return role == Qt::TextAlignmentRole ? QVariant(side | Qt::AlignVCenter) : QVariant();
}

QString SignalModel::textAt(int row, int column) const
{
    if (row >= cells.size()) // while rows are inserted and removed
        return QString();
    if (cells.at(row).isEmpty())
        cells[row] = table.cells(row);
    return printable(cells.at(row).at(column));
}

QVariant SignalModel::toolTipAt(int row) const
{
    if (row >= table.rowCount()) // while rows are inserted and removed
        return QVariant();
    return toolTipOf(descriptionOf(monitored.at(table.row(row).signal)));
}

/// Sets both colours of a highlighted row, so that it is readable in any colour scheme.
QVariant SignalModel::colorAt(int row, int role) const
{
    if (row >= table.rowCount()) // while rows are inserted and removed
        return QVariant();
    const Highlight highlight = table.highlight(row);
    if (highlight == Highlight::None)
        return QVariant();
    if (role == Qt::ForegroundRole)
        return QColor(Qt::black);
    return highlight == Highlight::Silence ? QColor(0xff, 0xf2, 0xc4) : QColor(0xff, 0xd6, 0xd6);
}

} // namespace monitor
