#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <chrono>

namespace monitor
{

/// Whether the standard error output is a terminal.
bool isErrorOutputATerminal();

/// Shows the progress of long work on a terminal, in a line that is removed at the end. Nothing is
/// shown for short work, or if the output is not a terminal.
class Progress
{
public:
    /// \a work names the work, such as "reading". It is shown once it takes longer than
    /// \a patience.
    Progress(QTextStream& stream, const QString& work, bool onTerminal = isErrorOutputATerminal(),
             std::chrono::milliseconds patience = std::chrono::seconds(1));
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows that \a done of \a total is done, in any unit. May be called often: it writes ten
    /// times a second at most.
    void update(qint64 done, qint64 total);

private:
    QTextStream& output;
    QString text;
    bool isWanted;
    bool isShown = false;
    std::chrono::milliseconds wait;
    QElapsedTimer sinceShown;
};

} // namespace monitor
