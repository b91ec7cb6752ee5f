#pragma once

#include <QtCore/QString>
#include <QtCore/QTextStream>

namespace monitor
{

/// Tells about lines of one text file that could not be used. A file of another kind given by
/// mistake has thousands of them, so only the first few are printed; all are counted.
class LineWarnings
{
public:
    static constexpr qint64 printedAtMost = 10;

    LineWarnings(QTextStream& stream, QString name);

    /// Counts a line and prints "file:line: text", or nothing if enough has been printed.
    void add(qint64 line, const QString& text);

    /// Prints how many lines there were in all, followed by \a text; nothing if there were none.
    void printTotal(const QString& text);

    qint64 count() const { return warnings; }

private:
    QTextStream& output;
    QString fileName;
    qint64 warnings = 0;
};

} // namespace monitor
