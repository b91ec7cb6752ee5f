#pragma once

#include "Frame.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QVector>

#include <bitset>
#include <optional>

namespace monitor
{

/// Whether a 29-bit id is that of a frame of the transport protocol, see TransportProtocol.
bool isTransportId(quint32 id);

/// Counts of multi-frame messages and their packets.
struct TransportCounts {
    qint64 messages = 0;    ///< completely received
    qint64 lost = 0;        ///< packets that are missing, or that follow no announcement
    qint64 outOfOrder = 0;  ///< packets that are late, repeated or have an invalid number
    qint64 interrupted = 0; ///< messages aborted, replaced by the next one, invalid or with a gap
};

/// The number of frames of an id.
struct FrameCount {
    quint32 id = 0;
    int frames = 0;
};

/// A reassembled message.
struct TransportedMessage {
    Payload payload;
    /// The frames since clearCounts() that contributed to it and were not decoded themselves.
    int frames = 0;
    QVector<FrameCount> framesById; ///< the same for each of their ids
};

/// Reassembles messages of 9 to 1785 bytes, which the J1939 transport protocol (SAE J1939-21) sends
/// in packets, either broadcast (BAM) or to one destination (RTS). The frames have the PGNs 60416
/// (TP.CM) and 60160 (TP.DT). Each pair of source and destination has at most one message in
/// progress, and the next announcement replaces it. There are no timeouts. This class is reentrant.
class TransportProtocol
{
public:
    /// Processes \a frame, and returns the message if this is its last packet. \a isDecoded is true
    /// if the frame has already been counted as decoded. The result is valid until the next call.
    std::optional<TransportedMessage> take(const Frame& frame, bool isDecoded = false);

    const TransportCounts& counts() const { return counted; }

    /// Resets the counts. Messages in progress are kept.
    void clearCounts();

private:
    struct Session {
        quint32 pgn = 0;
        QByteArray data;
        int size = 0;
        int packets = 0;
        int next = 1;               // the number of the expected packet
        QVector<FrameCount> frames; // including the announcement
        std::bitset<256> received;
    };
    using Sessions = QHash<quint32, Session>;

    void takeControl(const Frame& frame, bool isDecoded);
    void begin(const Frame& frame, bool isDecoded);
    void rewind(const Frame& frame);
    void abort(const Frame& frame);
    void abandon(quint32 key);
    std::optional<TransportedMessage> takePacket(const Frame& frame, bool isDecoded);
    bool checkOrder(const Frame& frame, Session& session);
    static void count(const Frame& frame, bool isDecoded, Session& session);
    static void store(const Frame& frame, Session& session);
    TransportedMessage finish(const Frame& frame, Sessions::iterator session);

    Sessions sessions; // by source and destination
    QByteArray finished;
    TransportCounts counted;
};

} // namespace monitor
