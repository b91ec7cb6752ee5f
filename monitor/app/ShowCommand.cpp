#include "ShowCommand.h"

#include "FinalReport.h"
#include "Preparation.h"
#include "engine/RunStorage.h"
#include "outputs/SeriesFile.h"

namespace monitor
{

ExitCode show(const ShowOptions& options, QTextStream& output, QTextStream& messages)
{
    SavedRun run;
    QString error = checkTargets(options);
    if (error.isEmpty())
        error = readSeriesFile(options.file, run);
    if (!error.isEmpty())
        return messages << error << '\n', ExitCode::WrongUse;
    const QVector<CatalogueMessage> noDescriptions; // nothing is to be decoded
    SignalTable table(noDescriptions);
    restoreSignals(run, table);
    if (!printFigures(options, options.k.value_or(run.k), run.counts, table, output, messages))
        return ExitCode::WrongUse;
    if (run.counts.decoded > 0)
        return ExitCode::Success;
    messages << options.file << ": holds no frame that was decoded\n";
    return ExitCode::NothingDecoded;
}

} // namespace monitor
