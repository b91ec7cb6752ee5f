#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace monitor
{

enum class Alignment { Left, Right };

struct Column {
    QString title;
    Alignment alignment = Alignment::Right;
};

/// \a text with its control characters replaced by blanks, or "-" if it is empty. Names and units
/// come from files, so their control characters must not reach the terminal.
QString printable(QString text);

/// Like formatTable(), but returns a list of lines. \a widths are the minimum widths of the columns
/// and grow as needed; passing them to the next call keeps the columns in place.
QStringList formatLines(const QVector<Column>& columns, QVector<QStringList> rows,
                        QVector<int>& widths);

/// The titles and \a rows as lines of text, with aligned columns separated by two blanks. Every row
/// must have a cell for every column. Cells are made printable().
QString formatTable(const QVector<Column>& columns, const QVector<QStringList>& rows);

} // namespace monitor
