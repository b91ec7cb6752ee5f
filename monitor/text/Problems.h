#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace monitor
{

/// Part of a file that could not be used.
struct Problem {
    qint64 position = 0; ///< a line, counted from 1, or a byte, counted from 0
    QString text;
};

/// How problems in a file are located.
enum class ProblemPosition { Line, Byte };

/// The problems found in one file. All are counted, but only the first few are kept, since a file
/// of the wrong kind can have thousands. This class is reentrant.
class Problems
{
public:
    static constexpr int maxKept = 10;

    Problems() = default;

    /// In total(), \a summary follows the number of problems, as in "3 unreadable line(s)".
    explicit Problems(QString file, QString summary = QString(),
                      ProblemPosition kind = ProblemPosition::Line);

    void add(qint64 position, const QString& text);

    qint64 count() const { return found; }

    /// "file:line: text" or "file: byte position: text" for each problem that was kept.
    QStringList lines() const;

    /// "file: number summary"; empty if there are no problems.
    QString total() const;

private:
    QString fileName;
    QString summaryText;
    ProblemPosition positionKind = ProblemPosition::Line;
    QVector<Problem> kept;
    qint64 found = 0;
};

} // namespace monitor
