#pragma once

#include "engine/SavedRun.h"

namespace monitor
{

/// A file of saved series: the bytes "VANTREL\n", a version (quint32, 1), the run, and the SHA-256
/// of all that. The run is a QDataStream of Qt_5_15, the records in it are written by their own
/// operators.
///
/// Writes \a run to the file of that name, which is replaced as a whole or left as it is; a file
/// that holds something else is left as it is. Returns what made that impossible, naming the file;
/// empty if nothing did.
QString writeSeriesFile(const QString& fileName, const SavedRun& run);

/// Returns why a run cannot be written to the file of that name, as far as can be told before there
/// is one; empty if nothing stands against it. Changes nothing.
QString checkSeriesFile(const QString& fileName);

/// Reads the file of that name, which need not be trusted, into \a run. Returns what made that
/// impossible, naming the file; empty if nothing did. Takes memory in proportion to the file.
QString readSeriesFile(const QString& fileName, SavedRun& run);

/// Reads the content of such a file, as above. Returns what is wrong with it.
QString readSeries(const QByteArray& content, SavedRun& run);

} // namespace monitor
