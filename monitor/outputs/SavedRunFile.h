#pragma once

#include "Output.h"
#include "engine/SavedRun.h"

namespace monitor
{

// The file of a saved run consists of the bytes "VANTREL\n", a version (quint32), the run, and
// the SHA-256 of everything before it. The run is written by a QDataStream of version Qt_5_15, and
// its records by their own operators. Version 2 is written. Version 1, which lacks undecoded ids,
// buses and some texts, can also be read. The limits are 10,000 signals and 2 GiB.

/// Writes \a run to a file. A saved run in it is replaced completely or left unchanged; any other
/// content is left unchanged and is an error. Returns an error message that names the file, or an
/// empty string on success.
[[nodiscard]] QString writeSavedRun(const QString& fileName, const SavedRun& run);

/// Checks whether a run can be written to the file, without changing anything. Returns an error
/// message that names the file, or an empty string if no error is expected.
[[nodiscard]] QString checkSavedRun(const QString& fileName);

/// Reads a file, which need not be trusted, into \a run. Returns an error message that names the
/// file, or an empty string on success. The memory needed is proportional to the size of the file.
[[nodiscard]] QString readSavedRun(const QString& fileName, SavedRun& run);

/// Reads the content of such a file. Returns an error message, or an empty string on success.
[[nodiscard]] QString parseSavedRun(const QByteArray& content, SavedRun& run);

/// Saves everything that was recorded.
class SavedRunOutput : public Output
{
public:
    explicit SavedRunOutput(QString name) : fileName(std::move(name)) {}

    [[nodiscard]] QString check() override { return checkSavedRun(fileName); }
    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QString fileName;
};

} // namespace monitor
