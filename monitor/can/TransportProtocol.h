#pragma once

#include "Frame.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>

#include <bitset>
#include <optional>

namespace monitor
{

/// Counts of the messages that did not fit into one frame, and of their packets.
struct TransportCounts {
    qint64 messages = 0;    ///< put together completely
    qint64 lost = 0;        ///< packets that never came, or came without being announced
    qint64 outOfOrder = 0;  ///< packets that came again or when another one was due
    qint64 interrupted = 0; ///< messages given up: aborted, replaced by the next, or with a gap
};

/// A message put together, and how many frames it took that were not decoded by themselves, since
/// the counts were cleared.
struct TransportedMessage {
    Payload payload;
    int frames = 0;
};

/// Puts messages of 9 to 1785 bytes together that the J1939 transport protocol (SAE J1939-21)
/// brings in packets: announced to all (BAM) or to one destination (RTS), in frames of the PGNs
/// 60416 (TP.CM) and 60160 (TP.DT). There is one message at a time for each pair of source and
/// destination; the next announcement replaces it. Times are ignored. This class is reentrant.
class TransportProtocol
{
public:
    /// Takes in \a frame, and returns the message if it is the last packet of one. \a isDecoded
    /// means that the frame has been counted already. The result is valid until the next call.
    std::optional<TransportedMessage> take(const Frame& frame, bool isDecoded = false);

    const TransportCounts& counts() const { return counted; }

    /// Counts from zero again; messages that have begun stay so.
    void clearCounts();

private:
    struct Session {
        quint32 pgn = 0;
        QByteArray data;
        int size = 0;
        int packets = 0;
        int next = 1;   // the packet that is due
        int frames = 0; // with the announcement
        std::bitset<256> received;
    };
    using Sessions = QHash<quint32, Session>;

    void takeControl(const Frame& frame, bool isDecoded);
    void begin(const Frame& frame, bool isDecoded);
    void rewind(const Frame& frame);
    void abort(const Frame& frame);
    void giveUp(quint32 key);
    std::optional<TransportedMessage> takePacket(const Frame& frame, bool isDecoded);
    bool checkOrder(const Frame& frame, Session& session);
    static void store(const Frame& frame, Session& session);
    TransportedMessage finish(const Frame& frame, Sessions::iterator session);

    Sessions sessions; // by source and destination
    QByteArray finished;
    TransportCounts counted;
};

} // namespace monitor
