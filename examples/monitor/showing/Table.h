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
/// files, and what would move a terminal's cursor is not to get there.
QString printable(QString text);

/// The titles and \a rows as lines of text with aligned columns, two blanks between them. Every
/// row has a cell for every column; an empty cell is shown as a dash, and control characters as
/// blanks.
QString formatTable(const QVector<Column>& columns, QVector<QStringList> rows);

} // namespace monitor
