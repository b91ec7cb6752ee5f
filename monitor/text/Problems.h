#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace monitor
{

/// Part of a file that could not be used.
struct Problem {
    qint64 line = 0; ///< counted from 1
    QString text;
};

/// The problems found in one file. All are counted, but only the first few are kept, since a file
/// of the wrong kind can have thousands. This class is reentrant.
class Problems
{
public:
    static constexpr int maxKept = 10;

    Problems() = default;

    /// In total(), \a summary follows the number of problems, as in "3 unreadable line(s)".
    explicit Problems(QString file, QString summary = QString());

    void add(qint64 line, const QString& text);

    qint64 count() const { return found; }

    /// "file:line: text" for each problem that was kept.
    QStringList lines() const;

    /// "file: number summary"; empty if there are no problems.
    QString total() const;

private:
    QString fileName;
    QString summaryText;
    QVector<Problem> kept;
    qint64 found = 0;
};

} // namespace monitor
