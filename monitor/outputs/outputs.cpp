#include "outputs.h"

#include "ExportFile.h"
#include "PlotOutput.h"
#include "SavedRunFile.h"
#include "SummaryFile.h"
#include "printedOutputs.h"

#include <algorithm>

namespace monitor
{

namespace
{

template <typename T>
std::unique_ptr<Output> printed(const OutputTarget& target)
{
    return std::make_unique<T>(*target.stream);
}

template <typename T>
std::unique_ptr<Output> inFiles(const OutputTarget& target)
{
    return std::make_unique<T>(target.path);
}

template <IdFormat format>
std::unique_ptr<Output> printedIds(const OutputTarget& target, bool onlyDescribed)
{
    return std::make_unique<IdOutput>(*target.stream, format, onlyDescribed);
}

template <IdFormat format>
std::unique_ptr<Output> printedCounts(const OutputTarget& target)
{
    return std::make_unique<CountsOutput>(*target.stream, format);
}

} // namespace

const QVector<OutputKind>& outputKinds()
{
    static const QVector<OutputKind> kinds{
        {"table", "", "", false, OutputNeeds::Counts, printed<TableOutput>,
         printedIds<IdFormat::Table>, printedCounts<IdFormat::Table>},
        {"json", "", "", false, OutputNeeds::Counts, printed<JsonOutput>,
         printedIds<IdFormat::Json>, printedCounts<IdFormat::Json>},
        {"csv", "", "", false, OutputNeeds::Counts, printed<CsvOutput>, printedIds<IdFormat::Csv>,
         printedCounts<IdFormat::Csv>},
        {"save", "FILE", "Save the recorded values to FILE, for \"vantrel show\".", false,
         OutputNeeds::Values, inFiles<SavedRunOutput>, nullptr, nullptr},
        {"summary", "FILE",
         "Write the statistics, and how often each value occurred, to FILE, for \"vantrel merge\" "
         "and \"vantrel show\". Not available for saved runs.",
         false, OutputNeeds::Counts, inFiles<SummaryFile>, nullptr, nullptr},
        {"export", "FILE.csv", "Write every value with its time to FILE.csv during the run.", false,
         OutputNeeds::Run, inFiles<ExportFile>, nullptr, nullptr},
        {"plot", "DIRECTORY",
         "Write a plot of each signal, and overview.png with all of them, to DIRECTORY, which is "
         "created if missing.",
         true, OutputNeeds::Values, inFiles<PlotOutput>, nullptr, nullptr},
    };
    return kinds;
}

const OutputKind& defaultOutputKind()
{
    return *std::find_if(outputKinds().begin(), outputKinds().end(),
                         [](const OutputKind& kind) { return kind.isPrinted(); });
}

} // namespace monitor
