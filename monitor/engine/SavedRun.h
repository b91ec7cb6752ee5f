#pragma once

#include "Session.h"
#include "sources/FrameFilter.h"

#include <QtCore/QDataStream>

namespace monitor
{

/// A signal with everything that was recorded.
struct SavedSignal {
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> source; ///< J1939 source address or CANopen node
    QString bus;                  ///< empty unless there were frames of several buses
    CatalogueSignal description;
    SignalRecords records;
};

/// The saved form of a session: everything from which its statistics are computed.
struct SavedRun {
    double k = 3; ///< half the width of the band, in deviations
    FrameCounts counts;
    std::optional<qint64> firstTime; ///< when the first signal was seen, in microseconds
    QVector<SavedSignal> recordedSignals;
    QVector<UndecodedId> undecoded; ///< most frequent first
    bool isComplete = true;         ///< false: ended before the end of the recording
};

/// The saved form of \a session.
SavedRun runOf(Session& session);

/// Records the signals of \a run again in \a session, which must be new. Its statistics are then
/// those of the run.
void restore(const SavedRun& run, Session& session);

/// Keeps only values between \a from and \a to; a relative moment counts from the first value with
/// a time. Values whose time is unknown are removed if a moment is given. Returns whether all
/// values were kept. The counts of the run do not change.
[[nodiscard]] bool keepBetween(SavedRun& run, const std::optional<Moment>& from,
                               const std::optional<Moment>& to);

/// Whether \a microseconds is in the range of recorded times. Differences of such times do not
/// overflow.
constexpr bool isTime(qint64 microseconds)
{
    constexpr qint64 farthest = 2000000000000000000;
    return microseconds >= -farthest && microseconds <= farthest;
}

/// The version of the form in which writeSignal() writes a signal. Version 1 has no comments, buses
/// and value texts.
constexpr quint32 savedSignalVersion = 2;

/// Writes the description and the records of \a signal; each record is written with its own
/// operator.
void writeSignal(QDataStream& stream, const SavedSignal& signal);

/// Reads a signal written by writeSignal(), or by a program of an older \a version; the stream need
/// not be trusted. Returns an error message, or an empty string on success. The memory needed is
/// proportional to the bytes in the stream.
[[nodiscard]] QString readSignal(QDataStream& stream, quint32 version, SavedSignal& signal);

/// Write and read what follows the signals from version 2 on, in the same way.
void writeEnd(QDataStream& stream, const SavedRun& run);
[[nodiscard]] QString readEnd(QDataStream& stream, SavedRun& run);

} // namespace monitor
