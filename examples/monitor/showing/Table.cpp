#include "Table.h"

#include <algorithm>

namespace monitor
{

namespace
{

int widthOf(int column, const QVector<QStringList>& rows)
{
    int width = 0;
    for (const QStringList& row : rows)
        width = std::max(width, row.at(column).size());
    return width;
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
    return line + '\n';
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

QString formatTable(const QVector<Column>& columns, QVector<QStringList> rows)
{
    QStringList titles;
    for (const Column& column : columns)
        titles += column.title;
    rows.prepend(titles);
    for (QStringList& row : rows)
        std::transform(row.begin(), row.end(), row.begin(), printable);
    QVector<int> widths;
    for (int i = 0; i < columns.size(); ++i)
        widths += widthOf(i, rows);
    QString table;
    for (const QStringList& row : qAsConst(rows))
        table += formatRow(row, columns, widths);
    return table;
}

} // namespace monitor
