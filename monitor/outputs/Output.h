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
    std::vector<Session*> groups{}; ///< all sessions, the first one included, if there are several

    MonitoredSignal& signalOf(const SnapshotRow& row) const
    {
        return (groups.empty() ? session : *groups.at(row.group)).registry().at(row.signal);
    }
};

/// The result of writing an output.
struct OutputResult {
    QString error{};     ///< the error, naming the file; empty on success
    QStringList notes{}; ///< for the user
};

/// Called with the progress of writing.
using OutputProgress = std::function<void(qint64 done, qint64 total)>;

/// Something written at the end of a run: a table, a file, a directory of plots.
class Output
{
public:
    virtual ~Output() = default;

    /// Checks before the run whether the output can be written, so that users do not learn of an
    /// error after hours of recording. Returns an error message that names the file, or an empty
    /// string if no error is expected.
    [[nodiscard]] virtual QString check() { return QString(); }

    /// Whether the output needs the outlines of the signals.
    virtual bool needsOutlines() const { return false; }

    /// Receives each value during the run, if the output wants them; otherwise null.
    virtual ValueSink* valueSink() { return nullptr; }

    /// Writes the output of \a run.
    [[nodiscard]] virtual OutputResult write(const FinishedRun& run,
                                             const OutputProgress& progress) = 0;
};

} // namespace monitor
