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

/// \a text with blanks for control characters, and a dash if it is empty: names and units come from
/// files, and their control characters must not reach the terminal.
QString printable(QString text);

/// The titles and \a rows as lines with aligned columns, two blanks between them. \a widths are
/// those of the columns at least, and grow where that is not enough: with those of the call before,
/// columns stay where they were. Otherwise like formatTable().
QStringList formatLines(const QVector<Column>& columns, QVector<QStringList> rows,
                        QVector<int>& widths);

/// The titles and \a rows as lines of text with aligned columns, two blanks between them. Every
/// row has a cell for every column; an empty cell is shown as a dash, and control characters as
/// blanks.
QString formatTable(const QVector<Column>& columns, const QVector<QStringList>& rows);

} // namespace monitor
