#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <chrono>

namespace monitor
{

/// Whether what is written to the standard error output is seen on a terminal.
bool isErrorOutputATerminal();

/// Shows on a terminal how far a long work is, in a line that goes away at the end. Work that is
/// done soon shows nothing, and elsewhere than on a terminal nothing is ever written.
class Progress
{
public:
    /// \a work is what is being done, as "reading". It is shown once it takes longer than
    /// \a patience.
    Progress(QTextStream& stream, const QString& work, bool onTerminal = isErrorOutputATerminal(),
             std::chrono::milliseconds patience = std::chrono::seconds(1));
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Says that \a done of \a total is done, whatever the unit. May be called often: it writes ten
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
