#include "ShowCommand.h"

#include "RunOutputs.h"
#include "outputs/SavedRunFile.h"

namespace monitor
{

ExitCode show(const ShowOptions& options, QTextStream& output, QTextStream& messages)
{
    RunOutputs outputs(options, output);
    SavedRun run;
    QString error = outputs.check();
    if (error.isEmpty())
        error = readSavedRun(options.file, run);
    if (!error.isEmpty()) {
        messages << error << '\n';
        return ExitCode::WrongUse;
    }
    Session session({}, options.k.value_or(run.k)); // nothing is to be decoded
    restore(run, session);
    return outputs.finish(session, options.file + QStringLiteral(": contains no decoded frames"),
                          messages);
}

} // namespace monitor
