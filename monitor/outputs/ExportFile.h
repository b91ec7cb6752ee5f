#pragma once

#include "Output.h"

#include <QtCore/QSaveFile>

#include <atomic>

namespace monitor
{

/// Writes every recorded value to a CSV file during the run, one line for each. Memory does not
/// depend on the length of the run. docs/output.md describes the columns.
class ExportFile : public Output, private ValueSink
{
public:
    explicit ExportFile(const QString& fileName) : file(fileName) {}

    /// Opens the file. An existing file is replaced only if it is empty or was exported before.
    [[nodiscard]] QString check() override;
    ValueSink* valueSink() override { return this; }

    /// Completes the file, or leaves an existing file unchanged if it could not be written.
    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    void take(const RecordedValue& value) override;
    QString error() const override;
    void flush();

    QSaveFile file;
    QByteArray lines;                 // not written yet
    std::atomic<bool> isIntact{true}; // if false, the file no longer changes
};

} // namespace monitor
