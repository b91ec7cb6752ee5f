#include "outputs.h"

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

} // namespace

const QVector<OutputKind>& outputKinds()
{
    static const QVector<OutputKind> kinds{
        {"table", "", "", false, printed<TableOutput>},
        {"json", "", "", false, printed<JsonOutput>},
        {"csv", "", "", false, printed<CsvOutput>},
        {"save", "FILE", "Save the recorded values to FILE, for \"vantrel show\".", false,
         inFiles<SavedRunOutput>},
        {"plot", "DIRECTORY",
         "Write a plot of each signal, and overview.png with all of them, to DIRECTORY, which is "
         "created if missing.",
         true, inFiles<PlotOutput>},
    };
    return kinds;
}

const OutputKind& defaultOutputKind()
{
    return *std::find_if(outputKinds().begin(), outputKinds().end(),
                         [](const OutputKind& kind) { return kind.isPrinted(); });
}

} // namespace monitor
