#pragma once

#include "engine/Session.h"

#include <QtCore/QStringList>

#include <functional>

namespace monitor
{

/// The input of an output: a finished session and its statistics.
struct FinishedRun {
    Session& session;
    const Snapshot& snapshot;
};

/// The result of writing an output.
struct OutputResult {
    QString error{};     ///< the error, naming the file; empty on success
    QStringList notes{}; ///< for the user
};

/// Told how much of the work is done.
using OutputProgress = std::function<void(qint64 done, qint64 total)>;

/// Files and text written at the end of a run: a table, a file, a directory of plots.
class Output
{
public:
    virtual ~Output() = default;

    /// Returns the error that writing would meet, naming the file, as far as it is known before the
    /// run; otherwise empty. Users should not learn of it after hours of recording.
    [[nodiscard]] virtual QString check() { return QString(); }

    /// Writes the output of \a run.
    [[nodiscard]] virtual OutputResult write(const FinishedRun& run,
                                             const OutputProgress& progress) = 0;
};

} // namespace monitor
