#pragma once

#include "Output.h"
#include "engine/saving/SavedRunWriter.h"

#include <QtCore/QSaveFile>

namespace monitor
{

/// Saves all values and everything else about a run to a file, which is written during the run.
/// docs/saved-runs.md describes the file.
class SavedRunOutput : public Output
{
public:
    explicit SavedRunOutput(const QString& fileName) : file(fileName) {}

    /// Opens the file. An existing file is replaced only if it is empty or a saved run.
    [[nodiscard]] QString check() override;
    ValueSink* valueSink() override { return &writer; }

    /// Completes the file, or leaves an existing file unchanged if it could not be written.
    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QSaveFile file;
    SavedRunWriter writer{file};
};

} // namespace monitor
