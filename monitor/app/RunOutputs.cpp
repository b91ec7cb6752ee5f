#include "RunOutputs.h"

#include "engine/summary/groups.h"
#include "outputs/printedOutputs.h"
#include "text/Progress.h"

namespace monitor
{

namespace
{

QString nothingDecodedWith(const MonitorOptions& options)
{
    QStringList names;
    for (const GivenDescription& given : options.descriptions)
        names += given.file.fileName;
    return QStringLiteral(": no frames could be decoded with ") + names.join(QStringLiteral(", "));
}

} // namespace

// Files are written first: printing may end the program if its standard output is a closed pipe.
RunOutputs::RunOutputs(const MonitorOptions& options, QTextStream& output)
    : isLabelled(!options.groupedBy.isEmpty())
{
    for (const GivenOutput& given : options.files)
        outputs.push_back(given.kind->make({nullptr, given.path}));
    using Subject = MonitorOptions::Subject;
    const PrintedForm form = options.printed->form;
    switch (options.subject) {
    case Subject::Signals:
        outputs.push_back(options.printed->make({&output}));
        break;
    case Subject::Messages:
    case Subject::Ids:
        outputs.push_back(
            std::make_unique<IdOutput>(output, form, options.subject == Subject::Messages));
        break;
    case Subject::Counts:
        outputs.push_back(std::make_unique<CountsOutput>(output, form));
        break;
    case Subject::Comparison:
        outputs.push_back(std::make_unique<ComparisonOutput>(output, form));
        break;
    }
}

void RunOutputs::connectTo(Session& session)
{
    for (const auto& output : outputs) {
        if (output->needsOutlines())
            session.keepOutlines(SeriesOutline::Detail::Whole);
        if (ValueSink* const sink = output->valueSink())
            session.addValueSink(*sink);
    }
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

void RunOutputs::printUrgent(const Session& session, QTextStream& diagnostics)
{
    print(session.urgentRemarks(), diagnostics);
}

void RunOutputs::print(const QStringList& lines, QTextStream& diagnostics)
{
    for (const QString& line : lines) {
        if (printed.contains(line))
            continue;
        diagnostics << line << Qt::endl;
        printed += line;
    }
}

bool RunOutputs::write(const std::vector<Session*>& groups, QTextStream& diagnostics)
{
    const Snapshot snapshot = calcSnapshot(groups, isLabelled);
    FinishedRun run{*groups.front(), snapshot};
    if (groups.size() > 1)
        run.groups = groups;
    QStringList errors;
    for (const auto& output : outputs) {
        OutputResult result;
        {
            Progress progress(diagnostics, QStringLiteral("writing"));
            result = output->write(
                run, [&progress](qint64 done, qint64 total) { progress.update(done, total); });
        }
        for (const QString& note : result.notes)
            diagnostics << note << '\n';
        if (!result.error.isEmpty())
            errors += result.error;
    }
    print(errors, diagnostics);
    return errors.isEmpty();
}

ExitCode RunOutputs::finish(const std::vector<Session*>& groups, const MonitorOptions& options,
                            const QString& origin, QTextStream& diagnostics)
{
    bool isSound = write(groups, diagnostics);
    FrameCounts counts;
    for (Session* session : groups) {
        print(session->remarks(), diagnostics);
        isSound = isSound && session->isExact();
        counts.total += session->counts().total;
        counts.decoded += session->counts().decoded;
    }
    if (!isSound)
        return ExitCode::Failure;
    const bool listsIds = options.subject == MonitorOptions::Subject::Ids;
    if ((listsIds ? counts.total : counts.decoded) > 0)
        return ExitCode::Success;
    QString reason = QStringLiteral(": contains no decoded frames"); // of a saved run
    if (counts.total == 0)
        reason = QStringLiteral(": no frames");
    else if (!options.descriptions.isEmpty())
        reason = nothingDecodedWith(options);
    diagnostics << origin << reason << '\n';
    return ExitCode::NothingDecoded;
}

} // namespace monitor
