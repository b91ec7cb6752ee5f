#pragma once

#include "Snapshot.h"
#include "can/Frame.h"
#include "catalogue/Catalogue.h"

#include <vantrel/signal/GenericSignalImpl.h>

#include <QtCore/QHash>

#include <memory>
#include <vector>

namespace monitor
{

/// An id on a bus.
struct BusId {
    quint16 bus = 0;
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11

    quint64 key() const
    {
        return (static_cast<quint64>(bus) << 1U | (extended ? 1U : 0U)) << 32U | id;
    }
};

inline BusId busIdOf(const Frame& frame)
{
    return {frame.bus, frame.id, frame.extended};
}

/// Counts the frames of each id that were not decoded. This class is reentrant.
class UndecodedFrames
{
public:
    /// Adds \a frames, which are negative for frames that turned out to be decoded.
    void add(const BusId& id, qint64 frames) { counts[id.key()] += frames; }
    void clear() { counts.clear(); }

    /// The ids with undecoded frames, most frequent first, then in the order of buses and ids. The
    /// buses are named only if \a busNames is not empty.
    QVector<UndecodedId> sorted(const QStringList& busNames) const;

private:
    QHash<quint64, qint64> counts; // by BusId::key()
};

/// The frames of one id on one bus. Times are in milliseconds.
struct IdStatistics {
    QString bus; ///< empty unless there are frames of several buses
    quint32 id = 0;
    bool extended = false;           ///< true: the id has 29 bits, false: 11
    bool isTransported = false;      ///< a message reassembled by the J1939 transport protocol
    QString message;                 ///< the name of its message; empty if it is not described
    std::optional<double> cycleTime; ///< the described period
    qint64 frames = 0;
    qint64 remoteFrames = 0;  ///< those of the frames that request data
    int shortest = 0;         ///< number of data bytes
    int longest = 0;          ///< number of data bytes
    QVector<int> changing;    ///< the positions of the bytes that had several values
    qint64 periods = 0;       ///< the number of periods; if 0, the statistics below are 0 too
    double averagePeriod = 0; ///< average time between two frames
    double deviation = 0;     ///< population deviation of the periods: the jitter
    double minimum = 0;
    double maximum = 0;
};

/// Collects the statistics of each id. The time between two frames is a period unless one of their
/// times is unknown or the later frame has an earlier time. Remote frames are only counted. Only
/// one thread may use an object at a time.
class FrameIds
{
public:
    /// Adds a frame. \a message is the index of its message, or -1.
    void take(const Frame& frame, int message);

    /// Adds a reassembled message.
    void take(const Payload& transported, int message);

    void clear() { *this = FrameIds(); }

    /// The statistics of all ids, in the order of buses and ids, reassembled messages last, and of
    /// \a messages without frames. The buses are named only if \a busNames is not empty.
    QVector<IdStatistics> calcStatistics(const QVector<CatalogueMessage>& messages,
                                         const QStringList& busNames) const;

private:
    struct Record {
        BusId id;
        bool isTransported = false;
        int message = -1;
        qint64 frames = 0;
        qint64 remoteFrames = 0;
        int shortest = -1; // negative: only remote frames so far
        int longest = 0;
        QByteArray first;             // the data of the first frame
        QByteArray changing;          // 1 for each byte of it that had several values, otherwise 0
        std::optional<qint64> newest; // in nanoseconds
        qint64 periodCount = 0;
        std::unique_ptr<GenericSignalImpl<CANopenObjectValue>> periods; // null without periods
    };

    Record& recordOf(const BusId& id, bool isTransported, int message);
    static void addData(Record& record, const quint8* data, int length);
    static void addTime(Record& record, std::optional<qint64> nanoseconds);

    std::vector<Record> records;
    QHash<quint64, size_t> positions; // in records
};

} // namespace monitor
