#pragma once

#include "commandOptions.h"
#include "outputs/outputs.h"

namespace monitor
{

/// The outputs that the options of a run ask for.
class RunOutputs
{
public:
    /// Printed outputs go to \a output, which must outlive this object.
    RunOutputs(const MonitorOptions& options, QTextStream& output);

    /// Returns why an output cannot be written, as far as can be told before the run; empty
    /// otherwise.
    [[nodiscard]] QString check();

    /// Writes all outputs of \a session, whatever becomes of the others. Returns false if one could
    /// not be written; that, and what else the user should know, is printed to \a messages.
    [[nodiscard]] bool write(Session& session, QTextStream& messages);

    /// Writes all outputs of a run and returns the exit code of the program. If nothing was
    /// decoded, that is printed to \a messages, with \a reason.
    [[nodiscard]] ExitCode finish(Session& session, const QString& reason, QTextStream& messages);

private:
    std::vector<std::unique_ptr<Output>> outputs; // the printed one last
};

} // namespace monitor
