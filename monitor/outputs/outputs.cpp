#include "outputs.h"

#include "PlotOutput.h"
#include "SavedRunFile.h"
#include "printedOutputs.h"

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
        {QStringLiteral("table"), {}, {}, false, printed<TableOutput>},
        {QStringLiteral("json"), {}, {}, false, printed<JsonOutput>},
        {QStringLiteral("csv"), {}, {}, false, printed<CsvOutput>},
        {QStringLiteral("save"), QStringLiteral("FILE"),
         QStringLiteral("Save everything that was recorded, for the command show."), false,
         inFiles<SavedRunOutput>},
        {QStringLiteral("plot"), QStringLiteral("DIRECTORY"),
         QStringLiteral("Write a plot of each signal, and overview.png with all of them, into the "
                        "directory."),
         true, inFiles<PlotOutput>},
    };
    return kinds;
}

} // namespace monitor
