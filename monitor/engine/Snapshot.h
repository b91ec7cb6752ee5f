#pragma once

#include "can/TransportProtocol.h"
#include "catalogue/Description.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <array>
#include <limits>
#include <memory>
#include <optional>

namespace monitor
{

/// One signal from one source and its statistics at one moment.
struct SignalStatistics {
    QString name;
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> source;  ///< J1939 source address or CANopen node
    QString bus;                   ///< empty unless there are frames of several buses
    QMap<QString, QString> labels; ///< of the group, if there are several
    QString unit;
    double factor = 1; ///< factor and offset determine the resolution of the measured values
    double offset = 0;
    bool isFloat = false;             ///< true: the raw values are IEEE numbers
    std::optional<ValueRange> limits; ///< for the rating, instead of the band
    QMap<double, QString> valueTexts; ///< the described meanings of values, in the unit

    qint64 count = 0; ///< the number of measured values; if 0, the statistics below are 0 too
    bool isNewestKnown =
        true; ///< false: merged from runs without times; then newest and rating are 0
    double newest = 0;
    QString newestMeaning;              ///< the described meaning of the newest value; may be empty
    bool isPassedThrough = false;       ///< true: there is only a newest value, in the next two
    QString newestText;                 ///< the newest value of a pass-through signal
    std::optional<double> newestNumber; ///< the same as a number, if double represents it exactly
    double average = 0;
    double deviation = 0; ///< population deviation, divisor n
    double minimum = 0;
    double maximum = 0;
    double median = 0;         ///< of the kept values
    int rating = 0;            ///< of the newest value, 0 to 100
    double lowerThreshold = 0; ///< the lower end of the band: average - k x deviation
    double upperThreshold = 0; ///< the upper end of the band: average + k x deviation
    qint64 deviators = 0;      ///< number of kept values outside the band

    qint64 notAvailable = 0; ///< how often the sender had no value
    qint64 errors = 0;       ///< how often it reported an error instead
};

/// The recorded values of one signal, oldest first.
struct SignalSeries {
    static constexpr qint64 noTime = std::numeric_limits<qint64>::min();

    QVector<double> values;       ///< in the unit of the signal
    QVector<qint64> microseconds; ///< when each was seen, noTime if unknown
};

/// Whether \a microseconds is in the range of recorded times, which is that of nanoseconds.
constexpr bool isRecordedTime(qint64 microseconds)
{
    constexpr qint64 farthest = std::numeric_limits<qint64>::max() / 1000;
    return microseconds >= -farthest && microseconds <= farthest;
}

/// Counts of frames, and of unreadable parts of a recording.
struct FrameCounts {
    qint64 total = 0;      ///< data and remote frames
    qint64 decoded = 0;    ///< frames in which at least one signal was found
    qint64 dropped = 0;    ///< frames lost by the recorder, or dropped by a live run
    qint64 errors = 0;     ///< error frames
    qint64 unreadable = 0; ///< unreadable parts of a recording, such as lines
    TransportCounts transport{};
};

/// Pointers to all of \a counts, in the order of saved runs and summaries.
template <typename Counts>
auto pointersTo(Counts& counts)
{
    return std::array{&counts.total,
                      &counts.decoded,
                      &counts.dropped,
                      &counts.errors,
                      &counts.unreadable,
                      &counts.transport.messages,
                      &counts.transport.lost,
                      &counts.transport.outOfOrder,
                      &counts.transport.interrupted};
}

/// How many frames of an id were not decoded.
struct UndecodedId {
    QString bus; ///< empty unless there are frames of several buses
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    qint64 frames = 0;
};

/// One signal in a snapshot.
struct SnapshotRow {
    int signal = 0; ///< its number in the session, which does not change
    std::shared_ptr<const SignalStatistics> statistics;
    bool isSilent = false; ///< true: its values have stopped arriving
    size_t group = 0;      ///< the number of the session, if there are several
};

/// All signals of a session at one moment. The statistics never change, and copies share them.
struct Snapshot {
    double k = 3; ///< half the width of the band, in deviations
    FrameCounts counts;
    std::optional<qint64> firstTime; ///< when the first signal was seen, in microseconds
    QVector<SnapshotRow> rows;       ///< sorted by name, bus and source
    QVector<UndecodedId> undecoded;  ///< at the end of a run: most frequent first
    bool isComplete = true;          ///< false: the run was ended before the end of the recording
};

/// The bus of a live run at one moment.
struct BusState {
    QString name;
    qint64 now = 0;         ///< in microseconds since the start of the run, as for frames
    double loadPercent = 0; ///< in the last second
    double bitRate = 0;     ///< in bits per second
};

/// Receives the snapshots of a live run: a display, or a publisher.
class SnapshotSink
{
public:
    virtual ~SnapshotSink() = default;

    /// Takes the current state of the run. Called several times a second; returns false to end the
    /// run.
    [[nodiscard]] virtual bool take(const Snapshot& snapshot, const BusState& bus) = 0;
};

} // namespace monitor
