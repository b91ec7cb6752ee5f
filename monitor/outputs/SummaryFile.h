#pragma once

#include "Output.h"

#include <QtCore/QSaveFile>

namespace monitor
{

/// Writes a summary of a run to a file: the statistics, and how often each value occurred.
/// docs/summaries.md describes the file.
class SummaryFile : public Output
{
public:
    explicit SummaryFile(const QString& fileName) : file(fileName) {}

    /// Opens the file. An existing file is replaced only if it is empty or a summary.
    [[nodiscard]] QString check() override;

    /// Completes the file, or leaves an existing file unchanged if it could not be written. From
    /// then on, the statistics of the session ignore the order of values.
    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QSaveFile file;
};

} // namespace monitor
