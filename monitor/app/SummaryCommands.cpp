#include "RunOutputs.h"
#include "commands.h"
#include "engine/summary/SummaryReader.h"
#include "text/Progress.h"
#include "text/Table.h"

#include <algorithm>
#include <map>
#include <memory>

namespace monitor
{

namespace
{

/// An error message if \a options need individual values, which a summary does not contain;
/// otherwise an empty string.
QString needsValues(const ShowOptions& options)
{
    QStringList needing;
    for (const GivenOutput& given : options.files)
        needing += given.kind->needs != OutputNeeds::Counts
                       ? QStringList(QLatin1String(given.kind->name))
                       : QStringList();
    needing += options.choice.from ? QStringList(QStringLiteral("from")) : QStringList();
    needing += options.choice.to ? QStringList(QStringLiteral("to")) : QStringList();
    return needing.isEmpty() ? QString()
                             : QStringLiteral("--%1 needs individual values, which a summary does "
                                              "not contain; use the recording or a saved run")
                                   .arg(needing.constFirst());
}

/// Reads summaries one after another, and merges their runs in groups.
class SummaryMerge
{
public:
    explicit SummaryMerge(const ShowOptions& showOptions) : options(showOptions) {}

    /// Adds the runs of the summary in \a fileName to their groups. Returns an error message, or an
    /// empty string on success.
    [[nodiscard]] QString add(const QString& fileName)
    {
        ++fileCount;
        SummaryReader reader;
        QString error = reader.open(fileName);
        if (error.isEmpty() && options.action == Action::Merge)
            remark(fileName, reader);
        for (const SummaryRun& run : reader.runs()) {
            if (error.isEmpty())
                error = addRun(fileName, run, reader);
        }
        return error.isEmpty() ? error : fileName + QStringLiteral(": ") + error;
    }

    /// The groups, sorted by their labels. "vantrel show" makes a group of each run, and "vantrel
    /// compare" one of each file.
    std::vector<Session*> sessions()
    {
        std::vector<Session*> all;
        for (const auto& group : groups)
            all.push_back(&group.second->session());
        return all;
    }

    /// A line for everything that the user should know about the files.
    QStringList notes() const
    {
        QStringList all = remarks;
        for (const auto& group : groups)
            all += group.second->notes();
        return all;
    }

private:
    using Action = ShowOptions::Action;
    using Key = std::pair<qint64, QStringList>; // the number of a run or file; values of labels

    void remark(const QString& fileName, const SummaryReader& reader)
    {
        const bool isIncomplete =
            std::any_of(reader.runs().begin(), reader.runs().end(),
                        [](const SummaryRun& run) { return !run.isComplete; });
        if (isIncomplete)
            remarks += fileName + QStringLiteral(": is incomplete: a recording was not read to "
                                                 "its end");
        if (reader.checksum().isEmpty())
            return;
        const auto same = files.constFind(reader.checksum());
        if (same != files.cend())
            remarks += fileName +
                       QStringLiteral(": has the same contents as %1; both are counted").arg(*same);
        else
            files.insert(reader.checksum(), fileName);
    }

    QString addRun(const QString& fileName, const SummaryRun& run, SummaryReader& reader)
    {
        if (groups.empty()) {
            first = fileName;
            k = options.k.value_or(run.k);
        }
        if (!options.k && run.k != k && options.action != Action::Compare)
            return QStringLiteral("its band has k = %1, that of %2 has k = %3; choose one with --k")
                .arg(QString::number(run.k), first, QString::number(k));
        Key key;
        if (options.action == Action::Show)
            key.first = run.id;
        else if (options.action == Action::Compare)
            key.first = fileCount;
        for (const QString& label : options.groupedBy) {
            const auto found = run.labels.find(label);
            if (found == run.labels.end())
                return QStringLiteral("has no label %1, so --by cannot assign it to a group; write "
                                      "this summary again with --label %1=VALUE, or leave it out")
                    .arg(label);
            key.second += found->second;
        }
        auto& group = groups[key];
        if (!group)
            group = std::make_unique<MergedRun>(k, totals);
        return reader.addTo(*group, run, fileName);
    }

    const ShowOptions& options;
    std::map<Key, std::unique_ptr<MergedRun>> groups;
    std::shared_ptr<MergeTotals> totals = std::make_shared<MergeTotals>();
    double k = 3;
    QString first; // file
    qint64 fileCount = 0;
    QHash<QByteArray, QString> files; // by checksum
    QStringList remarks;
};

} // namespace

ExitCode showSummaries(const ShowOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    RunOutputs outputs(options, output);
    QString error = needsValues(options);
    if (!error.isEmpty())
        error.prepend(options.inputs.constFirst() + QStringLiteral(": "));
    else
        error = outputs.check();
    SummaryMerge merge(options);
    {
        Progress progress(diagnostics, QStringLiteral("merging"));
        for (int i = 0; i < options.inputs.size() && error.isEmpty(); ++i) {
            error = merge.add(options.inputs.at(i));
            progress.update(i + 1, options.inputs.size());
        }
    }
    if (!error.isEmpty()) {
        diagnostics << printable(error) << '\n'; // may contain names of signals
        return ExitCode::Failure;
    }
    for (const QString& note : merge.notes())
        diagnostics << printable(note) << '\n';
    return outputs.finish(merge.sessions(), options, options.inputs.join(' '), diagnostics);
}

} // namespace monitor
