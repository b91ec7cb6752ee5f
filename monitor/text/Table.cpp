#include "Table.h"

#include <algorithm>

namespace monitor
{

namespace
{

void widenFor(const QStringList& row, QVector<int>& widths)
{
    widths.resize(row.size());
    for (int i = 0; i < row.size(); ++i)
        widths[i] = std::max(widths.at(i), static_cast<int>(row.at(i).size()));
}

QString formatRow(const QStringList& row, const QVector<Column>& columns,
                  const QVector<int>& widths)
{
    QStringList cells;
    for (int i = 0; i < columns.size(); ++i) {
        const bool left = columns.at(i).alignment == Alignment::Left;
        cells +=
            left ? row.at(i).leftJustified(widths.at(i)) : row.at(i).rightJustified(widths.at(i));
    }
    QString line = cells.join(QStringLiteral("  "));
    while (line.endsWith(' '))
        line.chop(1);
    return line;
}

} // namespace

QString printable(QString text)
{
    for (QChar& c : text) {
        if (!c.isPrint())
            c = ' ';
    }
    return text.isEmpty() ? QStringLiteral("-") : text;
}

QStringList formatLines(const QVector<Column>& columns, QVector<QStringList> rows,
                        QVector<int>& widths)
{
    QStringList titles;
    for (const Column& column : columns)
        titles += column.title;
    rows.prepend(titles);
    for (QStringList& row : rows) {
        std::transform(row.begin(), row.end(), row.begin(), printable);
        widenFor(row, widths);
    }
    QStringList lines;
    for (const QStringList& row : qAsConst(rows))
        lines += formatRow(row, columns, widths);
    return lines;
}

QString formatTable(const QVector<Column>& columns, const QVector<QStringList>& rows)
{
    QVector<int> widths;
    return formatLines(columns, rows, widths).join('\n') + '\n';
}

} // namespace monitor
