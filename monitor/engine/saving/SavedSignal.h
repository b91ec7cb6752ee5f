#pragma once

#include "engine/Snapshot.h"

#include "catalogue/Catalogue.h"

#include <QtCore/QDataStream>

namespace monitor
{

// The parts of a saved run that all versions of its file have in common. docs/saved-runs.md
// describes the file.

/// The first bytes of the file.
constexpr char savedRunMagic[] = "VANTREL\n";
constexpr int savedRunMagicSize = sizeof savedRunMagic - 1;

/// The version that is written. Versions 1 and 2 can be read too.
constexpr quint32 savedRunVersion = 3;

/// The size of the SHA-256 at the end.
constexpr int savedRunHashSize = 32;

/// The size of the largest block of values, in bytes.
constexpr int largestValueBlock = 65536;

/// A signal without its values.
struct SavedSignal {
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> source; ///< J1939 source address or CANopen node
    QString bus;                  ///< empty unless there were frames of several buses
    CatalogueSignal description;
    qint64 notAvailable = 0; ///< how often the sender had no value
    qint64 errors = 0;       ///< how often it reported an error instead
};

/// The beginning of a run. Half the width of the band, which comes first, is not part of it.
struct SavedStart {
    FrameCounts counts;
    std::optional<qint64> firstTime; ///< when the first signal was seen, in microseconds
};

/// The end of a run.
struct SavedEnd {
    bool isComplete = true;         ///< false: ended before the end of the recording
    QVector<UndecodedId> undecoded; ///< most frequent first
};

/// Sets the version and the byte order of a stream for the functions below.
void configureForSavedRun(QDataStream& stream);

void write(QDataStream& stream, const SavedStart& start);
void write(QDataStream& stream, const SavedSignal& signal);
void write(QDataStream& stream, const SavedEnd& end);

// The functions below read what these wrote, or a program of an older version. The stream need not
// be trusted: the memory needed is proportional to its bytes. They return an error message, or an
// empty string on success.

[[nodiscard]] QString read(QDataStream& stream, SavedStart& start);
[[nodiscard]] QString read(QDataStream& stream, quint32 version, SavedSignal& signal);
[[nodiscard]] QString read(QDataStream& stream, SavedEnd& end);

} // namespace monitor
