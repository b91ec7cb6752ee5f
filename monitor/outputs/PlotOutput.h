#pragma once

#include "Output.h"

namespace monitor
{

/// The name of the file for the plot of a signal, without its suffix. All characters except ASCII
/// letters, digits and "-" become "_".
QString plotNameOf(const SignalStatistics& statistics);

/// Writes a PNG file for every signal that has values to plot, and overview.png with all of them
/// stacked on one time axis. The directory is created if missing. There must be a QApplication.
class PlotOutput : public Output
{
public:
    explicit PlotOutput(QString folder) : directory(std::move(folder)) {}

    /// Creates the directory.
    bool needsOutlines() const override { return true; }
    [[nodiscard]] QString check() override;
    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QString directory;
};

/// Writes a PNG file with a histogram for every signal that has values to plot. The directory is
/// created if missing. There must be a QApplication.
class HistogramOutput : public Output
{
public:
    explicit HistogramOutput(QString folder) : directory(std::move(folder)) {}

    /// Creates the directory.
    [[nodiscard]] QString check() override;
    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QString directory;
};

} // namespace monitor
