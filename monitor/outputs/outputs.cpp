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

} // namespace

const QVector<OutputKind>& outputKinds()
{
    static const QVector<OutputKind> kinds{
        {"table", "", "", false, OutputNeeds::Counts, printed<TableOutput>, PrintedForm::Table},
        {"json", "", "", false, OutputNeeds::Counts, printed<JsonOutput>, PrintedForm::Json},
        {"csv", "", "", false, OutputNeeds::Counts, printed<CsvOutput>, PrintedForm::Csv},
        {"save", "FILE", "Save the recorded values to FILE, for \"vantrel show\".", false,
         OutputNeeds::Values, inFiles<SavedRunOutput>},
        {"summary", "FILE",
         "Write the statistics, and how often each value occurred, to FILE, for \"vantrel merge\" "
         "and \"vantrel show\". Not available for saved runs.",
         false, OutputNeeds::Counts, inFiles<SummaryFile>},
        {"export", "FILE.csv", "Write every value with its time to FILE.csv during the run.", false,
         OutputNeeds::Run, inFiles<ExportFile>},
        {"plot", "DIRECTORY",
         "Write a plot of each signal, and overview.png with all of them, to DIRECTORY, which is "
         "created if missing.",
         true, OutputNeeds::Values, inFiles<PlotOutput>},
        {"histogram", "DIRECTORY",
         "Write a histogram of the values of each signal to DIRECTORY, which is created if "
         "missing.",
         true, OutputNeeds::Counts, inFiles<HistogramOutput>},
    };
    return kinds;
}

const OutputKind& defaultOutputKind()
{
    return *std::find_if(outputKinds().begin(), outputKinds().end(),
                         [](const OutputKind& kind) { return kind.isPrinted(); });
}

} // namespace monitor
