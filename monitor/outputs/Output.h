#pragma once

#include "engine/Session.h"

#include <QtCore/QStringList>

#include <functional>

namespace monitor
{

/// What an output is written from: a session that is over, and its statistics.
struct FinishedRun {
    Session& session;
    const Snapshot& snapshot;
};

/// How the writing of an output ended.
struct OutputResult {
    QString error{};     ///< why it failed, naming the file; empty if it did not
    QStringList notes{}; ///< what else the user should know
};

/// Told how much of the work is done.
using OutputProgress = std::function<void(qint64 done, qint64 total)>;

/// What a run leaves behind when it ends: a table, a file, a directory of plots.
class Output
{
public:
    virtual ~Output() = default;

    /// Returns why the output cannot be written, naming the file, as far as can be told before the
    /// run begins; empty otherwise. Users should not learn it after recording for hours.
    [[nodiscard]] virtual QString check() { return QString(); }

    /// Writes the output of \a run.
    [[nodiscard]] virtual OutputResult write(const FinishedRun& run,
                                             const OutputProgress& progress) = 0;
};

} // namespace monitor
