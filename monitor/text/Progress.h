#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <chrono>

namespace monitor
{

/// Whether standard error is a terminal.
bool isStandardErrorTerminal();

/// Shows the progress of a long operation on a terminal, in a line that is removed at the end.
/// Shows nothing for a short operation or if the output is not a terminal.
class Progress
{
public:
    /// \a operation is its description, such as "reading". Progress is shown once the operation has
    /// taken longer than \a delay.
    Progress(QTextStream& stream, const QString& operation,
             bool onTerminal = isStandardErrorTerminal(),
             std::chrono::milliseconds delay = std::chrono::seconds(1));
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows that \a done of \a total is complete, in any unit. May be called often: the line is
    /// rewritten at most ten times a second.
    void update(qint64 done, qint64 total);

private:
    QTextStream& output;
    QString text;
    bool isEnabled;
    bool isShown = false;
    std::chrono::milliseconds interval; // until the line is written again
    QElapsedTimer sinceShown;
};

} // namespace monitor
