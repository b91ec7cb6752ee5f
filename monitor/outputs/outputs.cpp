#include "outputs.h"

#include "ExportFile.h"
#include "PlotOutput.h"
#include "SavedRunFile.h"
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

} // namespace

const QVector<OutputKind>& outputKinds()
{
    static const QVector<OutputKind> kinds{
        {"table", "", "", false, false, printed<TableOutput>, printedIds<IdFormat::Table>},
        {"json", "", "", false, false, printed<JsonOutput>, printedIds<IdFormat::Json>},
        {"csv", "", "", false, false, printed<CsvOutput>, printedIds<IdFormat::Csv>},
        {"save", "FILE", "Save the recorded values to FILE, for \"vantrel show\".", false, false,
         inFiles<SavedRunOutput>, nullptr},
        {"export", "FILE.csv", "Write every value with its time to FILE.csv during the run.", false,
         true, inFiles<ExportFile>, nullptr},
        {"plot", "DIRECTORY",
         "Write a plot of each signal, and overview.png with all of them, to DIRECTORY, which is "
         "created if missing.",
         true, false, inFiles<PlotOutput>, nullptr},
    };
    return kinds;
}

const OutputKind& defaultOutputKind()
{
    return *std::find_if(outputKinds().begin(), outputKinds().end(),
                         [](const OutputKind& kind) { return kind.isPrinted(); });
}

} // namespace monitor
