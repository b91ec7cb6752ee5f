#pragma once

#include "Output.h"
#include "engine/SavedRun.h"

namespace monitor
{

/// A file of a saved run: the bytes "VANTREL\n", a version (quint32, 1), the run, and the SHA-256
/// of all that. The run is a QDataStream of Qt_5_15, the records in it are written by their own
/// operators. There is room for 2 GiB and 10,000 signals.
///
/// Writes \a run to the file of that name, which is replaced as a whole or left as it is; a file
/// that holds something else is left as it is. Returns the error, naming the file; empty on
/// success.
[[nodiscard]] QString writeSavedRun(const QString& fileName, const SavedRun& run);

/// Returns the error that writing a run to the file of that name would meet, as far as it is known
/// in advance; otherwise empty. Changes nothing.
[[nodiscard]] QString checkSavedRun(const QString& fileName);

/// Reads the file of that name, which need not be trusted, into \a run. Returns the error, naming
/// the file; empty on success. The memory needed is proportional to the file.
[[nodiscard]] QString readSavedRun(const QString& fileName, SavedRun& run);

/// Reads the content of such a file, as above. Returns the error; empty on success.
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
