#include "RunOutputs.h"

#include "text/Progress.h"

namespace monitor
{

// Files are written first: printing may end the program if its standard output is a closed pipe.
RunOutputs::RunOutputs(const MonitorOptions& options, QTextStream& output)
{
    for (const GivenOutput& given : options.files)
        outputs.push_back(given.kind->make({nullptr, given.path}));
    outputs.push_back(options.printed->make({&output}));
}

QString RunOutputs::check()
{
    for (const auto& output : outputs) {
        QString error = output->check();
        if (!error.isEmpty())
            return error;
    }
    return QString();
}

bool RunOutputs::write(Session& session, QTextStream& diagnostics)
{
    const Snapshot snapshot = session.calcSnapshot();
    QStringList errors;
    for (const auto& output : outputs) {
        OutputResult result;
        {
            Progress progress(diagnostics, QStringLiteral("writing"));
            result = output->write({session, snapshot}, [&progress](qint64 done, qint64 total) {
                progress.update(done, total);
            });
        }
        for (const QString& note : result.notes)
            diagnostics << note << '\n';
        if (!result.error.isEmpty())
            errors += result.error;
    }
    for (const QString& error : errors)
        diagnostics << error << '\n';
    return errors.isEmpty();
}

ExitCode RunOutputs::finish(Session& session, const QString& reason, QTextStream& diagnostics)
{
    const bool isWritten = write(session, diagnostics);
    for (const QString& guess : session.guesses())
        diagnostics << guess << '\n';
    if (!isWritten)
        return ExitCode::Failure;
    if (session.counts().decoded > 0)
        return ExitCode::Success;
    diagnostics << reason << '\n';
    return ExitCode::NothingDecoded;
}

} // namespace monitor
