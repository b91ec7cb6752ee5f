#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace monitor
{

/// A place in a file that could not be used.
struct Problem {
    qint64 line = 0; ///< counted from 1
    QString text;
};

/// The problems found in one file. A file of another kind given by mistake has thousands of them,
/// so only the first few are kept; all are counted. This class is reentrant.
class Problems
{
public:
    static constexpr int keptAtMost = 10;

    Problems() = default;

    /// \a summary follows the number of problems in total(), for example "line(s) not understood".
    explicit Problems(QString file, QString summary = QString());

    void add(qint64 line, const QString& text);

    qint64 count() const { return found; }

    /// The first ones, in the order in which they were found.
    const QVector<Problem>& first() const { return kept; }

    /// "file:line: text" for each of the first ones.
    QStringList lines() const;

    /// "file: number summary"; empty without problems.
    QString total() const;

private:
    QString fileName;
    QString summaryText;
    QVector<Problem> kept;
    qint64 found = 0;
};

} // namespace monitor
