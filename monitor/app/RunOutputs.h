#pragma once

#include "arguments/commandOptions.h"
#include "outputs/outputs.h"

namespace monitor
{

/// The outputs selected by the options of a run.
class RunOutputs
{
public:
    /// The printed output is written to \a output, which must outlive this object.
    RunOutputs(const MonitorOptions& options, QTextStream& output);

    /// Checks before the run whether all outputs can be written. Returns an error message, or an
    /// empty string if no error is expected.
    [[nodiscard]] QString check();

    /// Makes \a session keep the values that the outputs need, and pass them to those that want
    /// them during the run. Call it before the first frame; the outputs must outlive the session.
    void connectTo(Session& session);

    /// Prints what should not wait for the end of the run to \a diagnostics, once. Call it from
    /// time to time, also while \a session takes frames on other threads.
    void printUrgent(const Session& session, QTextStream& diagnostics);

    /// Writes all outputs of a session, or of the groups of a merge, even if some fail. Prints
    /// notes and errors to \a diagnostics. Returns false if an output could not be written.
    [[nodiscard]] bool write(const std::vector<Session*>& groups, QTextStream& diagnostics);

    /// Writes all outputs of a run with \a options, and returns the exit code of the program. If no
    /// frame was decoded, prints that to \a diagnostics, naming the \a origin of the frames.
    [[nodiscard]] ExitCode finish(const std::vector<Session*>& groups,
                                  const MonitorOptions& options, const QString& origin,
                                  QTextStream& diagnostics);

private:
    void print(const QStringList& lines, QTextStream& diagnostics);

    bool isLabelled;                              // whether groups are always listed with labels
    std::vector<std::unique_ptr<Output>> outputs; // the printed one last
    QStringList printed;                          // lines, which are not printed again
};

} // namespace monitor
