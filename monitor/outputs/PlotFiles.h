#pragma once

#include "engine/SignalTable.h"

#include <QtCore/QTextStream>
#include <QtGui/QImage>

namespace monitor
{

/// The name of the file for the plot of a signal: what is no letter, digit, "-" or "_" becomes "_".
QString plotNameOf(const SignalReport& report);

/// Writes \a image as a PNG. Returns what made that impossible, naming the file; empty if nothing
/// did.
QString writeImage(const QImage& image, const QString& fileName);

/// Makes \a directory if there is none. Returns why plots cannot be written into it, naming it or
/// the file; empty if nothing stands against it.
QString makePlotDirectory(const QString& directory);

/// Writes a PNG for every signal of \a table that has values to plot, and overview.png with all of
/// them below each other on one time axis, into \a directory, which is made if there is none.
/// Returns what made that impossible, naming the file; empty if nothing did. What is left out is
/// told to \a messages. There must be a QApplication.
QString writePlots(const QString& directory, const SignalTable& table, double k,
                   QTextStream& messages);

} // namespace monitor
