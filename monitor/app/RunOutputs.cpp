#include "RunOutputs.h"

#include "text/Progress.h"

namespace monitor
{

// The files come first: if nobody reads the printed output any more, writing it may end the
// program.
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

bool RunOutputs::write(Session& session, QTextStream& messages)
{
    const Snapshot snapshot = session.calcSnapshot();
    QStringList errors;
    for (const auto& output : outputs) {
        OutputResult result;
        {
            Progress progress(messages, QStringLiteral("writing"));
            result = output->write({session, snapshot}, [&progress](qint64 done, qint64 total) {
                progress.update(done, total);
            });
        }
        for (const QString& note : result.notes)
            messages << note << '\n';
        if (!result.error.isEmpty())
            errors += result.error;
    }
    for (const QString& error : errors)
        messages << error << '\n';
    return errors.isEmpty();
}

ExitCode RunOutputs::finish(Session& session, const QString& reason, QTextStream& messages)
{
    if (!write(session, messages))
        return ExitCode::Failure;
    if (session.counts().decoded > 0)
        return ExitCode::Success;
    messages << reason << '\n';
    return ExitCode::NothingDecoded;
}

} // namespace monitor
